#include "GvcpProbe.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

namespace hvaravis {

namespace {

constexpr uint16_t kGvcpPort = 3956;
constexpr uint8_t kKey = 0x42;
constexpr uint8_t kAckRequired = 0x01;
constexpr uint16_t kDiscoveryCommand = 0x0002;
constexpr uint16_t kDiscoveryAck = 0x0003;
constexpr uint16_t kReadRegisterCommand = 0x0080;
constexpr uint16_t kReadRegisterAck = 0x0081;
constexpr uint32_t kControlPrivilegeRegister = 0x0A00;
constexpr uint16_t kStatusAccessDenied = 0x8006;
constexpr uint32_t kPrivilegeExclusive = 1u << 0;
constexpr uint32_t kPrivilegeControl = 1u << 1;

constexpr int kTries = 3;
constexpr int kWaitMs = 300;

// Bootstrap register offsets within a discovery acknowledgement.
constexpr size_t kMacHigh = 0x08;
constexpr size_t kManufacturer = 0x48;
constexpr size_t kModel = 0x68;
constexpr size_t kVersion = 0x88;
constexpr size_t kManufacturerInfo = 0xA8;
constexpr size_t kSerial = 0xD8;
constexpr size_t kUserName = 0xE8;
constexpr size_t kDiscoveryDataSize = 0xF8;

uint16_t Get16(const uint8_t* p)
{
    return uint16_t(p[0] << 8 | p[1]);
}

uint32_t Get32(const uint8_t* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

void Put16(uint8_t* p, uint16_t v)
{
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}

void Put32(uint8_t* p, uint32_t v)
{
    Put16(p, uint16_t(v >> 16));
    Put16(p + 2, uint16_t(v));
}

// A bootstrap string field: NUL-terminated unless it fills its whole field.
std::string Field(const uint8_t* payload, size_t offset, size_t length)
{
    const char* text = reinterpret_cast<const char*>(payload + offset);
    return std::string(text, strnlen(text, length));
}

class Socket
{
public:
    Socket() : m_fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    ~Socket()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int fd() const { return m_fd; }

private:
    int m_fd;
};

sockaddr_in SocketAddress(uint32_t address, uint16_t port)
{
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(address);
    return to;
}

// Sends one command and waits for its acknowledgement; the ack's status and
// payload on success. Each try waits kWaitMs, answers to other requests are
// ignored.
bool Transact(uint32_t address, uint16_t command, const std::vector<uint8_t>& payload,
              uint16_t expectedAck, uint16_t& status, std::vector<uint8_t>& answer)
{
    Socket socket;
    if (socket.fd() < 0)
        return false;
    static uint16_t nextId = 1;
    for (int attempt = 0; attempt < kTries; ++attempt) {
        uint16_t id = __atomic_add_fetch(&nextId, 1, __ATOMIC_RELAXED);
        if (id == 0)
            id = 1;
        std::vector<uint8_t> packet(8 + payload.size());
        packet[0] = kKey;
        packet[1] = kAckRequired;
        Put16(&packet[2], command);
        Put16(&packet[4], uint16_t(payload.size()));
        Put16(&packet[6], id);
        std::copy(payload.begin(), payload.end(), packet.begin() + 8);
        const sockaddr_in to = SocketAddress(address, kGvcpPort);
        if (::sendto(socket.fd(), packet.data(), packet.size(), 0,
                     reinterpret_cast<const sockaddr*>(&to), sizeof to) < 0)
            return false;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kWaitMs);
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                break;
            pollfd wait{socket.fd(), POLLIN, 0};
            if (::poll(&wait, 1, int(left.count())) <= 0)
                break;
            uint8_t buffer[1024];
            const ssize_t size = ::recv(socket.fd(), buffer, sizeof buffer, 0);
            if (size < 8 || Get16(buffer + 2) != expectedAck || Get16(buffer + 6) != id)
                continue;
            const size_t length = std::min<size_t>(Get16(buffer + 4), size_t(size) - 8);
            status = Get16(buffer);
            answer.assign(buffer + 8, buffer + 8 + length);
            return true;
        }
    }
    return false;
}

} // namespace

bool GvcpProbe::ParseDiscoveryAck(const uint8_t* payload, size_t size, GigEIdentity& identity)
{
    if (size < kDiscoveryDataSize)
        return false;
    identity.vendor = Field(payload, kManufacturer, 32);
    identity.model = Field(payload, kModel, 32);
    identity.firmwareVersion = Field(payload, kVersion, 32);
    identity.manufacturerInfo = Field(payload, kManufacturerInfo, 48);
    identity.serialNumber = Field(payload, kSerial, 16);
    identity.userName = Field(payload, kUserName, 16);
    char mac[18];
    std::snprintf(mac, sizeof mac, "%02x:%02x:%02x:%02x:%02x:%02x", payload[kMacHigh + 2],
                  payload[kMacHigh + 3], payload[kMacHigh + 4], payload[kMacHigh + 5],
                  payload[kMacHigh + 6], payload[kMacHigh + 7]);
    identity.mac = mac;
    return true;
}

GigEControl GvcpProbe::ControlFrom(uint16_t status, uint32_t value)
{
    if (status == kStatusAccessDenied)
        return GigEControl::Exclusive;
    if (status != 0)
        return GigEControl::Unknown;
    if (value & kPrivilegeExclusive)
        return GigEControl::Exclusive;
    return (value & kPrivilegeControl) ? GigEControl::HeldElsewhere : GigEControl::Free;
}

bool GvcpProbe::Discover(uint32_t address, GigEIdentity& identity)
{
    uint16_t status = 0;
    std::vector<uint8_t> answer;
    if (!Transact(address, kDiscoveryCommand, {}, kDiscoveryAck, status, answer) || status != 0)
        return false;
    return ParseDiscoveryAck(answer.data(), answer.size(), identity);
}

GigEControl GvcpProbe::Control(uint32_t address)
{
    std::vector<uint8_t> request(4);
    Put32(request.data(), kControlPrivilegeRegister);
    uint16_t status = 0;
    std::vector<uint8_t> answer;
    if (!Transact(address, kReadRegisterCommand, request, kReadRegisterAck, status, answer))
        return GigEControl::Unknown;
    if (status == 0 && answer.size() < 4)
        return GigEControl::Unknown;
    return ControlFrom(status, status == 0 ? Get32(answer.data()) : 0);
}

bool LocalRouteTo(uint32_t deviceAddress, uint32_t& localAddress, std::string& interfaceName)
{
    // Connecting a datagram socket only picks the route; no packet leaves.
    Socket socket;
    const sockaddr_in to = SocketAddress(deviceAddress, kGvcpPort);
    if (socket.fd() < 0 ||
        ::connect(socket.fd(), reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0)
        return false;
    sockaddr_in local{};
    socklen_t length = sizeof local;
    if (::getsockname(socket.fd(), reinterpret_cast<sockaddr*>(&local), &length) != 0)
        return false;
    localAddress = ntohl(local.sin_addr.s_addr);
    interfaceName.clear();
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) == 0) {
        for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
            if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET)
                continue;
            const auto* address = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
            if (address->sin_addr.s_addr == local.sin_addr.s_addr) {
                interfaceName = entry->ifa_name;
                break;
            }
        }
        ::freeifaddrs(list);
    }
    return true;
}

bool ParseIpv4(const std::string& text, uint32_t& address)
{
    in_addr parsed{};
    if (::inet_pton(AF_INET, text.c_str(), &parsed) != 1)
        return false;
    address = ntohl(parsed.s_addr);
    return true;
}

std::string Ipv4Text(uint32_t address)
{
    in_addr raw{};
    raw.s_addr = htonl(address);
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, &raw, text, sizeof text);
    return text;
}

} // namespace hvaravis
