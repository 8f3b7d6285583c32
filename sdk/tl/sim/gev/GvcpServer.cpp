#include "GvcpServer.h"

#include "GevLog.h"
#include "GevProtocol.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace hvsim::gev {

namespace {

// How long an answer is kept for a host that repeats its request.
constexpr auto kAnswerKept = std::chrono::seconds(5);
// A command that takes longer than this is announced with a pending
// acknowledgement (hosts wait about half a second for an answer).
constexpr int64_t kPendingAfterMs = 100;

std::vector<uint8_t> ack(uint16_t status, uint16_t command, uint16_t id,
                         const std::vector<uint8_t>& payload)
{
    std::vector<uint8_t> out(kHeaderSize + payload.size());
    putU16(out.data(), status);
    putU16(out.data() + 2, command);
    putU16(out.data() + 4, uint16_t(payload.size()));
    putU16(out.data() + 6, id);
    std::copy(payload.begin(), payload.end(), out.begin() + kHeaderSize);
    return out;
}

const char* commandName(uint16_t command)
{
    switch (command) {
    case ReadRegCmd:
        return "READREG";
    case WriteRegCmd:
        return "WRITEREG";
    case ReadMemCmd:
        return "READMEM";
    case WriteMemCmd:
        return "WRITEMEM";
    default:
        return "";
    }
}

bool sameFaults(const std::vector<WireFault>& a, const std::vector<WireFault>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const WireFault& x, const WireFault& y) {
                          return x.kind == y.kind && x.command == y.command &&
                                 x.feature == y.feature && x.occurrence == y.occurrence &&
                                 x.count == y.count;
                      });
}

int udpSocket(uint32_t ip, bool shared, std::string* error)
{
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        *error = std::strerror(errno);
        return -1;
    }
    int one = 1;
    if (shared)
        ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(ip);
    a.sin_port = htons(kGvcpPort);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        *error = std::strerror(errno);
        ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

GvcpServer::GvcpServer(GevDevice& device) : m_device(device) {}

GvcpServer::~GvcpServer()
{
    if (m_control >= 0)
        ::close(m_control);
    if (m_discovery >= 0)
        ::close(m_discovery);
}

bool GvcpServer::bind(uint32_t ip, std::string* error)
{
    m_control = udpSocket(ip, false, error);
    if (m_control < 0)
        return false;
    // Broadcast discovery reaches sockets bound to the broadcast address;
    // several devices share it. Only discovery is answered there.
    std::string why;
    m_discovery = udpSocket(INADDR_BROADCAST, true, &why);
    if (m_discovery < 0)
        log("no broadcast discovery (%s); unicast discovery still answers", why.c_str());
    return true;
}

bool GvcpServer::present()
{
    if (!m_gone && !m_device.camera().isConnected()) {
        m_gone = true;
        m_inFlight.reset();
        m_device.shutdown();
        log("the camera has gone: the device no longer answers");
    }
    return !m_gone;
}

void GvcpServer::run(int stopFd)
{
    for (;;) {
        const auto now = Clock::now();
        tick(now);
        auto wake = std::min(m_device.heartbeatDeadline(), now + std::chrono::seconds(1));
        if (m_inFlight)
            wake = std::min({wake, m_inFlight->done, m_inFlight->nextPending});
        const int timeout = int(std::clamp<int64_t>(
            std::chrono::duration_cast<std::chrono::milliseconds>(wake - now).count() + 1, 0,
            1000));
        pollfd fds[3] = {{stopFd, POLLIN, 0}, {m_control, POLLIN, 0}, {m_discovery, POLLIN, 0}};
        const int n = ::poll(fds, m_discovery >= 0 ? 3 : 2, timeout);
        if (n < 0 && errno != EINTR) {
            log("poll failed: %s", std::strerror(errno));
            return;
        }
        if (fds[0].revents)
            return;
        for (int i = 1; i < 3; ++i)
            if (n > 0 && fds[i].revents & POLLIN)
                receive(fds[i].fd);
    }
}

void GvcpServer::receive(int fd)
{
    uint8_t packet[2048];
    // Bounded: a flood cannot hold the loop here.
    for (int i = 0; i < 64; ++i) {
        sockaddr_in from{};
        socklen_t len = sizeof from;
        const ssize_t n =
            ::recvfrom(fd, packet, sizeof packet, 0, reinterpret_cast<sockaddr*>(&from), &len);
        if (n < 0)
            return;
        const Peer peer{ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)};
        // A device on loopback answers loopback only.
        if ((peer.ip >> 24) == 127)
            handle(fd, packet, size_t(n), peer);
    }
}

void GvcpServer::send(const Peer& peer, const std::vector<uint8_t>& bytes)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(peer.ip);
    to.sin_port = htons(peer.port);
    ::sendto(m_control, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to),
             sizeof to);
}

void GvcpServer::sendPending(InFlight& f, Clock::time_point now)
{
    const int64_t left = std::max<int64_t>(
        0, std::chrono::duration_cast<std::chrono::milliseconds>(f.done - now).count());
    const uint16_t promise = uint16_t(std::min<int64_t>(left + 500, 10000));
    std::vector<uint8_t> payload(4, 0);
    putU16(payload.data() + 2, promise);
    send(f.answer.peer, ack(StatusSuccess, PendingAck, f.answer.id, payload));
    f.nextPending = now + std::chrono::milliseconds(promise - 250);
}

void GvcpServer::tick(Clock::time_point now)
{
    if (!present())
        return;
    m_device.checkHeartbeat(now);
    if (!m_inFlight)
        return;
    if (now >= m_inFlight->done) {
        Answer a = std::move(m_inFlight->answer);
        const bool drop = m_inFlight->drop;
        m_inFlight.reset();
        a.time = now;
        m_device.heard(a.peer, now);
        if (!drop)
            send(a.peer, a.bytes);
        m_answered[a.peer] = std::move(a);
    } else if (now >= m_inFlight->nextPending) {
        sendPending(*m_inFlight, now);
    }
}

std::string GvcpServer::wireFault(uint16_t command, const uint8_t* payload, size_t size)
{
    std::vector<WireFault> faults = m_device.camera().faults().wire;
    if (!sameFaults(faults, m_faults)) {
        m_faults = faults;
        m_faultCounts.assign(faults.size(), 0);
    }
    const std::string name = commandName(command);
    const std::string feature = size >= 4 ? m_device.featureAt(getU32(payload)) : std::string();
    std::string kind;
    for (size_t i = 0; i < m_faults.size(); ++i) {
        const WireFault& f = m_faults[i];
        if ((f.command != "any" && f.command != name) || (!f.feature.empty() && f.feature != feature))
            continue;
        const int n = ++m_faultCounts[i];
        if (n < f.occurrence || (f.count > 0 && n >= f.occurrence + f.count))
            continue;
        // The strongest fault wins: silent, then busy, then a dropped answer.
        if (f.kind == "silent" || (f.kind == "busy" && kind != "silent") || kind.empty())
            kind = f.kind;
    }
    return kind;
}

void GvcpServer::handle(int fd, const uint8_t* packet, size_t size, const Peer& peer)
{
    if (size < kHeaderSize || packet[0] != kCommandKey || !present())
        return;
    const bool wantsAck = packet[1] & kFlagAckRequired;
    const uint16_t command = getU16(packet + 2);
    const uint16_t id = getU16(packet + 6);
    const size_t length = std::min<size_t>(getU16(packet + 4), size - kHeaderSize);
    const uint8_t* payload = packet + kHeaderSize;
    if (command == DiscoveryCmd) {
        send(peer, ack(StatusSuccess, DiscoveryAck, id, m_device.discoveryData()));
        return;
    }
    if (fd != m_control)
        return;
    if (command == PacketResendCmd) {
        // From the host's stream socket; no answer but the packets.
        if (length >= 12)
            m_device.resend(uint16_t(getU32(payload)), getU32(payload + 4) & 0xFFFFFF,
                            getU32(payload + 8) & 0xFFFFFF);
        return;
    }
    const auto now = Clock::now();
    m_device.checkHeartbeat(now);

    // A repeated request: the answer it had, the command not run twice.
    auto answered = m_answered.find(peer);
    if (answered != m_answered.end() && answered->second.id == id &&
        now - answered->second.time < kAnswerKept) {
        send(peer, answered->second.bytes);
        return;
    }
    if (m_inFlight) {
        if (peer == m_inFlight->answer.peer && id == m_inFlight->answer.id)
            sendPending(*m_inFlight, now);
        else if (wantsAck)
            send(peer, ack(StatusBusy, uint16_t(command + 1), id, {}));
        return;
    }

    const std::string fault = wireFault(command, payload, length);
    if (fault == "silent") {
        log("wire fault: stops answering (%s)", commandName(command));
        m_device.camera().disconnect();
        present();
        return;
    }
    if (fault == "busy") {
        send(peer, ack(StatusBusy, uint16_t(command + 1), id, {}));
        return;
    }

    std::string executed;
    Answer a{peer, id, execute(command, id, payload, length, peer, &executed), now};
    // A camera that dropped off during the command gives no answer.
    if (!present())
        return;
    m_device.heard(peer, now);
    const bool drop = fault == "dropAck" || !wantsAck;
    if (!executed.empty()) {
        const int64_t left = m_device.commandRemainingMs(executed);
        if (left > 0) {
            InFlight f{std::move(a), drop, now + std::chrono::milliseconds(left), now};
            if (left > kPendingAfterMs)
                sendPending(f, now);
            else
                f.nextPending = f.done;
            m_inFlight = std::move(f);
            return;
        }
    }
    if (!drop)
        send(peer, a.bytes);
    m_answered[peer] = std::move(a);
    // Hosts come and go; answers older than a retry are of no use.
    for (auto it = m_answered.begin(); it != m_answered.end();)
        it = now - it->second.time > kAnswerKept ? m_answered.erase(it) : std::next(it);
}

std::vector<uint8_t> GvcpServer::execute(uint16_t command, uint16_t id, const uint8_t* payload,
                                         size_t size, const Peer& peer, std::string* executed)
{
    std::vector<uint8_t> out;
    uint16_t status = StatusSuccess;
    switch (command) {
    case ReadRegCmd:
        for (size_t i = 0; i + 4 <= size && status == StatusSuccess; i += 4) {
            uint32_t value = 0;
            status = m_device.readRegister(peer, getU32(payload + i), value);
            if (status == StatusSuccess) {
                out.resize(out.size() + 4);
                putU32(out.data() + out.size() - 4, value);
            }
        }
        if (size < 4)
            status = StatusInvalidParameter;
        break;
    case WriteRegCmd: {
        uint16_t written = 0;
        for (size_t i = 0; i + 8 <= size && status == StatusSuccess; i += 8) {
            status = m_device.writeRegister(peer, getU32(payload + i), getU32(payload + i + 4),
                                            executed);
            written += status == StatusSuccess;
        }
        if (size < 8)
            status = StatusInvalidParameter;
        out.assign(4, 0);
        putU16(out.data() + 2, written);
        break;
    }
    case ReadMemCmd: {
        if (size < 8) {
            status = StatusInvalidParameter;
            break;
        }
        const uint32_t address = getU32(payload);
        const uint16_t count = getU16(payload + 6);
        out.assign(4, 0);
        putU32(out.data(), address);
        if (count > kMaxMemoryBlock) {
            status = StatusInvalidParameter;
            break;
        }
        out.resize(4 + count);
        status = m_device.readMemory(peer, address, out.data() + 4, count);
        if (status != StatusSuccess)
            out.resize(4);
        break;
    }
    case WriteMemCmd: {
        if (size < 4 || size - 4 > kMaxMemoryBlock) {
            status = StatusInvalidParameter;
            break;
        }
        status = m_device.writeMemory(peer, getU32(payload), payload + 4, uint32_t(size - 4),
                                      executed);
        out.assign(4, 0);
        putU16(out.data() + 2, status == StatusSuccess ? uint16_t(size - 4) : 0);
        break;
    }
    default:
        status = StatusNotImplemented;
        break;
    }
    return ack(status, uint16_t(command + 1), id, out);
}

} // namespace hvsim::gev
