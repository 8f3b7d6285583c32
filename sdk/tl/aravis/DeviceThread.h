#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace hvaravis {

// The one thread that makes every Aravis call for one opened device: Aravis
// objects are not thread-safe, and the SDK calls a device from whichever
// thread its caller runs on. Run() hands work over and waits for it.
class DeviceThread
{
public:
    DeviceThread();
    // Finishes the work already handed over, then ends the thread.
    ~DeviceThread();
    DeviceThread(const DeviceThread&) = delete;
    DeviceThread& operator=(const DeviceThread&) = delete;

    // Runs `work` on the device's thread and returns when it is done; runs it
    // at once when called on that thread already.
    void Run(const std::function<void()>& work);

    template <typename Result> Result Call(const std::function<Result()>& work)
    {
        Result result{};
        Run([&] { result = work(); });
        return result;
    }

private:
    void Loop();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_finished;
    std::deque<std::function<void()>> m_queue;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace hvaravis
