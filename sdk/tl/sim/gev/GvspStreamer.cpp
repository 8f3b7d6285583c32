#include "GvspStreamer.h"

#include "GevLog.h"
#include "GevProtocol.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace hvsim::gev {

namespace {

// What a gigabit link carries, less its framing: the pace of the packets.
constexpr double kLinkBytesPerSecond = 100e6;

} // namespace

GvspStreamer::GvspStreamer(std::shared_ptr<SimCamera> camera, uint32_t sourceIp)
    : m_camera(std::move(camera))
{
    m_socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (m_socket < 0)
        return;
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(sourceIp);
    socklen_t len = sizeof a;
    int size = 4 << 20;
    ::setsockopt(m_socket, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    if (::bind(m_socket, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
        ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
        ::close(m_socket);
        m_socket = -1;
        return;
    }
    m_sourcePort = ntohs(a.sin_port);
}

GvspStreamer::~GvspStreamer()
{
    stop();
    if (m_socket >= 0)
        ::close(m_socket);
}

void GvspStreamer::start(const StreamTarget& target)
{
    stop();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopping = false;
    m_thread = std::thread([this, target] { run(target); });
}

void GvspStreamer::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void GvspStreamer::run(StreamTarget target)
{
    // A device on loopback streams to loopback only.
    if (target.port == 0 || (target.ip >> 24) != 127) {
        log("stream: no loopback destination set (port %u), nothing sent", target.port);
        return;
    }
    log("stream: to %u.%u.%u.%u:%u, packet size %u", target.ip >> 24, (target.ip >> 16) & 255,
        (target.ip >> 8) & 255, target.ip & 255, target.port, target.packetSize);
    auto next = std::chrono::steady_clock::now();
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            if (m_wake.wait_until(lock, next, [this] { return m_stopping; }))
                return;
        }
        double rate = 10.0;
        int64_t format = 0, mode = 0;
        SimFeatureSet& fs = m_camera->features();
        fs.getFloat("AcquisitionFrameRate", rate);
        fs.getEnumInt("PixelFormat", format);
        fs.getEnumInt("AcquisitionMode", mode);
        next += std::chrono::microseconds(int64_t(1e6 / std::max(rate, 0.01)));
        SimFrame frame;
        if (m_camera->acquireSingleImage(frame) != Ok) {
            log("stream: the camera gives no frame, stream stopped");
            return;
        }
        if (!sendFrame(target, frame, uint32_t(format)))
            return;
        // A frame that took longer than the period starts the next at once.
        next = std::max(next, std::chrono::steady_clock::now());
        if (mode == 1) // SingleFrame
            return;
    }
}

void GvspStreamer::pace(std::chrono::steady_clock::time_point& next, size_t bytes,
                        uint32_t delayNs)
{
    const auto now = std::chrono::steady_clock::now();
    if (next < now)
        next = now;
    else if (next - now > std::chrono::microseconds(200))
        std::this_thread::sleep_until(next);
    next += std::chrono::nanoseconds(
        std::max<int64_t>(int64_t(bytes * 1e9 / kLinkBytesPerSecond), delayNs));
}

bool GvspStreamer::sendFrame(const StreamTarget& target, const SimFrame& frame,
                             uint32_t pixelFormat)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(target.ip);
    to.sin_port = htons(target.port);
    const size_t chunk = std::max<size_t>(
        4, target.packetSize - std::min<size_t>(target.packetSize, kIpUdpOverhead + kGvspHeaderSize));
    // Block id 0 is reserved.
    if (++m_blockId == 0)
        m_blockId = 1;
    std::vector<uint8_t> packet(kGvspHeaderSize + std::max<size_t>(chunk, 44));
    auto header = [&](uint8_t format, uint32_t packetId) {
        putU16(packet.data(), 0);
        putU16(packet.data() + 2, m_blockId);
        putU32(packet.data() + 4, uint32_t(format) << 24 | (packetId & 0xFFFFFF));
    };
    auto next = std::chrono::steady_clock::now();
    auto send = [&](size_t size) {
        pace(next, size + kIpUdpOverhead, target.packetDelayNs);
        if (::sendto(m_socket, packet.data(), size, 0, reinterpret_cast<sockaddr*>(&to),
                     sizeof to) < 0) {
            log("stream: send failed: %s", std::strerror(errno));
            return false;
        }
        return true;
    };

    uint8_t* d = packet.data() + kGvspHeaderSize;
    header(kGvspLeader, 0);
    std::memset(d, 0, 36);
    putU16(d + 2, kPayloadTypeImage);
    putU64(d + 4, frame.timestampNs);
    putU32(d + 12, pixelFormat);
    putU32(d + 16, frame.width);
    putU32(d + 20, frame.height);
    if (!send(kGvspHeaderSize + 36))
        return false;
    uint32_t id = 1;
    for (size_t offset = 0; offset < frame.pixels.size(); offset += chunk, ++id) {
        const size_t n = std::min(chunk, frame.pixels.size() - offset);
        header(kGvspPayload, id);
        std::memcpy(d, frame.pixels.data() + offset, n);
        if (!send(kGvspHeaderSize + n))
            return false;
    }
    header(kGvspTrailer, id);
    putU32(d, kPayloadTypeImage);
    putU32(d + 4, frame.height);
    return send(kGvspHeaderSize + 8);
}

} // namespace hvsim::gev
