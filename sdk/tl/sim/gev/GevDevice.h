#pragma once

#include "FeatureRegisters.h"
#include "GvspStreamer.h"
#include "SimCamera.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace hvsim::gev {

// A host on the control channel: its address and port, host order.
struct Peer
{
    uint32_t ip = 0;
    uint16_t port = 0;
    bool operator==(const Peer& o) const { return ip == o.ip && port == o.port; }
    bool operator<(const Peer& o) const { return ip < o.ip || (ip == o.ip && port < o.port); }
};

// The device side of one simulated camera: its memory map (bootstrap
// registers, the GenICam file, the feature registers, the camera's own raw
// memory from 0x10000000 on), the control channel privilege with its
// heartbeat, and the stream channel. Answers are GVCP status codes.
// Used from the control channel's thread only.
class GevDevice
{
public:
    using Clock = std::chrono::steady_clock;
    static constexpr uint32_t kXmlBase = 0x00100000;
    static constexpr uint32_t kRawMemory = 0x10000000;

    GevDevice(std::shared_ptr<SimCamera> camera, uint32_t ip);
    ~GevDevice();

    SimCamera& camera() { return *m_camera; }
    const std::string& xml() const { return m_xml; }
    bool streamReady() const { return m_streamer.valid(); }

    uint16_t readMemory(const Peer& peer, uint32_t address, uint8_t* out, uint32_t length);
    // `executed` names a command the write ran.
    uint16_t writeMemory(const Peer& peer, uint32_t address, const uint8_t* data, uint32_t length,
                         std::string* executed);
    uint16_t readRegister(const Peer& peer, uint32_t address, uint32_t& value);
    uint16_t writeRegister(const Peer& peer, uint32_t address, uint32_t value,
                           std::string* executed);
    // The bootstrap registers a discovery acknowledgement carries.
    std::vector<uint8_t> discoveryData();
    std::string featureAt(uint32_t address) const { return m_features.featureAt(address); }

    // Time until a command the host ran is done: 0 done, < 0 never.
    int64_t commandRemainingMs(const std::string& command);

    // Any command of the controlling host keeps its privilege alive.
    void heard(const Peer& peer, Clock::time_point now);
    // Ends the privilege of a controller whose heartbeat has run out.
    void checkHeartbeat(Clock::time_point now);
    Clock::time_point heartbeatDeadline() const;

    void resend(uint16_t block, uint32_t first, uint32_t last)
    {
        m_streamer.resend(block, first, last);
    }

    // The camera left (fault or configuration): stops streaming.
    void shutdown();

private:
    bool mayRead(const Peer& peer) const;
    bool mayWrite(const Peer& peer) const;
    void refreshBootstrap();
    uint16_t writeBootstrap(const Peer& peer, uint32_t address, uint32_t value);
    uint16_t writeUserName(uint32_t address, const uint8_t* data, uint32_t length);
    void afterCommand(const std::string& command);
    void releaseControl(const char* why);
    uint32_t reg(uint32_t address) const;
    void setReg(uint32_t address, uint32_t value);
    void setText(uint32_t address, size_t size, const std::string& text);

    std::shared_ptr<SimCamera> m_camera;
    uint32_t m_ip;
    FeatureRegisters m_features;
    std::string m_xml;
    std::vector<uint8_t> m_bootstrap;
    GvspStreamer m_streamer;

    bool m_hasController = false;
    bool m_heldElsewhere = false; // another application holds the camera
    bool m_acquiring = false;
    Peer m_controller;
    Clock::time_point m_lastHeard;
};

} // namespace hvsim::gev
