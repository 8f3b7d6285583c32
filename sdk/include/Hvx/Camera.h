#ifndef HVX_CAMERA_H
#define HVX_CAMERA_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/FeatureContainer.h"
#include "Hvx/FrameAllocationMode.h"
#include "Hvx/SharedPointers.h"

#include <cstdint>

namespace Hvx {

// One camera found by a transport layer. The SDK keeps one Camera object per
// device for the whole session, so pointers from GetCameras, GetCameraByID
// and the observers compare equal. Identity (IDs, model, name, serial) stays
// readable after the camera has left; objects from an earlier session give
// HvErrorApiNotStarted or HvErrorBadHandle.
//
// Texts are read in two calls: with a null buffer `length` receives the number
// of characters WITHOUT the terminating NUL; then pass a buffer of length + 1
// bytes and the same `length`. A smaller `length` gives HvErrorMoreData and
// sets it to the needed count; on success `length` is the number of characters.
class HVX_API Camera : public FeatureContainer
{
public:
    explicit Camera(std::shared_ptr<Internal::CameraState> state);
    ~Camera() override;

    // Plain ID (unique within its transport layer) or extended ID
    // "<transport layer ID>::<plain ID>" (unique across transport layers).
    HvErrorType GetID(char* id, unsigned int& length, bool extended = false) const;
    HvErrorType GetModel(char* model, unsigned int& length) const;
    HvErrorType GetName(char* name, unsigned int& length) const;
    HvErrorType GetSerialNumber(char* serial, unsigned int& length) const;
    // Empty where the transport layer does not know them.
    HvErrorType GetVendor(char* vendor, unsigned int& length) const;
    HvErrorType GetFirmwareVersion(char* version, unsigned int& length) const;
    HvErrorType GetInterfaceID(char* id, unsigned int& length) const;
    HvErrorType GetInterface(InterfacePtr& interface) const;
    HvErrorType GetTransportLayer(TransportLayerPtr& transportLayer) const;
    // HvAccessModeType bits the camera permits now (Full or Exclusive allow writing).
    HvErrorType GetPermittedAccess(HvAccessModeType& access) const;
    // Asked of the transport layer each time (it can fail for a lost device).
    HvErrorType GetInterfaceType(HvTransportLayerType& type) const;

    // Opens with HvAccessModeFull, HvAccessModeExclusive or HvAccessModeRead.
    // HvErrorInvalidAccess when the camera does not permit the mode,
    // HvErrorInvalidCall when this process has it open already,
    // HvErrorNotFound when the camera has left. Observers get
    // UpdateTriggerOpenStateChanged on success.
    HvErrorType Open(HvAccessModeType accessMode);
    // HvErrorDeviceNotOpen when it is not open.
    HvErrorType Close();
    // The mode it is open with, HvAccessModeNone when closed.
    HvErrorType GetOpenAccess(HvAccessModeType& accessMode) const;

    // Raw device memory; `completed` (may be null) receives the bytes done.
    HvErrorType ReadMemory(uint64_t address, unsigned char* buffer, unsigned int size,
                           unsigned int* completed) const;
    HvErrorType WriteMemory(uint64_t address, const unsigned char* buffer, unsigned int size,
                            unsigned int* completed);

    // Streams of the open camera, count-then-array as HvSystem::GetCameras.
    HvErrorType GetStreams(StreamPtr* streams, unsigned int& count);

    // Grabs one frame, waiting up to `timeout` milliseconds.
    HvErrorType
    AcquireSingleImage(FramePtr& frame, unsigned int timeout,
                       FrameAllocationMode allocationMode = FrameAllocation_AnnounceFrame);

private:
    std::shared_ptr<Internal::CameraState> m_state;
};

} // namespace Hvx

#endif
