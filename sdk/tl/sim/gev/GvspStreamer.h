#pragma once

#include "SimCamera.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace hvsim::gev {

// Where and how the host asked for the stream (the stream channel
// registers at the moment the acquisition starts).
struct StreamTarget
{
    uint32_t ip = 0; // host order
    uint16_t port = 0;
    uint32_t packetSize = 1500; // counts the IP and UDP headers, as the register does
    uint32_t packetDelayNs = 0;
};

// Sends the camera's frames as GVSP blocks (leader, payload packets of the
// packet size, trailer) at the camera's "AcquisitionFrameRate", from its own
// socket on the device's address, on a thread of its own. Packets leave no
// faster than a gigabit link would carry them (and not faster than the
// packet delay allows), so a receiver on a loaded machine keeps up.
class GvspStreamer
{
public:
    GvspStreamer(std::shared_ptr<SimCamera> camera, uint32_t sourceIp);
    ~GvspStreamer();
    GvspStreamer(const GvspStreamer&) = delete;
    GvspStreamer& operator=(const GvspStreamer&) = delete;

    bool valid() const { return m_socket >= 0; }
    uint16_t sourcePort() const { return m_sourcePort; }

    void start(const StreamTarget& target);
    void stop();
    // Sends packets `first` to `last` of a recent block again, as a host
    // that missed them asks (from the control channel's thread).
    void resend(uint16_t blockId, uint32_t first, uint32_t last);

private:
    struct Block
    {
        uint16_t id = 0;
        uint32_t pixelFormat = 0;
        SimFrame frame;
        size_t chunk = 0; // pixel bytes per payload packet
        uint32_t packets() const { return uint32_t((frame.pixels.size() + chunk - 1) / chunk) + 2; }
    };

    void run(StreamTarget target);
    bool sendBlock(const Block& block);
    bool sendPacket(const Block& block, uint32_t id, uint16_t status, std::vector<uint8_t>& buffer);
    void pace(std::chrono::steady_clock::time_point& next, size_t bytes, uint32_t delayNs);

    std::shared_ptr<SimCamera> m_camera;
    int m_socket = -1;
    uint16_t m_sourcePort = 0;
    uint16_t m_blockId = 0;
    StreamTarget m_target;
    std::thread m_thread;
    std::mutex m_mutex;         // the thread's state
    std::mutex m_recentMutex;   // m_recent, used by resend()
    std::vector<std::shared_ptr<const Block>> m_recent; // the last blocks sent, for resends
    std::condition_variable m_wake;
    bool m_stopping = false;
};

} // namespace hvsim::gev
