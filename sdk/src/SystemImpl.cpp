#include "SystemImpl.h"

#include "CameraState.h"
#include "Hvx/Camera.h"
#include "Hvx/Interface.h"
#include "Hvx/TransportLayer.h"
#include "InterfaceState.h"
#include "TransportLayerState.h"

#include <algorithm>

namespace Hvx {

using Internal::CameraState;
using Internal::InterfaceState;
using Internal::ModuleRecord;

namespace Internal {

ModuleHost::ModuleHost(HvSystem::Impl& system, ModuleRecord& record)
    : m_system(system), m_record(record)
{
}

void ModuleHost::DeviceArrived(const Tl::DeviceInfo& device)
{
    m_system.OnDeviceSeen(m_record, device, false);
}

void ModuleHost::DeviceLeft(const std::string& deviceId)
{
    m_system.OnDeviceLeft(m_record, deviceId);
}

void ModuleHost::DeviceChanged(const Tl::DeviceInfo& device)
{
    m_system.OnDeviceSeen(m_record, device, true);
}

void ModuleHost::InterfaceArrived(const Tl::InterfaceInfo& interfaceInfo)
{
    m_system.OnInterfaceSeen(m_record, interfaceInfo);
}

void ModuleHost::InterfaceLeft(const std::string& interfaceId)
{
    m_system.OnInterfaceLeft(m_record, interfaceId);
}

SessionLock::SessionLock() : m_lock(HvSystem::Impl::Instance().m_sessionMutex)
{
    m_status = HvSystem::Impl::Instance().m_started ? HvErrorSuccess : HvErrorApiNotStarted;
}

SessionLock::SessionLock(uint64_t session) : m_lock(HvSystem::Impl::Instance().m_sessionMutex)
{
    const auto& system = HvSystem::Impl::Instance();
    if (!system.m_started)
        m_status = HvErrorApiNotStarted;
    else if (system.m_session != session)
        m_status = HvErrorBadHandle;
    else
        m_status = HvErrorSuccess;
}

} // namespace Internal

namespace {

std::string ExtendedId(const ModuleRecord& module, const std::string& id)
{
    return module.id + "::" + id;
}

bool SameDevice(const Tl::DeviceInfo& a, const Tl::DeviceInfo& b)
{
    return a.id == b.id && a.interfaceId == b.interfaceId && a.model == b.model &&
           a.name == b.name && a.serialNumber == b.serialNumber && a.vendor == b.vendor &&
           a.firmwareVersion == b.firmwareVersion && a.permittedAccess == b.permittedAccess &&
           a.type == b.type;
}

} // namespace

HvSystem::Impl& HvSystem::Impl::Instance()
{
    return *HvSystem::GetInstance().m_impl;
}

HvSystem::Impl::Impl()
    : m_started(false), m_startCount(0), m_session(0), m_announce(false),
      m_selection(HvModuleSelectionStandard)
{
}

HvErrorType HvSystem::Impl::SelectModules(HvModuleSelectionType selection)
{
    if (selection == 0 || (selection & ~HvModuleSelectionType(HvModuleSelectionAll)) != 0)
        return HvErrorBadParameter;
    m_selection = selection;
    return HvErrorSuccess;
}

HvSystem::Impl::~Impl()
{
    // A program that forgets Shutdown still gets its cameras closed and
    // the notification thread ended before the process goes away.
    if (m_started) {
        m_startCount = 1;
        Shutdown();
    }
    m_notifier.Stop();
}

HvErrorType HvSystem::Impl::Startup()
{
    std::lock_guard<std::mutex> lifecycle(m_lifecycleMutex);
    std::vector<std::shared_ptr<ModuleRecord>> started;
    {
        std::unique_lock<std::shared_mutex> session(m_sessionMutex);
        if (m_started) {
            ++m_startCount;
            return HvErrorSuccess;
        }
        ++m_session;
        m_notifier.Start();
        for (auto& loaded : Internal::LoadModules(Internal::ModuleSearchFolders())) {
            const HvModuleSelectionType kind = loaded.module->StartsOnRequestOnly()
                                                   ? HvModuleSelectionOnRequest
                                                   : HvModuleSelectionStandard;
            if ((m_selection & kind) == 0) {
                Internal::DebugNote("module not selected: " + loaded.path);
                Internal::UnloadModule(loaded);
                continue;
            }
            auto record = std::make_shared<ModuleRecord>();
            record->self = record;
            record->loaded = loaded;
            record->id = loaded.module->Id();
            auto description = std::make_shared<Internal::TransportLayerState>();
            description->id = record->id;
            description->name = loaded.module->Name();
            description->version = loaded.module->Version();
            description->path = loaded.path;
            description->type = loaded.module->Type();
            record->object = std::make_shared<TransportLayer>(description);
            record->host = std::make_unique<Internal::ModuleHost>(*this, *record);
            {
                std::lock_guard<std::mutex> registry(m_registryMutex);
                m_modules.push_back(record);
            }
            record->active = true;
            if (loaded.module->Start(*record->host) != HvErrorSuccess) {
                Internal::DebugNote("module did not start: " + loaded.path);
                record->active = false;
                {
                    std::lock_guard<std::mutex> registry(m_registryMutex);
                    m_modules.pop_back();
                    m_cameras.erase(std::remove_if(m_cameras.begin(), m_cameras.end(),
                                                   [&](const CameraEntry& e) {
                                                       return e.module == record.get();
                                                   }),
                                    m_cameras.end());
                    m_interfaces.erase(std::remove_if(m_interfaces.begin(), m_interfaces.end(),
                                                      [&](const InterfaceEntry& e) {
                                                          return e.module == record.get();
                                                      }),
                                       m_interfaces.end());
                }
                Internal::UnloadModule(record->loaded);
                continue;
            }
            started.push_back(record);
        }
        m_started = true;
        m_startCount = 1;
    }
    // The first look at the lists fills the registry without announcing.
    {
        Internal::SessionLock session;
        for (const auto& module : started) {
            RefreshInterfaces(module);
            RefreshDevices(module);
        }
        m_announce = true;
    }
    return HvErrorSuccess;
}

HvErrorType HvSystem::Impl::Shutdown()
{
    std::lock_guard<std::mutex> lifecycle(m_lifecycleMutex);
    {
        std::unique_lock<std::shared_mutex> session(m_sessionMutex);
        if (!m_started)
            return HvErrorApiNotStarted;
        if (--m_startCount > 0)
            return HvErrorSuccess;
        m_started = false;
        m_announce = false;

        std::vector<CameraEntry> cameras;
        std::vector<std::shared_ptr<ModuleRecord>> modules;
        {
            std::lock_guard<std::mutex> registry(m_registryMutex);
            cameras = m_cameras;
            modules = m_modules;
        }
        // Devices first: they are the module's objects and must go before it.
        for (auto& entry : cameras) {
            std::lock_guard<std::mutex> device(entry.state->deviceMutex);
            entry.state->streams.clear();
            entry.state->device.reset();
            entry.state->openAccess = HvAccessModeNone;
        }
        for (auto it = modules.rbegin(); it != modules.rend(); ++it) {
            (*it)->active = false;
            (*it)->loaded.module->Stop();
        }
        {
            std::lock_guard<std::mutex> registry(m_registryMutex);
            m_cameras.clear();
            m_interfaces.clear();
            m_modules.clear();
        }
        for (auto it = modules.rbegin(); it != modules.rend(); ++it)
            Internal::UnloadModule((*it)->loaded);
    }
    // Outside the session lock: a callback in progress may still be waiting
    // for it and must be able to finish.
    m_notifier.Stop();
    return HvErrorSuccess;
}

std::vector<std::shared_ptr<ModuleRecord>> HvSystem::Impl::Modules()
{
    std::lock_guard<std::mutex> registry(m_registryMutex);
    return m_modules;
}

HvSystem::Impl::CameraEntry* HvSystem::Impl::FindCamera(ModuleRecord* module,
                                                        const std::string& deviceId)
{
    for (auto& entry : m_cameras)
        if (entry.module == module && entry.state->Info().id == deviceId)
            return &entry;
    return nullptr;
}

HvSystem::Impl::InterfaceEntry* HvSystem::Impl::FindInterface(ModuleRecord* module,
                                                              const std::string& id)
{
    for (auto& entry : m_interfaces)
        if (entry.module == module && entry.state->Info().id == id)
            return &entry;
    return nullptr;
}

void HvSystem::Impl::UpsertDevice(ModuleRecord& module, const Tl::DeviceInfo& device, bool changed)
{
    CameraEntry* entry = FindCamera(&module, device.id);
    if (entry == nullptr) {
        auto state = std::make_shared<CameraState>(module.self.lock(), m_session,
                                                   ExtendedId(module, device.id), device);
        auto camera = std::make_shared<Camera>(state);
        m_cameras.push_back(CameraEntry{&module, camera, state});
        if (m_announce)
            m_notifier.Post(camera, UpdateTriggerPluggedIn);
        return;
    }
    const Tl::DeviceInfo before = entry->state->Info();
    entry->state->SetInfo(device);
    if (!entry->state->Present()) {
        entry->state->SetPresent(true);
        if (m_announce)
            m_notifier.Post(entry->camera, UpdateTriggerPluggedIn);
    } else if (changed && !SameDevice(before, device) && m_announce) {
        m_notifier.Post(entry->camera, UpdateTriggerAccessChanged);
    }
}

void HvSystem::Impl::MarkDeviceLeft(CameraEntry& entry)
{
    if (!entry.state->Present())
        return;
    entry.state->SetPresent(false);
    if (m_announce)
        m_notifier.Post(entry.camera, UpdateTriggerPluggedOut);
}

HvSystem::Impl::InterfaceEntry& HvSystem::Impl::AddInterface(ModuleRecord& module,
                                                             const Tl::InterfaceInfo& info)
{
    auto state = std::make_shared<InterfaceState>(module.self.lock(), m_session, info);
    auto object = std::make_shared<Interface>(state);
    m_interfaces.push_back(InterfaceEntry{&module, object, state});
    return m_interfaces.back();
}

void HvSystem::Impl::UpsertInterface(ModuleRecord& module, const Tl::InterfaceInfo& info)
{
    InterfaceEntry* entry = FindInterface(&module, info.id);
    if (entry == nullptr) {
        InterfaceEntry& added = AddInterface(module, info);
        if (m_announce)
            m_notifier.Post(added.object, UpdateTriggerPluggedIn);
        return;
    }
    entry->state->SetInfo(info);
    if (!entry->state->Present()) {
        entry->state->SetPresent(true);
        if (m_announce)
            m_notifier.Post(entry->object, UpdateTriggerPluggedIn);
    }
}

void HvSystem::Impl::MarkInterfaceLeft(InterfaceEntry& entry)
{
    if (!entry.state->Present())
        return;
    entry.state->SetPresent(false);
    if (m_announce)
        m_notifier.Post(entry.object, UpdateTriggerPluggedOut);
}

void HvSystem::Impl::RefreshDevices(const std::shared_ptr<ModuleRecord>& module)
{
    // A hot-plug report that crosses the list request would make the list
    // stale; ask again a few times rather than announce a false change.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const uint64_t before = module->changes;
        std::vector<Tl::DeviceInfo> devices;
        if (module->loaded.module->ListDevices(devices) != HvErrorSuccess)
            return;
        std::lock_guard<std::mutex> registry(m_registryMutex);
        if (module->changes != before && attempt < 2)
            continue;
        for (const auto& device : devices)
            UpsertDevice(*module, device, false);
        for (auto& entry : m_cameras) {
            if (entry.module != module.get())
                continue;
            const std::string id = entry.state->Info().id;
            const bool listed = std::any_of(devices.begin(), devices.end(),
                                            [&](const Tl::DeviceInfo& d) { return d.id == id; });
            if (!listed)
                MarkDeviceLeft(entry);
        }
        return;
    }
}

void HvSystem::Impl::RefreshInterfaces(const std::shared_ptr<ModuleRecord>& module)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        const uint64_t before = module->changes;
        std::vector<Tl::InterfaceInfo> interfaces;
        if (module->loaded.module->ListInterfaces(interfaces) != HvErrorSuccess)
            return;
        std::lock_guard<std::mutex> registry(m_registryMutex);
        if (module->changes != before && attempt < 2)
            continue;
        for (const auto& info : interfaces)
            UpsertInterface(*module, info);
        for (auto& entry : m_interfaces) {
            if (entry.module != module.get())
                continue;
            const std::string id = entry.state->Info().id;
            const bool listed = std::any_of(interfaces.begin(), interfaces.end(),
                                            [&](const Tl::InterfaceInfo& i) { return i.id == id; });
            if (!listed)
                MarkInterfaceLeft(entry);
        }
        return;
    }
}

HvErrorType HvSystem::Impl::GetCameras(std::vector<CameraPtr>& cameras)
{
    Internal::SessionLock session;
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    for (const auto& module : Modules())
        RefreshDevices(module);
    std::lock_guard<std::mutex> registry(m_registryMutex);
    cameras.clear();
    for (const auto& entry : m_cameras)
        if (entry.state->Present())
            cameras.push_back(entry.camera);
    return HvErrorSuccess;
}

bool HvSystem::Impl::LookUpCamera(const std::string& id, CameraPtr& camera)
{
    std::lock_guard<std::mutex> registry(m_registryMutex);
    const auto reachable = [](const CameraEntry& entry) {
        return entry.state->Present() || entry.state->IsOpen();
    };
    for (const auto& entry : m_cameras)
        if (entry.state->extendedId == id && reachable(entry)) {
            camera = entry.camera;
            return true;
        }
    for (const auto& entry : m_cameras)
        if (entry.state->Info().id == id && reachable(entry)) {
            camera = entry.camera;
            return true;
        }
    return false;
}

HvErrorType HvSystem::Impl::GetCameraByID(const std::string& id, CameraPtr& camera)
{
    Internal::SessionLock session;
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    if (LookUpCamera(id, camera))
        return HvErrorSuccess;
    for (const auto& module : Modules())
        RefreshDevices(module);
    return LookUpCamera(id, camera) ? HvErrorSuccess : HvErrorNotFound;
}

HvErrorType HvSystem::Impl::AddCameraByAddress(const std::string& address, CameraPtr& camera)
{
    Internal::SessionLock session;
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    // A module that looked and found nothing says more than one that cannot look.
    HvErrorType result = HvErrorNotSupported;
    for (const auto& module : Modules()) {
        Tl::DeviceInfo device;
        const HvErrorType found = module->loaded.module->AddDeviceByAddress(address, device);
        if (found == HvErrorNotSupported)
            continue;
        if (found != HvErrorSuccess) {
            result = found;
            continue;
        }
        OnDeviceSeen(*module, device, true);
        std::lock_guard<std::mutex> registry(m_registryMutex);
        if (CameraEntry* entry = FindCamera(module.get(), device.id)) {
            camera = entry->camera;
            return HvErrorSuccess;
        }
        return HvErrorInternalFault;
    }
    return result;
}

HvErrorType HvSystem::Impl::GetInterfaces(std::vector<InterfacePtr>& interfaces)
{
    Internal::SessionLock session;
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    for (const auto& module : Modules())
        RefreshInterfaces(module);
    std::lock_guard<std::mutex> registry(m_registryMutex);
    interfaces.clear();
    for (const auto& entry : m_interfaces)
        if (entry.state->Present())
            interfaces.push_back(entry.object);
    return HvErrorSuccess;
}

HvErrorType HvSystem::Impl::GetInterfaceByID(const std::string& id, InterfacePtr& interface)
{
    Internal::SessionLock session;
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    for (const auto& module : Modules())
        RefreshInterfaces(module);
    std::lock_guard<std::mutex> registry(m_registryMutex);
    for (const auto& entry : m_interfaces) {
        const std::string plain = entry.state->Info().id;
        if (entry.state->Present() && (plain == id || ExtendedId(*entry.module, plain) == id)) {
            interface = entry.object;
            return HvErrorSuccess;
        }
    }
    return HvErrorNotFound;
}

HvErrorType HvSystem::Impl::GetTransportLayers(std::vector<TransportLayerPtr>& transportLayers)
{
    Internal::SessionLock session;
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    transportLayers.clear();
    for (const auto& module : Modules())
        transportLayers.push_back(module->object);
    return HvErrorSuccess;
}

InterfacePtr HvSystem::Impl::InterfaceFor(const std::shared_ptr<ModuleRecord>& module,
                                          const std::string& interfaceId, HvTransportLayerType type)
{
    std::lock_guard<std::mutex> registry(m_registryMutex);
    if (InterfaceEntry* entry = FindInterface(module.get(), interfaceId))
        return entry->object;
    // A device's interface exists even when its module does not list it.
    Tl::InterfaceInfo info;
    info.id = interfaceId;
    info.name = interfaceId;
    info.type = type;
    return AddInterface(*module, info).object;
}

void HvSystem::Impl::OnDeviceSeen(ModuleRecord& module, const Tl::DeviceInfo& device, bool changed)
{
    if (!module.active)
        return;
    ++module.changes;
    std::lock_guard<std::mutex> registry(m_registryMutex);
    UpsertDevice(module, device, changed);
}

void HvSystem::Impl::OnDeviceLeft(ModuleRecord& module, const std::string& deviceId)
{
    if (!module.active)
        return;
    ++module.changes;
    std::lock_guard<std::mutex> registry(m_registryMutex);
    if (CameraEntry* entry = FindCamera(&module, deviceId))
        MarkDeviceLeft(*entry);
}

void HvSystem::Impl::OnInterfaceSeen(ModuleRecord& module, const Tl::InterfaceInfo& info)
{
    if (!module.active)
        return;
    ++module.changes;
    std::lock_guard<std::mutex> registry(m_registryMutex);
    UpsertInterface(module, info);
}

void HvSystem::Impl::OnInterfaceLeft(ModuleRecord& module, const std::string& interfaceId)
{
    if (!module.active)
        return;
    ++module.changes;
    std::lock_guard<std::mutex> registry(m_registryMutex);
    if (InterfaceEntry* entry = FindInterface(&module, interfaceId))
        MarkInterfaceLeft(*entry);
}

} // namespace Hvx
