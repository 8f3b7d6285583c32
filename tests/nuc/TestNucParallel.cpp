#include "NucParallel.h"

#include <QtTest>

#include <thread>
#include <vector>

using NucParallel::Mode;

Q_DECLARE_METATYPE(NucParallel::Mode)

namespace {

// Runs one pass over pixels in mode; the number of times each pixel was
// visited, and whether every block started on a whole Grain.
std::vector<int> visits(NucParallel::Pass& pass, size_t pixels, bool* grainsWhole)
{
    std::vector<int> count(pixels, 0);
    std::vector<size_t> starts(8, 0);
    std::atomic<int> blocks{0};
    pass.run(pixels, [&](size_t begin, size_t end) {
        starts[size_t(blocks++) % starts.size()] = begin;
        for (size_t i = begin; i < end; ++i)
            ++count[i];
    });
    *grainsWhole = true;
    for (int b = 0; b < blocks; ++b)
        *grainsWhole = *grainsWhole && starts[size_t(b)] % NucParallel::Grain == 0;
    return count;
}

} // namespace

class TestNucParallel : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { NucParallel::setMode(Mode::Auto); }

    // Every pixel once, in every mode and at sizes around the blocks.
    void everyPixelOnce_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<int>("pixels");
        for (Mode mode : {Mode::Single, Mode::Split, Mode::Auto})
            for (int pixels : {0, 1, 63, 64, 65, 129, 1000, (1 << 18) + 5})
                QTest::addRow("mode %d, %d pixels", int(mode), pixels) << mode << pixels;
    }

    void everyPixelOnce()
    {
        QFETCH(Mode, mode);
        QFETCH(int, pixels);
        NucParallel::setMode(mode);
        NucParallel::Pass pass;
        for (int round = 0; round < 20; ++round) { // Auto tries both ways
            bool grainsWhole = false;
            const std::vector<int> count = visits(pass, size_t(pixels), &grainsWhole);
            QVERIFY(grainsWhole);
            QCOMPARE(std::count(count.begin(), count.end(), 1), qsizetype(pixels));
        }
    }

    // Callers on several threads at once: whoever finds the helpers busy
    // runs its pass alone, and every pass still covers its pixels once.
    void concurrentCallers()
    {
        NucParallel::setMode(Mode::Split);
        NucParallel::Pass pass;
        std::vector<std::thread> callers;
        std::vector<int> failures(4, 0);
        for (size_t t = 0; t < failures.size(); ++t)
            callers.emplace_back([&pass, &failures, t] {
                for (int round = 0; round < 50; ++round) {
                    bool grainsWhole = false;
                    const std::vector<int> count = visits(pass, 5000 + t, &grainsWhole);
                    if (!grainsWhole ||
                        std::count(count.begin(), count.end(), 1) != 5000 + qsizetype(t))
                        ++failures[t];
                }
            });
        for (std::thread& caller : callers)
            caller.join();
        QCOMPARE(failures, std::vector<int>(failures.size(), 0));
    }
};

QTEST_GUILESS_MAIN(TestNucParallel)
#include "TestNucParallel.moc"
