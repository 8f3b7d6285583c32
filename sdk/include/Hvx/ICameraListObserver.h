#ifndef HVX_ICAMERALISTOBSERVER_H
#define HVX_ICAMERALISTOBSERVER_H

#include "HvExport.h"
#include "Hvx/SharedPointers.h"
#include "Hvx/UpdateTriggerType.h"

namespace Hvx {

// Told about changes of the camera list. Called on the SDK's notification
// thread, one call at a time and in the order the changes happened. The SDK
// holds a reference while the observer is registered; after
// UnregisterCameraListObserver returns no further call starts (unless it is
// called from inside a callback, which is allowed).
class HVX_API ICameraListObserver
{
public:
    virtual ~ICameraListObserver();
    virtual void CameraListChanged(CameraPtr camera, UpdateTriggerType reason) = 0;
};

} // namespace Hvx

#endif
