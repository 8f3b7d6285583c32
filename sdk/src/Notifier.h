#ifndef HVX_INTERNAL_NOTIFIER_H
#define HVX_INTERNAL_NOTIFIER_H

#include "HvTypes.h"
#include "Hvx/SharedPointers.h"
#include "Hvx/UpdateTriggerType.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace Hvx {
namespace Internal {

// The SDK's notification thread. List changes are queued from whatever
// thread discovers them (a module's hot-plug watcher, a caller of
// GetCameras or Open) and delivered to the observers in order, one at a time,
// on this thread only, so that no observer is ever called with an SDK lock
// held or from two threads at once.
class Notifier
{
public:
    Notifier();
    ~Notifier();

    HvErrorType AddObserver(const ICameraListObserverPtr& observer);
    HvErrorType RemoveObserver(const ICameraListObserverPtr& observer);
    HvErrorType AddObserver(const IInterfaceListObserverPtr& observer);
    HvErrorType RemoveObserver(const IInterfaceListObserverPtr& observer);

    void Start();
    // Drops undelivered events and ends the thread; waits for a callback in
    // progress unless called from that callback.
    void Stop();

    void Post(const CameraPtr& camera, UpdateTriggerType reason);
    void Post(const InterfacePtr& interface, UpdateTriggerType reason);

private:
    struct Event
    {
        CameraPtr camera;
        InterfacePtr interface;
        UpdateTriggerType reason;
    };

    void Run(uint64_t generation);
    void Deliver(const Event& event);
    // Makes sure a callback in progress has finished, so that an observer
    // removed by another thread is not called any more.
    void WaitForDelivery();
    template <typename Ptr> bool StillRegistered(const std::vector<Ptr>& list, const Ptr& observer);

    std::mutex m_queueMutex;
    std::condition_variable m_queueChanged;
    std::deque<Event> m_queue;
    bool m_running;
    std::thread m_thread;
    std::atomic<std::thread::id> m_threadId;
    uint64_t m_generation; // a thread detached by Stop must not serve a later Start

    std::mutex m_observerMutex;
    std::vector<ICameraListObserverPtr> m_cameraObservers;
    std::vector<IInterfaceListObserverPtr> m_interfaceObservers;

    std::mutex m_deliveryMutex;
};

} // namespace Internal
} // namespace Hvx

#endif
