#ifndef HVX_HVSYSTEM_H
#define HVX_HVSYSTEM_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/SharedPointers.h"

#include <memory>

namespace Hvx {

// The SDK's entry point, one per process.
//
// Startup loads the transport-layer modules: every "*.so" in the folders of
// the environment variable HVX_TL_PATH (colon-separated, searched in order),
// or, when it is unset or empty, in the folder "hvx-tl" beside libHvx.so.
// Files that are not modules, or modules built for another module interface
// version, are skipped. Startup succeeds also when no module was found (the
// lists are then empty); it starts the notification thread on which the
// observers are called. Startup and Shutdown count: the SDK stops at the
// Shutdown matching the first Startup. Shutdown closes open cameras and
// unloads the modules; objects handed out before then stay safe to use but
// their calls fail (HvErrorApiNotStarted, or HvErrorBadHandle after a new
// Startup), except identity texts, which stay readable.
//
// Arrays are filled in two calls: with a null array `count` receives the
// number of entries; then pass an array of `count` entries. If the array is
// smaller than the list, its `count` entries are filled and HvErrorMoreData
// is returned; otherwise `count` becomes the number of entries filled.
//
// All calls are thread-safe.
class HVX_API HvSystem
{
public:
    static HvSystem& GetInstance();

    // Which kinds of module the next Startup starts; HvModuleSelectionStandard
    // until changed, so that a program that does not ask never starts a module
    // whose discovery sends packets on the network. Modules left out are
    // loaded only to learn their kind and unloaded again unstarted.
    HvErrorType SelectModules(HvModuleSelectionType selection);
    HvModuleSelectionType SelectedModules() const;

    HvErrorType Startup();
    HvErrorType Shutdown();
    HvErrorType QueryVersion(HvVersionInfo& version) const;

    // Asks every transport layer for its current devices; cameras found or
    // missed by this reach the observers like any hot-plug change.
    HvErrorType GetCameras(CameraPtr* cameras, unsigned int& count);
    // Plain or extended ID; HvErrorNotFound when no camera has it.
    HvErrorType GetCameraByID(const char* id, CameraPtr& camera);
    // GetCameraByID followed by Camera::Open.
    HvErrorType OpenCameraByID(const char* id, HvAccessModeType accessMode, CameraPtr& camera);
    // Asks the started transport layers, by unicast, for a camera at a network
    // address (e.g. "192.168.5.20", a GigE Vision camera on another subnet). The
    // camera joins the list like a plugged-in one. HvErrorNotFound when none
    // answered, HvErrorNotSupported when no started transport layer can look.
    HvErrorType AddCameraByAddress(const char* address, CameraPtr& camera);

    HvErrorType GetInterfaces(InterfacePtr* interfaces, unsigned int& count);
    HvErrorType GetInterfaceByID(const char* id, InterfacePtr& interface);
    HvErrorType GetTransportLayers(TransportLayerPtr* transportLayers, unsigned int& count);
    HvErrorType GetTransportLayerByID(const char* id, TransportLayerPtr& transportLayer);

    // Observers hear of changes after Startup: the cameras present at
    // Startup are not announced as arrivals. They may be registered before
    // Startup and stay registered across Shutdown. Registering one twice gives HvErrorInvalidCall,
    // unregistering an unknown one HvErrorNotFound, a null pointer HvErrorBadParameter.
    HvErrorType RegisterCameraListObserver(const ICameraListObserverPtr& observer);
    HvErrorType UnregisterCameraListObserver(const ICameraListObserverPtr& observer);
    HvErrorType RegisterInterfaceListObserver(const IInterfaceListObserverPtr& observer);
    HvErrorType UnregisterInterfaceListObserver(const IInterfaceListObserverPtr& observer);

    class Impl;

private:
    HvSystem();
    ~HvSystem();
    HvSystem(const HvSystem&) = delete;
    HvSystem& operator=(const HvSystem&) = delete;

    std::unique_ptr<Impl> m_impl;
};

} // namespace Hvx

#endif
