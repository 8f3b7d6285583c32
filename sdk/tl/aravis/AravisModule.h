#pragma once

#include "DeviceDirectory.h"

#include <Hvx/TransportLayerModule.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace hvaravis {

// Real cameras through Aravis 0.8: GigE Vision and USB3 Vision. The module
// starts only when the program asks for real cameras, because GigE Vision
// discovery broadcasts on every network interface.
//
// Discovery runs in rounds, under one lock because Aravis's device lists are
// not thread-safe: on a thread of the module every HVX_ARAVIS_POLL_MS
// milliseconds (default 2000), and when the SDK asks for the list and the last
// round is older than a second. A round asks Aravis for its devices, asks each
// GigE Vision device (and each one added by its address) by unicast for its
// identity and whether another host controls it, and looks for USB3 Vision
// devices this user may not open. HVX_ARAVIS_INTERFACES (comma-separated
// Aravis interface IDs, default "GigEVision,USB3Vision") chooses the
// interfaces; "Fake" adds Aravis's in-process camera.
class AravisModule : public Hvx::Tl::IModule
{
public:
    AravisModule() = default;
    ~AravisModule() override;

    std::string Id() override { return "aravis"; }
    std::string Name() override { return "Aravis GigE Vision and USB3 Vision"; }
    std::string Version() override;
    HvTransportLayerType Type() override { return HvTransportLayerTypeMixed; }
    bool StartsOnRequestOnly() override { return true; }

    HvErrorType Start(Hvx::Tl::IModuleHost& host) override;
    void Stop() override;

    HvErrorType ListInterfaces(std::vector<Hvx::Tl::InterfaceInfo>& interfaces) override;
    HvErrorType ListDevices(std::vector<Hvx::Tl::DeviceInfo>& devices) override;
    HvErrorType GetDeviceInterfaceType(const std::string& deviceId,
                                       HvTransportLayerType& type) override;
    HvErrorType OpenDevice(const std::string& deviceId, HvAccessModeType accessMode,
                           std::unique_ptr<Hvx::Tl::IDevice>& device) override;
    HvErrorType AddDeviceByAddress(const std::string& address,
                                   Hvx::Tl::DeviceInfo& device) override;
    Hvx::Tl::IFeatureMap* InterfaceFeatures(const std::string&) override { return nullptr; }

private:
    void PollLoop();
    // One discovery round; tells the host what changed.
    void Round();
    // A GigE Vision device at `address` as it answers by unicast; `fallback`
    // (may be null) is what Aravis's discovery said of it.
    bool ProbeGigE(uint32_t address, const Sighting* fallback, Sighting& sighting);
    void Announce(const DeviceDirectory::Changes& changes);
    bool IsOpen(const std::string& id);

    Hvx::Tl::IModuleHost* m_host = nullptr;
    std::unique_ptr<DeviceDirectory> m_directory;

    // Aravis's global state: its interface and device lists.
    std::mutex m_aravisMutex;
    // One round at a time.
    std::mutex m_roundMutex;
    std::chrono::steady_clock::time_point m_lastRound;
    bool m_usbEnabled = false;

    std::mutex m_stateMutex; // guards the members below
    std::set<uint32_t> m_unicast;
    std::set<std::string> m_open;
    std::set<std::string> m_interfaces;

    std::mutex m_pollMutex;
    std::condition_variable m_pollWake;
    bool m_stopping = false;
    std::chrono::milliseconds m_pollInterval{2000};
    std::thread m_poller;
};

} // namespace hvaravis
