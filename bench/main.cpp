#include "BenchSupport.h"

#include <QCoreApplication>

#include <cstdio>

int runSeriesUpdate(int images, int rounds);
int runGeneratePack(int rounds);
int runCliGenerate(int perSeries, int rounds);
int runDecode(int perSeries, int rounds);

// orvex-bench <benchmark> [count] [rounds]: one benchmark per run, ending in
// its BENCH line. bench/run chooses the counts.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const QString which = args.value(1);
    const int count = args.value(2).toInt();
    const int rounds = args.value(3).toInt();
    std::fprintf(stderr, "%s on %s\n", qPrintable(which), qPrintable(Bench::machine()));
    if (which == "series_update_16bit" && count > 0 && rounds > 0)
        return runSeriesUpdate(count, rounds);
    if (which == "generate_pack_12mp" && rounds > 0)
        return runGeneratePack(rounds);
    if (which == "cli_generate_png" && count > 0 && rounds > 0)
        return runCliGenerate(count, rounds);
    if (which == "decode_png16_12mp" && count > 0 && rounds > 0)
        return runDecode(count, rounds);
    std::fprintf(stderr, "usage: orvex-bench series_update_16bit IMAGES ROUNDS\n"
                         "       orvex-bench generate_pack_12mp 0 ROUNDS\n"
                         "       orvex-bench cli_generate_png FILES_PER_SERIES ROUNDS\n"
                         "       orvex-bench decode_png16_12mp FILES_PER_SERIES ROUNDS\n");
    return 2;
}
