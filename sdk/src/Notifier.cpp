#include "Notifier.h"

#include "Hvx/ICameraListObserver.h"
#include "Hvx/IInterfaceListObserver.h"

#include <algorithm>

namespace Hvx {
namespace Internal {

namespace {

template <typename Ptr> HvErrorType AddTo(std::vector<Ptr>& list, const Ptr& observer)
{
    if (!observer)
        return HvErrorBadParameter;
    if (std::find(list.begin(), list.end(), observer) != list.end())
        return HvErrorInvalidCall;
    list.push_back(observer);
    return HvErrorSuccess;
}

template <typename Ptr> HvErrorType RemoveFrom(std::vector<Ptr>& list, const Ptr& observer)
{
    if (!observer)
        return HvErrorBadParameter;
    const auto it = std::find(list.begin(), list.end(), observer);
    if (it == list.end())
        return HvErrorNotFound;
    list.erase(it);
    return HvErrorSuccess;
}

} // namespace

// An observer removed by an earlier observer of the same event is skipped.
template <typename Ptr>
bool Notifier::StillRegistered(const std::vector<Ptr>& list, const Ptr& observer)
{
    std::lock_guard<std::mutex> lock(m_observerMutex);
    return std::find(list.begin(), list.end(), observer) != list.end();
}

Notifier::Notifier() : m_running(false), m_generation(0) {}

Notifier::~Notifier()
{
    Stop();
}

HvErrorType Notifier::AddObserver(const ICameraListObserverPtr& observer)
{
    std::lock_guard<std::mutex> lock(m_observerMutex);
    return AddTo(m_cameraObservers, observer);
}

HvErrorType Notifier::RemoveObserver(const ICameraListObserverPtr& observer)
{
    HvErrorType result;
    {
        std::lock_guard<std::mutex> lock(m_observerMutex);
        result = RemoveFrom(m_cameraObservers, observer);
    }
    if (result == HvErrorSuccess)
        WaitForDelivery();
    return result;
}

HvErrorType Notifier::AddObserver(const IInterfaceListObserverPtr& observer)
{
    std::lock_guard<std::mutex> lock(m_observerMutex);
    return AddTo(m_interfaceObservers, observer);
}

HvErrorType Notifier::RemoveObserver(const IInterfaceListObserverPtr& observer)
{
    HvErrorType result;
    {
        std::lock_guard<std::mutex> lock(m_observerMutex);
        result = RemoveFrom(m_interfaceObservers, observer);
    }
    if (result == HvErrorSuccess)
        WaitForDelivery();
    return result;
}

void Notifier::WaitForDelivery()
{
    if (std::this_thread::get_id() == m_threadId)
        return;
    std::lock_guard<std::mutex> wait(m_deliveryMutex);
}

void Notifier::Start()
{
    std::lock_guard<std::mutex> lock(m_queueMutex);
    if (m_running)
        return;
    m_running = true;
    m_queue.clear();
    ++m_generation;
    m_thread = std::thread(&Notifier::Run, this, m_generation);
    m_threadId = m_thread.get_id();
}

void Notifier::Stop()
{
    std::thread thread;
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        if (!m_running)
            return;
        m_running = false;
        m_queue.clear();
        thread = std::move(m_thread);
    }
    m_queueChanged.notify_all();
    if (thread.get_id() == std::this_thread::get_id())
        thread.detach(); // stopped from inside a callback: it ends on return
    else if (thread.joinable())
        thread.join();
    std::lock_guard<std::mutex> lock(m_queueMutex);
    if (!m_running)
        m_threadId = std::thread::id();
}

void Notifier::Post(const CameraPtr& camera, UpdateTriggerType reason)
{
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        if (!m_running)
            return;
        m_queue.push_back(Event{camera, nullptr, reason});
    }
    m_queueChanged.notify_one();
}

void Notifier::Post(const InterfacePtr& interface, UpdateTriggerType reason)
{
    {
        std::lock_guard<std::mutex> lock(m_queueMutex);
        if (!m_running)
            return;
        m_queue.push_back(Event{nullptr, interface, reason});
    }
    m_queueChanged.notify_one();
}

void Notifier::Run(uint64_t generation)
{
    for (;;) {
        Event event;
        {
            std::unique_lock<std::mutex> lock(m_queueMutex);
            m_queueChanged.wait(lock, [this, generation] {
                return !m_running || generation != m_generation || !m_queue.empty();
            });
            if (!m_running || generation != m_generation)
                return;
            event = std::move(m_queue.front());
            m_queue.pop_front();
        }
        Deliver(event);
    }
}

void Notifier::Deliver(const Event& event)
{
    std::lock_guard<std::mutex> delivering(m_deliveryMutex);
    if (event.camera) {
        std::vector<ICameraListObserverPtr> observers;
        {
            std::lock_guard<std::mutex> lock(m_observerMutex);
            observers = m_cameraObservers;
        }
        for (const auto& observer : observers)
            if (StillRegistered(m_cameraObservers, observer))
                observer->CameraListChanged(event.camera, event.reason);
    } else if (event.interface) {
        std::vector<IInterfaceListObserverPtr> observers;
        {
            std::lock_guard<std::mutex> lock(m_observerMutex);
            observers = m_interfaceObservers;
        }
        for (const auto& observer : observers)
            if (StillRegistered(m_interfaceObservers, observer))
                observer->InterfaceListChanged(event.interface, event.reason);
    }
}

} // namespace Internal
} // namespace Hvx
