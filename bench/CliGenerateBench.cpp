#include "BenchSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>

#include <cstdio>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

extern char** environ;

namespace {

struct Child
{
    double seconds = -1.0;
    long maxRssKb = 0;
};

// Runs orvex-nuc and takes its wall time and peak resident memory from wait4.
Child runOrvexNuc(const QStringList& arguments)
{
    QList<QByteArray> encoded{QByteArray(ORVEX_NUC_BINARY)};
    for (const QString& argument : arguments)
        encoded << QFile::encodeName(argument);
    std::vector<char*> argv;
    for (QByteArray& a : encoded)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    Child child;
    pid_t pid = 0;
    const double start = Bench::seconds();
    if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        return child;
    int status = 0;
    struct rusage usage = {};
    if (wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return child;
    child.seconds = Bench::seconds() - start;
    child.maxRssKb = usage.ru_maxrss;
    return child;
}

} // namespace

// cli_generate_png: orvex-nuc generate end to end on 16-bit PNG files
// against the time Qt's plug-in needs to decode the same files one after the
// other on one thread, measured round by round in the same run.
int runCliGenerate(int perSeries, int rounds)
{
    const QStringList dark = Bench::pngFiles(perSeries, true);
    const QStringList bright = Bench::pngFiles(perSeries, false);
    if (dark.size() != perSeries || bright.size() != perSeries)
        return 1;
    QStringList arguments{"generate", "--quiet"};
    for (const QString& path : dark)
        arguments << "--dark" << path;
    for (const QString& path : bright)
        arguments << "--bright" << path;
    arguments << "--output" << QDir(Bench::dataDir()).filePath("cli-bench.bin");

    // The reference does not move when the project's decoding gets faster:
    // Qt's own plug-in, one file after the other.
    auto decodeRound = [&]() {
        double total = 0.0;
        for (const QString& path : dark + bright) {
            const double start = Bench::seconds();
            const QImage image = QImageReader(path).read();
            total += Bench::seconds() - start;
            if (image.format() != QImage::Format_Grayscale16)
                return -1.0;
        }
        return total;
    };

    // Untimed first round: the files come into the page cache.
    decodeRound();
    std::vector<double> decode, cli;
    long peakKb = 0;
    for (int r = 0; r < rounds; ++r) {
        decode.push_back(decodeRound());
        const Child child = runOrvexNuc(arguments);
        cli.push_back(child.seconds);
        peakKb = qMax(peakKb, child.maxRssKb);
        std::fprintf(stderr,
                     "  round %d: Qt's serial decode %.2f s, orvex-nuc generate %.2f s, %.0f MB\n",
                     r + 1, decode.back(), cli.back(), child.maxRssKb / 1024.0);
        if (decode.back() < 0 || cli.back() < 0) {
            std::fprintf(stderr, "cli_generate_png: a decode or the orvex-nuc run failed\n");
            return 1;
        }
    }
    const double seriesMb = 2.0 * Bench::Pixels * (2 + 2 + 4) / (1 << 20);
    const double imageMb = Bench::Pixels * 2.0 / (1 << 20);
    std::fprintf(stderr,
                 "  %d + %d files: limit for the peak %.0f MB (two series %.0f MB + four images "
                 "%.0f MB)\n",
                 perSeries, perSeries, seriesMb + 4 * imageMb, seriesMb, 4 * imageMb);
    const double cliSeconds = Bench::median(cli);
    Bench::printResult(
        "cli_generate_png", cliSeconds, "s",
        {QString("vs_qt_decode=%1").arg(cliSeconds / Bench::median(decode), 0, 'f', 2),
         QString("peak_rss_mb=%1").arg(peakKb / 1024.0, 0, 'f', 0)});
    return 0;
}
