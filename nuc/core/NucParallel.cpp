#include "NucParallel.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace NucParallel {

namespace {

std::atomic<Mode> currentMode{Mode::Auto};

// Helper threads that run part k of a job while the caller runs part 0.
class Pool
{
public:
    explicit Pool(int parts)
    {
        for (int k = 1; k < parts; ++k)
            threads.emplace_back([this, k] { serve(k); });
    }

    ~Pool()
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            stopping = true;
        }
        wake.notify_all();
        for (std::thread& thread : threads)
            thread.join();
    }

    int parts() const { return int(threads.size()) + 1; }

    // Runs work(k) for every part k; false, with nothing run, when another
    // caller holds the threads.
    bool tryRun(const std::function<void(int)>& work)
    {
        std::unique_lock<std::mutex> owner(busy, std::try_to_lock);
        if (!owner.owns_lock())
            return false;
        {
            std::lock_guard<std::mutex> lock(mutex);
            job = &work;
            pending = int(threads.size());
            ++generation;
        }
        wake.notify_all();
        work(0);
        std::unique_lock<std::mutex> lock(mutex);
        done.wait(lock, [this] { return pending == 0; });
        job = nullptr;
        return true;
    }

private:
    void serve(int part)
    {
        unsigned seen = 0;
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            wake.wait(lock, [this, seen] { return stopping || generation != seen; });
            if (stopping)
                return;
            seen = generation;
            const std::function<void(int)>* work = job;
            lock.unlock();
            (*work)(part);
            lock.lock();
            if (--pending == 0)
                done.notify_one();
        }
    }

    std::mutex busy; // held by the caller whose job runs
    std::mutex mutex;
    std::condition_variable wake, done;
    const std::function<void(int)>* job = nullptr;
    unsigned generation = 0;
    int pending = 0;
    bool stopping = false;
    std::vector<std::thread> threads;
};

Pool& pool()
{
    static Pool instance(threadCount());
    return instance;
}

double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

void setMode(Mode mode)
{
    currentMode = mode;
}

Mode mode()
{
    return currentMode;
}

int threadCount()
{
    static const int count = int(std::clamp(std::thread::hardware_concurrency(), 1u, 4u));
    return count;
}

// Auto: a way not measured yet comes first, then the cheaper one, except
// that every sixteenth pass measures the other way again, since the load on
// the other cores changes.
bool Pass::splitNext()
{
    const double single = singleCost.load(std::memory_order_relaxed);
    const double split = splitCost.load(std::memory_order_relaxed);
    if (split == 0.0)
        return true;
    if (single == 0.0)
        return false;
    const bool splitIsFaster = split < single;
    const bool lookAgain = passes.fetch_add(1, std::memory_order_relaxed) % 16 == 15;
    return lookAgain ? !splitIsFaster : splitIsFaster;
}

void Pass::run(std::size_t pixels, const std::function<void(std::size_t, std::size_t)>& work)
{
    const Mode m = currentMode;
    bool split = false;
    if (m == Mode::Split)
        split = threadCount() > 1;
    else if (m == Mode::Auto && pixels >= MinSplitPixels && threadCount() > 1)
        split = splitNext();

    const double start = now();
    if (split) {
        Pool& threads = pool();
        const std::size_t parts = std::size_t(threads.parts());
        const std::size_t block = (pixels / parts + Grain - 1) / Grain * Grain;
        split = threads.tryRun([&](int part) {
            const std::size_t begin = std::min(pixels, std::size_t(part) * block);
            const std::size_t end =
                part + 1 == int(parts) ? pixels : std::min(pixels, begin + block);
            if (begin < end)
                work(begin, end);
        });
    }
    if (!split)
        work(0, pixels);
    if (pixels >= MinSplitPixels)
        (split ? splitCost : singleCost)
            .store((now() - start) / double(pixels), std::memory_order_relaxed);
}

} // namespace NucParallel
