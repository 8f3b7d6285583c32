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
    // Set while no stream thread runs; resends come from the caller's thread.
    m_target = target;
    {
        std::lock_guard<std::mutex> lock(m_recentMutex);
        m_recent.clear();
    }
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
        auto block = std::make_shared<Block>();
        // Block id 0 is reserved.
        if (++m_blockId == 0)
            m_blockId = 1;
        block->id = m_blockId;
        block->pixelFormat = uint32_t(format);
        block->frame = std::move(frame);
        block->chunk = std::max<size_t>(4, target.packetSize - std::min<size_t>(
                                                                target.packetSize,
                                                                kIpUdpOverhead + kGvspHeaderSize));
        {
            std::lock_guard<std::mutex> lock(m_recentMutex);
            m_recent.push_back(block);
            if (m_recent.size() > 4)
                m_recent.erase(m_recent.begin());
        }
        if (!sendBlock(*block))
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

bool GvspStreamer::sendPacket(const Block& b, uint32_t id, uint16_t status,
                              std::vector<uint8_t>& packet)
{
    const uint32_t last = b.packets() - 1;
    const uint8_t format = id == 0 ? kGvspLeader : id == last ? kGvspTrailer : kGvspPayload;
    packet.assign(kGvspHeaderSize, 0);
    putU16(packet.data(), status);
    putU16(packet.data() + 2, b.id);
    putU32(packet.data() + 4, uint32_t(format) << 24 | (id & 0xFFFFFF));
    if (format == kGvspLeader) {
        packet.resize(kGvspHeaderSize + 36, 0);
        uint8_t* d = packet.data() + kGvspHeaderSize;
        putU16(d + 2, kPayloadTypeImage);
        putU64(d + 4, b.frame.timestampNs);
        putU32(d + 12, b.pixelFormat);
        putU32(d + 16, b.frame.width);
        putU32(d + 20, b.frame.height);
    } else if (format == kGvspTrailer) {
        packet.resize(kGvspHeaderSize + 8, 0);
        putU32(packet.data() + kGvspHeaderSize, kPayloadTypeImage);
        putU32(packet.data() + kGvspHeaderSize + 4, b.frame.height);
    } else {
        const size_t offset = size_t(id - 1) * b.chunk;
        const size_t n = std::min(b.chunk, b.frame.pixels.size() - offset);
        packet.insert(packet.end(), b.frame.pixels.begin() + ptrdiff_t(offset),
                      b.frame.pixels.begin() + ptrdiff_t(offset + n));
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(m_target.ip);
    to.sin_port = htons(m_target.port);
    if (::sendto(m_socket, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&to),
                 sizeof to) < 0) {
        log("stream: send failed: %s", std::strerror(errno));
        return false;
    }
    return true;
}

bool GvspStreamer::sendBlock(const Block& b)
{
    std::vector<uint8_t> packet;
    auto next = std::chrono::steady_clock::now();
    for (uint32_t id = 0; id < b.packets(); ++id) {
        pace(next, b.chunk + kGvspHeaderSize + kIpUdpOverhead, m_target.packetDelayNs);
        if (!sendPacket(b, id, 0, packet))
            return false;
    }
    return true;
}

void GvspStreamer::resend(uint16_t blockId, uint32_t first, uint32_t last)
{
    std::shared_ptr<const Block> b;
    {
        std::lock_guard<std::mutex> lock(m_recentMutex);
        for (const auto& r : m_recent)
            if (r->id == blockId)
                b = r;
    }
    if (!b)
        return;
    std::vector<uint8_t> packet;
    // Status 0x0100 marks a resent packet.
    for (uint32_t id = first; id <= std::min(last, b->packets() - 1); ++id)
        sendPacket(*b, id, 0x0100, packet);
}

} // namespace hvsim::gev
