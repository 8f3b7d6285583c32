#include "BenchSupport.h"
#include "NucImageInput.h"
#include "NucParallel.h"

#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

// STREAM's triad a = b + s * c over arrays far larger than any cache: the
// memory bandwidth one thread gets, counted as STREAM counts it (24 bytes
// per element, write-allocate traffic not included) and, as STREAM reports
// it, the best of a few passes.
struct Triad
{
    static constexpr size_t Elements = size_t(1) << 24;
    std::vector<double> a, b, c;
    Triad() : a(Elements, 0.0), b(Elements, 1.0), c(Elements, 2.0) {}

    double bytesPerSecond()
    {
        std::vector<double> rates;
        for (int pass = 0; pass < 5; ++pass) {
            const double start = Bench::seconds();
            double* __restrict pa = a.data();
            const double* __restrict pb = b.data();
            const double* __restrict pc = c.data();
            for (size_t i = 0; i < Elements; ++i)
                pa[i] = pb[i] + 3.0 * pc[i];
            rates.push_back(24.0 * Elements / (Bench::seconds() - start));
        }
        return *std::max_element(rates.begin(), rates.end());
    }
};

} // namespace

// series_update_16bit: adding 16-bit frames of 4096 x 3000 to a series, as
// the panel and orvex-nuc do, against numpy's running sum of the same frames
// and against the memory bandwidth, round by round in one run.
int runSeriesUpdate(int images, int rounds)
{
    const QStringList paths = Bench::rawFrames(images, false);
    if (paths.size() != images)
        return 1;
    std::vector<std::unique_ptr<Bench::MappedFile>> files;
    for (const QString& path : paths)
        files.push_back(std::make_unique<Bench::MappedFile>(path));

    QProcess numpy;
    numpy.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    numpy.start(qEnvironmentVariable("ORVEX_BENCH_PYTHON", "/usr/bin/python3"),
                QStringList{QString(ORVEX_BENCH_SOURCE_DIR) + "/numpy_series.py"} + paths);
    if (!numpy.waitForStarted() || !numpy.waitForReadyRead(120000) ||
        numpy.readLine().trimmed() != "ready") {
        std::fprintf(stderr, "series_update_16bit: numpy comparison did not start\n");
        return 1;
    }
    auto numpyRound = [&numpy]() {
        numpy.write("run\n");
        while (!numpy.canReadLine())
            if (!numpy.waitForReadyRead(300000))
                return -1.0;
        return numpy.readLine().trimmed().toDouble();
    };

    auto oursRound = [&files, &paths]() {
        NucImageInput input;
        const double start = Bench::seconds();
        for (size_t i = 0; i < files.size(); ++i)
            if (!input.addLoadedImage(paths[int(i)], files[i]->grey16(), NucImageInput::Dark))
                return -1.0;
        return Bench::seconds() - start;
    };

    // The series as it runs (choosing between one thread and split passes by
    // itself), and for the log each way forced.
    auto forcedRound = [&oursRound](NucParallel::Mode mode) {
        NucParallel::setMode(mode);
        const double seconds = oursRound();
        NucParallel::setMode(NucParallel::Mode::Auto);
        return seconds;
    };

    Triad triad;
    std::vector<double> ours, theirs, limit, single, split;
    // One untimed round of each first: page tables, allocator, interpreter.
    oursRound();
    numpyRound();
    triad.bytesPerSecond();
    for (int r = 0; r < rounds; ++r) {
        ours.push_back(oursRound());
        theirs.push_back(numpyRound());
        limit.push_back(triad.bytesPerSecond());
        single.push_back(forcedRound(NucParallel::Mode::Single));
        split.push_back(forcedRound(NucParallel::Mode::Split));
        std::fprintf(stderr,
                     "  round %d: series %.3f s (one thread %.3f s, split %.3f s), numpy %.3f s, "
                     "triad %.2f GB/s\n",
                     r + 1, ours.back(), single.back(), split.back(), theirs.back(),
                     limit.back() / 1e9);
        if (ours.back() < 0 || theirs.back() < 0 || single.back() < 0 || split.back() < 0)
            return 1;
    }
    numpy.write("stop\n");
    numpy.waitForFinished();

    const double pixels = double(images) * Bench::Pixels;
    const double oursRate = pixels / Bench::median(ours) / 1e6;
    const double numpyRate = pixels / Bench::median(theirs) / 1e6;
    const double limitRate = Bench::median(limit) / 14.0 / 1e6;
    std::fprintf(stderr,
                 "  %d frames of %dx%d, %d rounds: series %.0f Mpix/s, numpy %.0f Mpix/s, "
                 "triad %.2f GB/s = %.0f Mpix/s at 14 bytes per pixel; forced to one thread "
                 "%.0f Mpix/s, split between %d threads %.0f Mpix/s\n",
                 images, Bench::Width, Bench::Height, rounds, oursRate, numpyRate,
                 Bench::median(limit) / 1e9, limitRate, pixels / Bench::median(single) / 1e6,
                 NucParallel::threadCount(), pixels / Bench::median(split) / 1e6);
    Bench::printResult("series_update_16bit", oursRate, "Mpix/s",
                       {QString("vs_numpy=%1").arg(oursRate / numpyRate, 0, 'f', 2),
                        QString("vs_limit=%1").arg(oursRate / limitRate, 0, 'f', 2)});
    return 0;
}
