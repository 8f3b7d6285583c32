#pragma once

#include "HvxMetaTypes.h"

#include <Hvx/ICameraListObserver.h>

#include <QObject>

#include <deque>
#include <mutex>
#include <utility>

// Turns the SDK's camera list callbacks, which arrive on the SDK's own
// notification thread, into a signal emitted on the observer's thread (the
// GUI thread). It passes every reason on unfiltered and in order. Callbacks
// wait in a queue of our own and one queued call drains it, so a burst of
// hot-plug events is handled in one pass, and the hand-over between the two
// threads goes through a mutex that ThreadSanitizer can follow (Qt's own
// event queue is ordered by futexes it cannot see).
class CameraObserver : public QObject, public Hvx::ICameraListObserver
{
    Q_OBJECT

public:
    CameraObserver();
    ~CameraObserver() override;

    void CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType reason) override;

signals:
    void CameraListChangedSignal(Hvx::CameraPtr pCamera, Hvx::UpdateTriggerType reason);

private:
    // Invoked by name, so that the queued call carries no slot object built
    // on the SDK's thread for the GUI thread to read.
    Q_INVOKABLE void deliverPending();

    std::mutex m_mutex;
    std::deque<std::pair<Hvx::CameraPtr, Hvx::UpdateTriggerType>> m_pending;
};
