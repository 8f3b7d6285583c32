#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

// Spreads a pass over the pixels of an image between the processor's threads
// where that makes it faster. One core of a machine may saturate its memory
// on its own (then a second thread buys nothing), or reach only half of what
// the memory gives (then two threads nearly double the speed); which one a
// machine is, and whether the other cores are busy right now, is only known
// by trying. So each kind of pass times itself, on one thread and split, and
// takes the faster, looking at the other way again every few passes.
//
// The threads are started once, on the first split pass, and wait for work
// between passes. A split pass gives each thread one contiguous block of
// pixels; every thread runs the same loop on its block, so the result is the
// one a single thread gives, bit for bit.
namespace NucParallel {

// Blocks start at multiples of this many pixels: 64 bytes or more in every
// buffer, so that threads share no cache line in buffers that start on one.
constexpr std::size_t Grain = 64;

// Passes below this many pixels stay on the calling thread: waking another
// thread costs about as much as the pass.
constexpr std::size_t MinSplitPixels = std::size_t(1) << 18;

enum class Mode
{
    Auto,   // the faster of the two, as measured
    Single, // always on the calling thread
    Split   // always split, whatever the size, when the threads are free
};

// For tests and benchmarks; Auto unless set.
void setMode(Mode mode);
Mode mode();

// How many threads a split pass uses (the calling thread included): the
// processor's threads, at most four (memory does not get faster beyond).
int threadCount();

// One kind of pass (a loop at one call site); keeps the time per pixel last
// measured each way.
class Pass
{
public:
    // Runs work(begin, end) over [0, pixels): once on the calling thread, or
    // on blocks of whole Grains on each thread. Safe to call from several
    // threads; a pass that finds the threads busy runs on its own thread.
    void run(std::size_t pixels, const std::function<void(std::size_t, std::size_t)>& work);

private:
    bool splitNext();

    std::atomic<double> singleCost{0.0}; // seconds per pixel, 0 until measured
    std::atomic<double> splitCost{0.0};
    std::atomic<unsigned> passes{0};
};

} // namespace NucParallel
