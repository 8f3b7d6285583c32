#ifndef HVX_TRANSPORTLAYERMODULE_H
#define HVX_TRANSPORTLAYERMODULE_H

// Interface between the SDK core (libHvx.so) and a transport-layer module.
//
// A module is a shared object loaded with dlopen. It exports two C symbols,
// most easily through HVX_TL_DEFINE_MODULE(YourModuleClass):
//   uint32_t HvxTlInterfaceVersion(void)  -> Hvx::Tl::kModuleInterfaceVersion
//   Hvx::Tl::IModule* HvxTlCreateModule(void)
// The core skips a module whose version differs from its own. The interface
// passes C++ objects (std::string, std::vector, std::unique_ptr), so a module
// must be built with the same compiler and standard library as the core; the
// version is raised whenever anything in this file changes.
//
// A module needs only this header and HvTypes.h (target HvxTlModuleApi); it
// does not link libHvx. In this source tree, hvx_add_tl_module(<name>
// SOURCES ...) builds one into the default module folder.
//
// Life cycle: create -> Start(host) -> any calls -> Stop() -> delete. Open
// devices are always destroyed before Stop(). A module of a kind the program
// did not select (StartsOnRequestOnly) is created and deleted unstarted, so
// its constructor must not reach any device.
//
// Threads: the core calls a module from many threads. Calls on one IDevice
// (its own features, its streams' features, memory, frames) are serialised
// by the core, and so are calls on the features of one interface; everything
// else (lists, opening other devices) may run concurrently and the module
// protects its own state. The host may be called from any thread, including
// from inside a call of the core (e.g. a device lost during a transfer), but
// not after Stop() has returned.
//
// What the core checks before calling the feature functions: the feature
// exists (GetFeatureInfo), its data type matches the call, it is readable or
// writable per its current flags, and the device was opened for writing. The
// module checks values (range, increment, available entry) and answers
// HvErrorInvalidValue itself.

#include "HvTypes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Hvx {
namespace Tl {

constexpr uint32_t kModuleInterfaceVersion = 2;

// One device as the module sees it.
struct DeviceInfo
{
    std::string id;          // plain ID, unique within the module
    std::string interfaceId; // ID of the interface it is attached to
    std::string model;
    std::string name; // user-defined camera name
    std::string serialNumber;
    HvAccessModeType permittedAccess = HvAccessModeNone; // HvAccessModes bits
    HvTransportLayerType type = HvTransportLayerTypeUnknown;
    std::string vendor;          // may be empty
    std::string firmwareVersion; // may be empty
};

struct InterfaceInfo
{
    std::string id;
    std::string name;
    HvTransportLayerType type = HvTransportLayerTypeUnknown;
};

struct FeatureInfo
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    HvFeatureFlags flags = HvFeatureFlagsNone; // current access flags
};

struct EnumEntryInfo
{
    std::string name;
    int64_t value = 0;
    bool available = true; // selectable right now
};

struct FrameData
{
    HvFrameStatusType status = HvFrameStatusInvalid;
    uint32_t width = 0;
    uint32_t height = 0;
    HvPixelFormatType pixelFormat = HvPixelFormatMono8;
    uint64_t frameId = 0;
    uint64_t timestamp = 0;     // nanoseconds, any origin
    std::vector<uint8_t> image; // rows without padding
};

// The named features of one device, stream or interface. Every function
// returns HvErrorNotFound for an unknown name. Names are case-sensitive.
class IFeatureMap
{
public:
    virtual ~IFeatureMap() = default;

    virtual std::vector<std::string> FeatureNames() = 0;
    virtual HvErrorType GetFeatureInfo(const std::string& name, FeatureInfo& info) = 0;

    virtual HvErrorType GetInt(const std::string& name, int64_t& value) = 0;
    virtual HvErrorType SetInt(const std::string& name, int64_t value) = 0;
    virtual HvErrorType GetIntRange(const std::string& name, int64_t& minimum, int64_t& maximum,
                                    int64_t& increment) = 0;

    virtual HvErrorType GetFloat(const std::string& name, double& value) = 0;
    virtual HvErrorType SetFloat(const std::string& name, double value) = 0;
    // increment 0: continuous.
    virtual HvErrorType GetFloatRange(const std::string& name, double& minimum, double& maximum,
                                      double& increment) = 0;

    virtual HvErrorType GetEnum(const std::string& name, std::string& entry) = 0;
    virtual HvErrorType SetEnum(const std::string& name, const std::string& entry) = 0;
    // All entries in display order, with their current availability. The
    // core maps integer values to entry names through this list.
    virtual HvErrorType GetEnumEntries(const std::string& name,
                                       std::vector<EnumEntryInfo>& entries) = 0;

    virtual HvErrorType GetString(const std::string& name, std::string& value) = 0;
    virtual HvErrorType SetString(const std::string& name, const std::string& value) = 0;

    virtual HvErrorType GetBool(const std::string& name, bool& value) = 0;
    virtual HvErrorType SetBool(const std::string& name, bool value) = 0;

    virtual HvErrorType RunCommand(const std::string& name) = 0;
    virtual HvErrorType IsCommandDone(const std::string& name, bool& done) = 0;

    virtual HvErrorType GetRegisterLength(const std::string& name, int64_t& length) = 0;
    // Reads or writes the first `size` bytes; size larger than the register:
    // HvErrorBadParameter.
    virtual HvErrorType GetRegister(const std::string& name, uint8_t* buffer, size_t size) = 0;
    virtual HvErrorType SetRegister(const std::string& name, const uint8_t* buffer,
                                    size_t size) = 0;
};

// An opened device. Destroying it closes the device.
class IDevice
{
public:
    virtual ~IDevice() = default;

    virtual IFeatureMap& Features() = 0;
    virtual uint32_t StreamCount() = 0;
    // Features of stream `index` (< StreamCount()), owned by the device.
    virtual IFeatureMap* StreamFeatures(uint32_t index) = 0;

    virtual HvErrorType ReadMemory(uint64_t address, uint8_t* buffer, uint32_t size,
                                   uint32_t& completed) = 0;
    virtual HvErrorType WriteMemory(uint64_t address, const uint8_t* buffer, uint32_t size,
                                    uint32_t& completed) = 0;

    // One frame within timeoutMs milliseconds (HvErrorTimeout otherwise). A
    // frame that arrived damaged is a success with a non-zero status.
    virtual HvErrorType AcquireFrame(uint32_t timeoutMs, FrameData& frame) = 0;
};

// Implemented by the core: the module reports changes of its lists here.
// Reporting a device that the core already knows as present (or gone) is
// harmless; the core tells observers only about real changes.
class IModuleHost
{
public:
    virtual void DeviceArrived(const DeviceInfo& device) = 0;
    virtual void DeviceLeft(const std::string& deviceId) = 0;
    // Permitted access (or another field) of a present device changed.
    virtual void DeviceChanged(const DeviceInfo& device) = 0;
    virtual void InterfaceArrived(const InterfaceInfo& interfaceInfo) = 0;
    virtual void InterfaceLeft(const std::string& interfaceId) = 0;

protected:
    ~IModuleHost() = default;
};

class IModule
{
public:
    virtual ~IModule() = default;

    // Short ID without "::", unique among modules: the prefix of extended
    // camera IDs ("<ID>::<device ID>").
    virtual std::string Id() = 0;
    // Name shown to users as the camera's transport layer.
    virtual std::string Name() = 0;
    virtual std::string Version() = 0;
    virtual HvTransportLayerType Type() = 0;
    // True for a module that the core starts only when the program asks for
    // it (HvModuleSelectionOnRequest): one that reaches real cameras, whose
    // discovery sends packets on the machine's networks.
    virtual bool StartsOnRequestOnly() { return false; }

    // The host stays valid until Stop() returns. A failing Start makes the
    // core skip the module.
    virtual HvErrorType Start(IModuleHost& host) = 0;
    virtual void Stop() = 0;

    // Current lists; the core compares them with what it knows.
    virtual HvErrorType ListInterfaces(std::vector<InterfaceInfo>& interfaces) = 0;
    virtual HvErrorType ListDevices(std::vector<DeviceInfo>& devices) = 0;

    // Transport type of a device, asked without opening it.
    virtual HvErrorType GetDeviceInterfaceType(const std::string& deviceId,
                                               HvTransportLayerType& type) = 0;
    // HvErrorNotFound for an unknown device, HvErrorInvalidAccess when the
    // mode is not permitted (e.g. another application holds the device).
    virtual HvErrorType OpenDevice(const std::string& deviceId, HvAccessModeType accessMode,
                                   std::unique_ptr<IDevice>& device) = 0;
    // Looks by unicast for a device at a network address (a camera on another
    // subnet, which discovery does not reach). On success the device joins the
    // module's list and `device` describes it; HvErrorNotFound when nothing
    // answered there, HvErrorNotSupported for a module that cannot look.
    virtual HvErrorType AddDeviceByAddress(const std::string& /*address*/, DeviceInfo& /*device*/)
    {
        return HvErrorNotSupported;
    }
    // Features of an interface, owned by the module; null if it has none.
    virtual IFeatureMap* InterfaceFeatures(const std::string& interfaceId) = 0;
};

} // namespace Tl
} // namespace Hvx

extern "C" {
typedef uint32_t (*HvxTlInterfaceVersionFunction)(void);
typedef Hvx::Tl::IModule* (*HvxTlCreateModuleFunction)(void);
}

#define HVX_TL_INTERFACE_VERSION_SYMBOL "HvxTlInterfaceVersion"
#define HVX_TL_CREATE_MODULE_SYMBOL "HvxTlCreateModule"

// Defines the module's two entry points; use once in one source file.
#define HVX_TL_DEFINE_MODULE(ModuleClass)                                                          \
    extern "C" __attribute__((visibility("default"))) uint32_t HvxTlInterfaceVersion(void)         \
    {                                                                                              \
        return Hvx::Tl::kModuleInterfaceVersion;                                                   \
    }                                                                                              \
    extern "C" __attribute__((visibility("default"))) Hvx::Tl::IModule* HvxTlCreateModule(void)    \
    {                                                                                              \
        return new ModuleClass();                                                                  \
    }

#endif
