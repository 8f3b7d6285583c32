#ifndef HVX_UPDATETRIGGERTYPE_H
#define HVX_UPDATETRIGGERTYPE_H

namespace Hvx {

// Why an observer is called. Plain enumeration so that the numeric value can
// be compared and stored directly.
enum UpdateTriggerType
{
    UpdateTriggerPluggedIn = 0,       // a camera or interface arrived
    UpdateTriggerPluggedOut = 1,      // a camera or interface left
    UpdateTriggerAccessChanged = 2,   // the transport layer reports changed permitted access
    UpdateTriggerOpenStateChanged = 3 // this process opened or closed the camera
};

} // namespace Hvx

#endif
