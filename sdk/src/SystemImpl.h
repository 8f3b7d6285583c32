#ifndef HVX_INTERNAL_SYSTEMIMPL_H
#define HVX_INTERNAL_SYSTEMIMPL_H

#include "HvTypes.h"
#include "Hvx/HvSystem.h"
#include "Hvx/TransportLayerModule.h"
#include "ModuleLoader.h"
#include "Notifier.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

namespace Hvx {
namespace Internal {

class CameraState;
class InterfaceState;
struct ModuleRecord;

// The core's side of IModuleHost, one per loaded module.
class ModuleHost final : public Tl::IModuleHost
{
public:
    ModuleHost(HvSystem::Impl& system, ModuleRecord& record);
    void DeviceArrived(const Tl::DeviceInfo& device) override;
    void DeviceLeft(const std::string& deviceId) override;
    void DeviceChanged(const Tl::DeviceInfo& device) override;
    void InterfaceArrived(const Tl::InterfaceInfo& interfaceInfo) override;
    void InterfaceLeft(const std::string& interfaceId) override;

private:
    HvSystem::Impl& m_system;
    ModuleRecord& m_record;
};

// One loaded module during one session. The record outlives the module:
// objects of the session keep it, and the session check keeps them from
// touching `loaded.module` once it is gone.
struct ModuleRecord
{
    LoadedModule loaded;
    std::string id;
    TransportLayerPtr object;
    std::unique_ptr<ModuleHost> host;
    // Host calls are accepted only while set (from just before Start to
    // just before Stop).
    std::atomic<bool> active{false};
    // Counts host calls, so that a list merge can tell whether the module
    // reported a change while its list was being fetched.
    std::atomic<uint64_t> changes{0};
    std::weak_ptr<ModuleRecord> self;
};

// Shared hold on the SDK session for the length of one call. Startup and
// Shutdown take the session exclusively, so a module is never unloaded under
// a running call. Never taken twice on one thread.
class SessionLock
{
public:
    // For system calls: fails with HvErrorApiNotStarted when not started.
    SessionLock();
    // For objects made in session `session`: HvErrorBadHandle when a later
    // session runs.
    explicit SessionLock(uint64_t session);
    HvErrorType Status() const { return m_status; }

private:
    std::shared_lock<std::shared_mutex> m_lock;
    HvErrorType m_status;
};

} // namespace Internal

class HvSystem::Impl
{
public:
    static Impl& Instance();

    Impl();
    ~Impl();

    HvErrorType SelectModules(HvModuleSelectionType selection);
    HvModuleSelectionType SelectedModules() const { return m_selection; }
    HvErrorType Startup();
    HvErrorType Shutdown();

    HvErrorType GetCameras(std::vector<CameraPtr>& cameras);
    HvErrorType GetCameraByID(const std::string& id, CameraPtr& camera);
    HvErrorType AddCameraByAddress(const std::string& address, CameraPtr& camera);
    HvErrorType GetInterfaces(std::vector<InterfacePtr>& interfaces);
    HvErrorType GetInterfaceByID(const std::string& id, InterfacePtr& interface);
    HvErrorType GetTransportLayers(std::vector<TransportLayerPtr>& transportLayers);

    // The interface object a camera names, made on demand when its module
    // did not list it. Needs a SessionLock held.
    InterfacePtr InterfaceFor(const std::shared_ptr<Internal::ModuleRecord>& module,
                              const std::string& interfaceId, HvTransportLayerType type);

    // Host callbacks (any thread).
    void OnDeviceSeen(Internal::ModuleRecord& module, const Tl::DeviceInfo& device, bool changed);
    void OnDeviceLeft(Internal::ModuleRecord& module, const std::string& deviceId);
    void OnInterfaceSeen(Internal::ModuleRecord& module, const Tl::InterfaceInfo& info);
    void OnInterfaceLeft(Internal::ModuleRecord& module, const std::string& interfaceId);

    Internal::Notifier& Notifications() { return m_notifier; }

private:
    friend class Internal::SessionLock;

    struct CameraEntry
    {
        Internal::ModuleRecord* module;
        CameraPtr camera;
        std::shared_ptr<Internal::CameraState> state;
    };
    struct InterfaceEntry
    {
        Internal::ModuleRecord* module;
        InterfacePtr object;
        std::shared_ptr<Internal::InterfaceState> state;
    };

    std::vector<std::shared_ptr<Internal::ModuleRecord>> Modules();
    // Compares a module's current lists with the registry (SessionLock held).
    void RefreshDevices(const std::shared_ptr<Internal::ModuleRecord>& module);
    void RefreshInterfaces(const std::shared_ptr<Internal::ModuleRecord>& module);
    // Registry mutex held.
    CameraEntry* FindCamera(Internal::ModuleRecord* module, const std::string& deviceId);
    InterfaceEntry* FindInterface(Internal::ModuleRecord* module, const std::string& id);
    InterfaceEntry& AddInterface(Internal::ModuleRecord& module, const Tl::InterfaceInfo& info);
    void UpsertDevice(Internal::ModuleRecord& module, const Tl::DeviceInfo& device, bool changed);
    void MarkDeviceLeft(CameraEntry& entry);
    void UpsertInterface(Internal::ModuleRecord& module, const Tl::InterfaceInfo& info);
    void MarkInterfaceLeft(InterfaceEntry& entry);
    bool LookUpCamera(const std::string& id, CameraPtr& camera);

    // Serialises Startup and Shutdown as a whole (the notification thread
    // is joined outside the session lock).
    std::mutex m_lifecycleMutex;
    std::shared_mutex m_sessionMutex;
    bool m_started;
    int m_startCount;
    uint64_t m_session;
    // Changes are announced to observers only once Startup has taken its
    // first look at the lists: the cameras present at start did not arrive.
    std::atomic<bool> m_announce;
    // Kinds of module the next Startup starts.
    std::atomic<HvModuleSelectionType> m_selection;

    // Guards the lists below and m_modules (written under both locks).
    std::vector<std::shared_ptr<Internal::ModuleRecord>> m_modules;

    std::mutex m_registryMutex;
    std::vector<CameraEntry> m_cameras;
    std::vector<InterfaceEntry> m_interfaces;

    Internal::Notifier m_notifier;
};

} // namespace Hvx

#endif
