#include "BenchSupport.h"
#include "NucImageInput.h"

#include <QImageReader>

#include <cstdio>

// decode_png16_12mp: 16-bit PNG files of 4096 x 3000 loaded as the panel and
// orvex-nuc load them (NucImageInput::loadImage) against Qt's plug-in reading
// the same files, file by file in the same rounds, one thread each.
int runDecode(int perSeries, int rounds)
{
    const QStringList files = Bench::pngFiles(perSeries, true) + Bench::pngFiles(perSeries, false);
    if (files.size() != 2 * perSeries)
        return 1;
    auto timed = [](auto decode) {
        const double start = Bench::seconds();
        const QImage image = decode();
        const double seconds = Bench::seconds() - start;
        return image.format() == QImage::Format_Grayscale16 ? seconds : -1.0;
    };
    auto round = [&](double* ours, double* qt) {
        *ours = *qt = 0.0;
        for (const QString& path : files) {
            const double a = timed([&] { return NucImageInput::loadImage(path); });
            const double b = timed([&] { return QImageReader(path).read(); });
            if (a < 0 || b < 0)
                return false;
            *ours += a;
            *qt += b;
        }
        return true;
    };

    double ours = 0.0, qt = 0.0;
    round(&ours, &qt); // untimed: the files come into the page cache
    std::vector<double> oursRounds, qtRounds;
    for (int r = 0; r < rounds; ++r) {
        if (!round(&ours, &qt)) {
            std::fprintf(stderr, "decode_png16_12mp: a file did not decode\n");
            return 1;
        }
        oursRounds.push_back(ours / files.size());
        qtRounds.push_back(qt / files.size());
        std::fprintf(stderr, "  round %d: %.1f ms a file, Qt's plug-in %.1f ms\n", r + 1,
                     oursRounds.back() * 1e3, qtRounds.back() * 1e3);
    }
    const double perFile = Bench::median(oursRounds);
    Bench::printResult("decode_png16_12mp", perFile * 1e3, "ms",
                       {QString("vs_qt=%1").arg(perFile / Bench::median(qtRounds), 0, 'f', 2)});
    return 0;
}
