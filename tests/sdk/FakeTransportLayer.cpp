// A small transport-layer module for the SDK core's own tests: two fixed
// cameras, and hooks (FakeTl*) through which a test plugs and unplugs
// cameras and changes access, none of which the simulator can do on demand.
// Built several times with different IDs and interface versions to exercise
// the module search. Feature behaviour is tested on the simulator's cameras.

#include "Hvx/TransportLayerModule.h"

#include <algorithm>
#include <atomic>
#include <mutex>

#ifndef FAKE_TL_ID
#define FAKE_TL_ID "fake"
#endif
#ifndef FAKE_TL_ON_REQUEST
#define FAKE_TL_ON_REQUEST false
#endif

namespace {

using namespace Hvx::Tl;

// No features: feature behaviour is tested on the simulator's cameras.
class EmptyFeatureMap : public IFeatureMap
{
public:
    // clang-format off
    std::vector<std::string> FeatureNames() override { return {}; }
    HvErrorType GetFeatureInfo(const std::string&, FeatureInfo&) override { return HvErrorNotFound; }
    HvErrorType GetInt(const std::string&, int64_t&) override { return HvErrorNotFound; }
    HvErrorType SetInt(const std::string&, int64_t) override { return HvErrorNotFound; }
    HvErrorType GetIntRange(const std::string&, int64_t&, int64_t&, int64_t&) override { return HvErrorNotFound; }
    HvErrorType GetFloat(const std::string&, double&) override { return HvErrorNotFound; }
    HvErrorType SetFloat(const std::string&, double) override { return HvErrorNotFound; }
    HvErrorType GetFloatRange(const std::string&, double&, double&, double&) override { return HvErrorNotFound; }
    HvErrorType GetEnum(const std::string&, std::string&) override { return HvErrorNotFound; }
    HvErrorType SetEnum(const std::string&, const std::string&) override { return HvErrorNotFound; }
    HvErrorType GetEnumEntries(const std::string&, std::vector<EnumEntryInfo>&) override { return HvErrorNotFound; }
    HvErrorType GetString(const std::string&, std::string&) override { return HvErrorNotFound; }
    HvErrorType SetString(const std::string&, const std::string&) override { return HvErrorNotFound; }
    HvErrorType GetBool(const std::string&, bool&) override { return HvErrorNotFound; }
    HvErrorType SetBool(const std::string&, bool) override { return HvErrorNotFound; }
    HvErrorType RunCommand(const std::string&) override { return HvErrorNotFound; }
    HvErrorType IsCommandDone(const std::string&, bool&) override { return HvErrorNotFound; }
    HvErrorType GetRegisterLength(const std::string&, int64_t&) override { return HvErrorNotFound; }
    HvErrorType GetRegister(const std::string&, uint8_t*, size_t) override { return HvErrorNotFound; }
    HvErrorType SetRegister(const std::string&, const uint8_t*, size_t) override { return HvErrorNotFound; }
    // clang-format on
};

std::atomic<int> g_openDevices{0};

class FakeDevice : public IDevice
{
public:
    FakeDevice() { ++g_openDevices; }
    ~FakeDevice() override { --g_openDevices; }

    IFeatureMap& Features() override { return m_features; }
    uint32_t StreamCount() override { return 0; }
    IFeatureMap* StreamFeatures(uint32_t) override { return nullptr; }
    HvErrorType ReadMemory(uint64_t, uint8_t*, uint32_t, uint32_t&) override
    {
        return HvErrorInvalidValue;
    }
    HvErrorType WriteMemory(uint64_t, const uint8_t*, uint32_t, uint32_t&) override
    {
        return HvErrorInvalidValue;
    }
    HvErrorType AcquireFrame(uint32_t, FrameData&) override { return HvErrorTimeout; }

private:
    EmptyFeatureMap m_features;
};

class FakeModule;
FakeModule* g_module = nullptr;

class FakeModule : public IModule
{
public:
    FakeModule()
    {
        m_devices.push_back(DeviceInfo{"CAM-GEV-1", "fake-if-0", "Fake GigE 640", "Left eye",
                                       "GS-0001", HvAccessModeFull | HvAccessModeRead,
                                       HvTransportLayerTypeGEV, "", ""});
        m_devices.push_back(DeviceInfo{"CAM-U3V-2", "fake-if-1", "Fake USB 1280", "Busy one",
                                       "US-0002", HvAccessModeRead, HvTransportLayerTypeU3V, "",
                                       ""});
        m_interfaces = {{"fake-if-0", "Fake network card", HvTransportLayerTypeGEV},
                        {"fake-if-1", "Fake USB controller", HvTransportLayerTypeU3V}};
    }
    ~FakeModule() override
    {
        if (g_module == this)
            g_module = nullptr;
    }

    std::string Id() override { return FAKE_TL_ID; }
    std::string Name() override { return std::string("Fake transport layer ") + FAKE_TL_ID; }
    std::string Version() override { return "0.1"; }
    HvTransportLayerType Type() override { return HvTransportLayerTypeMixed; }
    bool StartsOnRequestOnly() override { return FAKE_TL_ON_REQUEST; }

    HvErrorType Start(IModuleHost& host) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_host = &host;
        g_module = this;
        return HvErrorSuccess;
    }
    void Stop() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_host = nullptr;
    }

    HvErrorType ListInterfaces(std::vector<InterfaceInfo>& interfaces) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        interfaces = m_interfaces;
        return HvErrorSuccess;
    }
    HvErrorType ListDevices(std::vector<DeviceInfo>& devices) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        devices = m_devices;
        return HvErrorSuccess;
    }
    HvErrorType GetDeviceInterfaceType(const std::string& deviceId,
                                       HvTransportLayerType& type) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const DeviceInfo* device = Find(deviceId);
        return device ? (type = device->type, HvErrorSuccess) : HvErrorNotFound;
    }
    HvErrorType OpenDevice(const std::string& deviceId, HvAccessModeType /*accessMode*/,
                           std::unique_ptr<IDevice>& device) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const DeviceInfo* known = Find(deviceId);
        if (!known)
            return HvErrorNotFound;
        // Opens in any mode: refusing what a camera does not permit is the
        // SDK's own check, and this module must not hide it.
        device.reset(new FakeDevice);
        return HvErrorSuccess;
    }
    // One camera answers at 10.0.0.7; it joins the list as a plugged-in one would.
    HvErrorType AddDeviceByAddress(const std::string& address, DeviceInfo& device) override
    {
        if (address != "10.0.0.7")
            return HvErrorNotFound;
        device = DeviceInfo{"CAM-ADDR-7",
                            "fake-if-0",
                            "Fake GigE 640",
                            "Far away",
                            "GS-0007",
                            HvAccessModeFull,
                            HvTransportLayerTypeGEV,
                            "",
                            ""};
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!Find(device.id))
            m_devices.push_back(device);
        return HvErrorSuccess;
    }
    IFeatureMap* InterfaceFeatures(const std::string&) override { return nullptr; }

    // Test hooks.
    void Change(const std::string& hook, const char* id, uint32_t arg)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto other = [&](const auto& item) { return item.id != id; };
        if (hook == "plug") {
            m_devices.push_back(DeviceInfo{id, "fake-if-0", "Fake GigE 640",
                                           std::string("Plugged ") + id, std::string("SN-") + id,
                                           HvAccessModeFull, HvTransportLayerTypeGEV, "", ""});
            if (arg && m_host)
                m_host->DeviceArrived(m_devices.back());
        } else if (hook == "unplug") {
            m_devices.erase(std::stable_partition(m_devices.begin(), m_devices.end(), other),
                            m_devices.end());
            if (arg && m_host)
                m_host->DeviceLeft(id);
        } else if (hook == "setAccess") {
            for (auto& device : m_devices)
                if (device.id == id) {
                    device.permittedAccess = arg;
                    m_host->DeviceChanged(device);
                }
        }
    }

private:
    const DeviceInfo* Find(const std::string& id) const
    {
        for (const auto& device : m_devices)
            if (device.id == id)
                return &device;
        return nullptr;
    }

    std::mutex m_mutex;
    IModuleHost* m_host = nullptr;
    std::vector<DeviceInfo> m_devices;
    std::vector<InterfaceInfo> m_interfaces;
};

} // namespace

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

#ifdef FAKE_TL_INTERFACE_VERSION
// A module built for another version of the module interface.
FAKE_EXPORT uint32_t HvxTlInterfaceVersion(void)
{
    return FAKE_TL_INTERFACE_VERSION;
}
FAKE_EXPORT Hvx::Tl::IModule* HvxTlCreateModule(void)
{
    return new FakeModule();
}
#else
HVX_TL_DEFINE_MODULE(FakeModule)
#endif

// One entry point for all hooks, so the tests look up a single symbol.
// tellHost = false changes the list without a report, as a module that only
// answers list requests would.
FAKE_EXPORT int FakeTlHook(const char* what, const char* id, uint32_t arg)
{
    const std::string hook = what;
    if (hook != "openDevices" && g_module != nullptr)
        g_module->Change(hook, id, arg);
    return g_openDevices;
}
