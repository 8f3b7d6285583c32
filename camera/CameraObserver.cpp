#include "CameraObserver.h"

CameraObserver::CameraObserver() : QObject(nullptr) {}

CameraObserver::~CameraObserver() = default;

void CameraObserver::CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType reason)
{
    bool wasEmpty;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        wasEmpty = m_pending.empty();
        m_pending.emplace_back(std::move(camera), reason);
    }
    // A drain already on its way takes this event along.
    if (wasEmpty)
        QMetaObject::invokeMethod(this, "deliverPending", Qt::QueuedConnection);
}

void CameraObserver::deliverPending()
{
    std::deque<std::pair<Hvx::CameraPtr, Hvx::UpdateTriggerType>> batch;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        batch.swap(m_pending);
    }
    for (const auto& [camera, reason] : batch)
        emit CameraListChangedSignal(camera, reason);
}
