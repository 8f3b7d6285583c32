#include "NucParallel.h"

#include <QtTest>

#include <thread>
#include <vector>

using NucParallel::Mode;

namespace {

// One pass over pixels: true when every pixel was visited once and every
// block started on a whole Grain.
bool eachPixelOnce(NucParallel::Pass& pass, size_t pixels)
{
    std::vector<int> count(pixels, 0);
    std::atomic<bool> grainsWhole{true};
    pass.run(pixels, [&](size_t begin, size_t end) {
        if (begin % NucParallel::Grain != 0)
            grainsWhole = false;
        for (size_t i = begin; i < end; ++i)
            ++count[i];
    });
    return grainsWhole && std::count(count.begin(), count.end(), 1) == qsizetype(pixels);
}

} // namespace

class TestNucParallel : public QObject
{
    Q_OBJECT
private slots:
    void cleanup() { NucParallel::setMode(Mode::Auto); }

    // Every mode (Auto tries both ways in its first passes), sizes around
    // the blocks, and callers on several threads at once: a caller that
    // finds the helpers busy runs its pass alone.
    void everyPixelOnce()
    {
        for (Mode mode : {Mode::Single, Mode::Split, Mode::Auto}) {
            NucParallel::setMode(mode);
            NucParallel::Pass pass;
            std::vector<std::thread> callers;
            std::atomic<int> failures{0};
            for (size_t pixels :
                 {size_t(0), size_t(1), size_t(65), size_t(1000), NucParallel::MinSplitPixels + 5})
                callers.emplace_back([&pass, &failures, pixels] {
                    for (int round = 0; round < 20; ++round)
                        failures += eachPixelOnce(pass, pixels) ? 0 : 1;
                });
            for (std::thread& caller : callers)
                caller.join();
            QCOMPARE(failures.load(), 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestNucParallel)
#include "TestNucParallel.moc"
