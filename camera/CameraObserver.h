#pragma once

#include "HvxMetaTypes.h"

#include <Hvx/ICameraListObserver.h>

#include <QObject>

// Turns the SDK's camera list callbacks, which arrive on the SDK's own
// notification thread, into a signal; receivers in other threads get it
// queued. It passes every reason on unfiltered.
class CameraObserver : public QObject, public Hvx::ICameraListObserver
{
    Q_OBJECT

public:
    CameraObserver();
    ~CameraObserver() override;

    void CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType reason) override;

signals:
    void CameraListChangedSignal(Hvx::CameraPtr pCamera, Hvx::UpdateTriggerType reason);
};
