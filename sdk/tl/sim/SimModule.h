#pragma once

#include "SimWorld.h"

#include <Hvx/TransportLayerModule.h>

#include <memory>
#include <mutex>
#include <set>

namespace hvsim {

// The simulated transport layer as the SDK core loads it. All cameras live
// in a SimWorld that exists from Start to Stop, so a restart of the SDK
// reads everything anew from the configuration and the state folder.
class SimModule : public Hvx::Tl::IModule
{
public:
    SimModule() = default;
    ~SimModule() override;

    std::string Id() override { return "sim"; }
    std::string Name() override { return "Orvex Simulated Transport Layer"; }
    std::string Version() override { return "1.0.0"; }
    HvTransportLayerType Type() override { return HvTransportLayerTypeMixed; }

    HvErrorType Start(Hvx::Tl::IModuleHost& host) override;
    void Stop() override;

    HvErrorType ListInterfaces(std::vector<Hvx::Tl::InterfaceInfo>& interfaces) override;
    HvErrorType ListDevices(std::vector<Hvx::Tl::DeviceInfo>& devices) override;
    HvErrorType GetDeviceInterfaceType(const std::string& deviceId,
                                       HvTransportLayerType& type) override;
    HvErrorType OpenDevice(const std::string& deviceId, HvAccessModeType accessMode,
                           std::unique_ptr<Hvx::Tl::IDevice>& device) override;
    Hvx::Tl::IFeatureMap* InterfaceFeatures(const std::string&) override { return nullptr; }

    static Hvx::Tl::DeviceInfo deviceInfo(const SimCamera& camera);
    static Hvx::Tl::InterfaceInfo interfaceInfo(const CameraConfig& config);

    // The world of the started module, for the test controls.
    static std::shared_ptr<SimWorld> currentWorld();

private:
    void onListChange(const std::string& id, SimWorld::Reason reason);

    Hvx::Tl::IModuleHost* m_host = nullptr;
    std::shared_ptr<SimWorld> m_world;
    std::mutex m_interfaceMutex;
    std::set<std::string> m_interfaces;
};

} // namespace hvsim
