#include "CameraObserver.h"

CameraObserver::CameraObserver() : QObject(nullptr) {}

CameraObserver::~CameraObserver() = default;

void CameraObserver::CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType reason)
{
    emit CameraListChangedSignal(camera, reason);
}
