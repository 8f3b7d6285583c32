#pragma once

#include "SimCamera.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

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

private:
    void run(StreamTarget target);
    bool sendFrame(const StreamTarget& target, const SimFrame& frame, uint32_t pixelFormat);
    void pace(std::chrono::steady_clock::time_point& next, size_t bytes, uint32_t delayNs);

    std::shared_ptr<SimCamera> m_camera;
    int m_socket = -1;
    uint16_t m_sourcePort = 0;
    uint16_t m_blockId = 0;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopping = false;
};

} // namespace hvsim::gev
