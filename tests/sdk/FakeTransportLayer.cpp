// A small transport-layer module used only by the SDK tests. It serves two
// fixed cameras with one feature of every kind, and exports a few hooks
// (FakeTl*) through which a test plugs and unplugs cameras and injects
// faults. Built several times with different IDs and interface versions to
// exercise the module search.

#include "Hvx/TransportLayerModule.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>

#ifndef FAKE_TL_ID
#define FAKE_TL_ID "fake"
#endif

namespace {

using namespace Hvx::Tl;

constexpr uint64_t kMemoryBase = 0x1000;
constexpr uint32_t kMemorySize = 256;

struct FakeFeature
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    HvFeatureFlags flags = HvFeatureFlagsRead | HvFeatureFlagsWrite;
    int64_t integer = 0, minimum = 0, maximum = 0, increment = 1;
    double real = 0, realMinimum = 0, realMaximum = 0, realIncrement = 0;
    std::string text;
    bool boolean = false;
    std::vector<EnumEntryInfo> entries;
    std::vector<uint8_t> bytes;
    int latency = 0; // IsCommandDone calls before a command reports done
    int pending = 0;
};

class FakeFeatureMap : public IFeatureMap
{
public:
    FakeFeature& Add(const std::string& name, HvFeatureDataType type,
                     HvFeatureFlags flags = HvFeatureFlagsRead | HvFeatureFlagsWrite)
    {
        m_order.push_back(name);
        FakeFeature& feature = m_features[name];
        feature.type = type;
        feature.flags = flags;
        return feature;
    }

    std::vector<std::string> FeatureNames() override { return m_order; }

    HvErrorType GetFeatureInfo(const std::string& name, FeatureInfo& info) override
    {
        const auto it = m_features.find(name);
        if (it == m_features.end())
            return HvErrorNotFound;
        info.type = it->second.type;
        info.flags = it->second.flags;
        return HvErrorSuccess;
    }

    HvErrorType GetInt(const std::string& name, int64_t& value) override
    {
        return With(name, HvFeatureDataInt, [&](FakeFeature& f) {
            value = f.integer;
            return HvErrorSuccess;
        });
    }
    HvErrorType SetInt(const std::string& name, int64_t value) override
    {
        return With(name, HvFeatureDataInt, [&](FakeFeature& f) -> HvErrorType {
            if (value < f.minimum || value > f.maximum || (value - f.minimum) % f.increment != 0)
                return HvErrorInvalidValue;
            f.integer = value;
            return HvErrorSuccess;
        });
    }
    HvErrorType GetIntRange(const std::string& name, int64_t& minimum, int64_t& maximum,
                            int64_t& increment) override
    {
        return With(name, HvFeatureDataInt, [&](FakeFeature& f) {
            minimum = f.minimum;
            maximum = f.maximum;
            increment = f.increment;
            return HvErrorSuccess;
        });
    }

    HvErrorType GetFloat(const std::string& name, double& value) override
    {
        return With(name, HvFeatureDataFloat, [&](FakeFeature& f) {
            value = f.real;
            return HvErrorSuccess;
        });
    }
    HvErrorType SetFloat(const std::string& name, double value) override
    {
        return With(name, HvFeatureDataFloat, [&](FakeFeature& f) -> HvErrorType {
            if (value < f.realMinimum || value > f.realMaximum)
                return HvErrorInvalidValue;
            f.real = value;
            return HvErrorSuccess;
        });
    }
    HvErrorType GetFloatRange(const std::string& name, double& minimum, double& maximum,
                              double& increment) override
    {
        return With(name, HvFeatureDataFloat, [&](FakeFeature& f) {
            minimum = f.realMinimum;
            maximum = f.realMaximum;
            increment = f.realIncrement;
            return HvErrorSuccess;
        });
    }

    HvErrorType GetEnum(const std::string& name, std::string& entry) override
    {
        return With(name, HvFeatureDataEnum, [&](FakeFeature& f) {
            entry = f.text;
            return HvErrorSuccess;
        });
    }
    HvErrorType SetEnum(const std::string& name, const std::string& entry) override
    {
        return With(name, HvFeatureDataEnum, [&](FakeFeature& f) -> HvErrorType {
            for (const auto& e : f.entries)
                if (e.name == entry && e.available) {
                    f.text = entry;
                    return HvErrorSuccess;
                }
            return HvErrorInvalidValue;
        });
    }
    HvErrorType GetEnumEntries(const std::string& name,
                               std::vector<EnumEntryInfo>& entries) override
    {
        return With(name, HvFeatureDataEnum, [&](FakeFeature& f) {
            entries = f.entries;
            return HvErrorSuccess;
        });
    }

    HvErrorType GetString(const std::string& name, std::string& value) override
    {
        return With(name, HvFeatureDataString, [&](FakeFeature& f) {
            value = f.text;
            return HvErrorSuccess;
        });
    }
    HvErrorType SetString(const std::string& name, const std::string& value) override
    {
        return With(name, HvFeatureDataString, [&](FakeFeature& f) {
            f.text = value;
            return HvErrorSuccess;
        });
    }

    HvErrorType GetBool(const std::string& name, bool& value) override
    {
        return With(name, HvFeatureDataBool, [&](FakeFeature& f) {
            value = f.boolean;
            return HvErrorSuccess;
        });
    }
    HvErrorType SetBool(const std::string& name, bool value) override
    {
        return With(name, HvFeatureDataBool, [&](FakeFeature& f) {
            f.boolean = value;
            return HvErrorSuccess;
        });
    }

    HvErrorType RunCommand(const std::string& name) override
    {
        return With(name, HvFeatureDataCommand, [&](FakeFeature& f) {
            f.pending = f.latency;
            ++f.integer; // counts runs
            return HvErrorSuccess;
        });
    }
    HvErrorType IsCommandDone(const std::string& name, bool& done) override
    {
        return With(name, HvFeatureDataCommand, [&](FakeFeature& f) {
            done = f.pending == 0;
            if (f.pending > 0)
                --f.pending;
            return HvErrorSuccess;
        });
    }

    HvErrorType GetRegisterLength(const std::string& name, int64_t& length) override
    {
        return With(name, HvFeatureDataRaw, [&](FakeFeature& f) {
            length = static_cast<int64_t>(f.bytes.size());
            return HvErrorSuccess;
        });
    }
    HvErrorType GetRegister(const std::string& name, uint8_t* buffer, size_t size) override
    {
        return With(name, HvFeatureDataRaw, [&](FakeFeature& f) -> HvErrorType {
            if (size > f.bytes.size())
                return HvErrorBadParameter;
            std::copy(f.bytes.begin(), f.bytes.begin() + size, buffer);
            return HvErrorSuccess;
        });
    }
    HvErrorType SetRegister(const std::string& name, const uint8_t* buffer, size_t size) override
    {
        return With(name, HvFeatureDataRaw, [&](FakeFeature& f) -> HvErrorType {
            if (size > f.bytes.size())
                return HvErrorBadParameter;
            std::copy(buffer, buffer + size, f.bytes.begin());
            return HvErrorSuccess;
        });
    }

private:
    template <typename F> HvErrorType With(const std::string& name, HvFeatureDataType type, F f)
    {
        const auto it = m_features.find(name);
        if (it == m_features.end())
            return HvErrorNotFound;
        if (it->second.type != type)
            return HvErrorWrongType;
        return f(it->second);
    }

    std::map<std::string, FakeFeature> m_features;
    std::vector<std::string> m_order;
};

std::atomic<int> g_openDevices{0};
std::atomic<bool> g_failInterfaceType{false};

class FakeDevice : public IDevice
{
public:
    FakeDevice() : m_memory(kMemorySize, 0)
    {
        ++g_openDevices;
        auto& width = m_features.Add("Width", HvFeatureDataInt);
        width.integer = 640;
        width.minimum = 16;
        width.maximum = 4096;
        width.increment = 16;
        auto& gain = m_features.Add("Gain", HvFeatureDataFloat);
        gain.real = 1.5;
        gain.realMaximum = 24.0;
        auto& format = m_features.Add("PixelFormat", HvFeatureDataEnum);
        format.entries = {{"Mono8", HvPixelFormatMono8, true},
                          {"Mono12", HvPixelFormatMono12, false},
                          {"Mono16", HvPixelFormatMono16, true}};
        format.text = "Mono8";
        m_features.Add("DeviceUserID", HvFeatureDataString).text = "left";
        m_features.Add("ReverseX", HvFeatureDataBool);
        auto& temperature =
            m_features.Add("DeviceTemperature", HvFeatureDataFloat, HvFeatureFlagsRead);
        temperature.real = 41.25;
        temperature.realMaximum = 100.0;
        auto& key = m_features.Add("AccessKey", HvFeatureDataInt, HvFeatureFlagsWrite);
        key.maximum = 1000;
        m_features.Add("SlowCommand", HvFeatureDataCommand, HvFeatureFlagsWrite).latency = 2;
        m_features.Add("QuickCommand", HvFeatureDataCommand, HvFeatureFlagsWrite);
        auto& buffer = m_features.Add("DataBuffer", HvFeatureDataRaw);
        for (uint8_t i = 0; i < 16; ++i)
            buffer.bytes.push_back(static_cast<uint8_t>(0xA0 + i));
        m_features.Add("Oddity", HvFeatureDataUnknown);
        for (auto& stream : m_streams) {
            auto& count = stream.Add("StreamBufferCount", HvFeatureDataInt);
            count.integer = 3;
            count.minimum = 1;
            count.maximum = 64;
        }
        m_streams[0].Add("GVSPAdjustPacketSize", HvFeatureDataCommand, HvFeatureFlagsWrite);
    }
    ~FakeDevice() override { --g_openDevices; }

    IFeatureMap& Features() override { return m_features; }
    uint32_t StreamCount() override { return 2; }
    IFeatureMap* StreamFeatures(uint32_t index) override
    {
        return index < 2 ? &m_streams[index] : nullptr;
    }

    HvErrorType ReadMemory(uint64_t address, uint8_t* buffer, uint32_t size,
                           uint32_t& completed) override
    {
        if (address < kMemoryBase || address + size > kMemoryBase + kMemorySize)
            return HvErrorInvalidValue;
        std::copy_n(m_memory.begin() + (address - kMemoryBase), size, buffer);
        completed = size;
        return HvErrorSuccess;
    }
    HvErrorType WriteMemory(uint64_t address, const uint8_t* buffer, uint32_t size,
                            uint32_t& completed) override
    {
        if (address < kMemoryBase || address + size > kMemoryBase + kMemorySize)
            return HvErrorInvalidValue;
        std::copy_n(buffer, size, m_memory.begin() + (address - kMemoryBase));
        completed = size;
        return HvErrorSuccess;
    }

    HvErrorType AcquireFrame(uint32_t timeoutMs, FrameData& frame) override
    {
        if (timeoutMs == 0)
            return HvErrorTimeout;
        frame.status = HvFrameStatusComplete;
        frame.width = 4;
        frame.height = 2;
        frame.pixelFormat = HvPixelFormatMono8;
        frame.frameId = ++m_frames;
        frame.timestamp = 1000 * m_frames;
        frame.image.clear();
        for (uint8_t i = 0; i < 8; ++i)
            frame.image.push_back(static_cast<uint8_t>(10 * i + m_frames));
        return HvErrorSuccess;
    }

private:
    FakeFeatureMap m_features;
    FakeFeatureMap m_streams[2];
    std::vector<uint8_t> m_memory;
    uint64_t m_frames = 0;
};

class FakeModule;
FakeModule* g_module = nullptr;

class FakeModule : public IModule
{
public:
    FakeModule()
    {
        m_devices.push_back(Device("CAM-GEV-1", "fake-if-0", "Fake GigE 640", "Left eye", "GS-0001",
                                   HvAccessModeFull | HvAccessModeRead, HvTransportLayerTypeGEV));
        m_devices.push_back(Device("CAM-U3V-2", "fake-if-1", "Fake USB 1280", "Busy one", "US-0002",
                                   HvAccessModeRead, HvTransportLayerTypeU3V));
        m_interfaces = {{"fake-if-0", "Fake network card", HvTransportLayerTypeGEV},
                        {"fake-if-1", "Fake USB controller", HvTransportLayerTypeU3V}};
        auto& speed =
            m_interfaceFeatures.Add("InterfaceSpeed", HvFeatureDataInt, HvFeatureFlagsRead);
        speed.integer = 1000;
        speed.maximum = 10000;
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
        if (g_failInterfaceType)
            return HvErrorNotSupported;
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& device : m_devices)
            if (device.id == deviceId) {
                type = device.type;
                return HvErrorSuccess;
            }
        return HvErrorNotFound;
    }
    HvErrorType OpenDevice(const std::string& deviceId, HvAccessModeType accessMode,
                           std::unique_ptr<IDevice>& device) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& known : m_devices)
            if (known.id == deviceId) {
                if ((known.permittedAccess & accessMode) == 0)
                    return HvErrorInvalidAccess;
                device.reset(new FakeDevice);
                return HvErrorSuccess;
            }
        return HvErrorNotFound;
    }
    IFeatureMap* InterfaceFeatures(const std::string& interfaceId) override
    {
        return interfaceId == "fake-if-0" ? &m_interfaceFeatures : nullptr;
    }

    // Test hooks.
    void Plug(const char* id, bool tellHost)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        DeviceInfo device =
            Device(id, "fake-if-0", "Fake GigE 640", std::string("Plugged ") + id,
                   std::string("SN-") + id, HvAccessModeFull, HvTransportLayerTypeGEV);
        m_devices.push_back(device);
        if (tellHost && m_host != nullptr)
            m_host->DeviceArrived(device);
    }
    void Unplug(const char* id, bool tellHost)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_devices.erase(std::remove_if(m_devices.begin(), m_devices.end(),
                                       [&](const DeviceInfo& d) { return d.id == id; }),
                        m_devices.end());
        if (tellHost && m_host != nullptr)
            m_host->DeviceLeft(id);
    }
    void AddInterface(const char* id)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const InterfaceInfo info{id, std::string("Added ") + id, HvTransportLayerTypeGEV};
        m_interfaces.push_back(info);
        if (m_host != nullptr)
            m_host->InterfaceArrived(info);
    }
    void RemoveInterface(const char* id)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_interfaces.erase(std::remove_if(m_interfaces.begin(), m_interfaces.end(),
                                          [&](const InterfaceInfo& i) { return i.id == id; }),
                           m_interfaces.end());
        if (m_host != nullptr)
            m_host->InterfaceLeft(id);
    }
    void SetAccess(const char* id, HvAccessModeType access)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto& device : m_devices)
            if (device.id == id) {
                device.permittedAccess = access;
                if (m_host != nullptr)
                    m_host->DeviceChanged(device);
            }
    }

private:
    static DeviceInfo Device(const std::string& id, const std::string& interfaceId,
                             const std::string& model, const std::string& name,
                             const std::string& serial, HvAccessModeType access,
                             HvTransportLayerType type)
    {
        DeviceInfo device;
        device.id = id;
        device.interfaceId = interfaceId;
        device.model = model;
        device.name = name;
        device.serialNumber = serial;
        device.permittedAccess = access;
        device.type = type;
        return device;
    }

    std::mutex m_mutex;
    IModuleHost* m_host = nullptr;
    std::vector<DeviceInfo> m_devices;
    std::vector<InterfaceInfo> m_interfaces;
    FakeFeatureMap m_interfaceFeatures;
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

// tellHost = false changes the list without a report, as a module that only
// answers list requests would.
FAKE_EXPORT void FakeTlPlug(const char* id, bool tellHost)
{
    if (g_module != nullptr)
        g_module->Plug(id, tellHost);
}

FAKE_EXPORT void FakeTlUnplug(const char* id, bool tellHost)
{
    if (g_module != nullptr)
        g_module->Unplug(id, tellHost);
}

FAKE_EXPORT void FakeTlAddInterface(const char* id)
{
    if (g_module != nullptr)
        g_module->AddInterface(id);
}

FAKE_EXPORT void FakeTlRemoveInterface(const char* id)
{
    if (g_module != nullptr)
        g_module->RemoveInterface(id);
}

FAKE_EXPORT void FakeTlSetAccess(const char* id, uint32_t access)
{
    if (g_module != nullptr)
        g_module->SetAccess(id, access);
}

FAKE_EXPORT void FakeTlFailInterfaceType(bool fail)
{
    g_failInterfaceType = fail;
}

FAKE_EXPORT int FakeTlOpenDevices(void)
{
    return g_openDevices;
}
