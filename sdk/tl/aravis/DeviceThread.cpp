#include "DeviceThread.h"

namespace hvaravis {

DeviceThread::DeviceThread() : m_thread([this] { Loop(); }) {}

DeviceThread::~DeviceThread()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void DeviceThread::Run(const std::function<void()>& work)
{
    if (std::this_thread::get_id() == m_thread.get_id()) {
        work();
        return;
    }
    bool finished = false;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_queue.emplace_back([&] {
        work();
        std::lock_guard<std::mutex> done(m_mutex);
        finished = true;
    });
    m_wake.notify_one();
    m_finished.wait(lock, [&] { return finished; });
}

void DeviceThread::Loop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
        if (m_queue.empty())
            return;
        std::function<void()> work = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        work();
        lock.lock();
        m_finished.notify_all();
    }
}

} // namespace hvaravis
