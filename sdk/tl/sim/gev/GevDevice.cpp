#include "GevDevice.h"

#include "GenicamXml.h"
#include "GevLog.h"
#include "GevProtocol.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace hvsim::gev {

namespace {

using namespace bootstrap;

constexpr uint32_t kDefaultHeartbeatMs = 3000;
constexpr uint32_t kMinHeartbeatMs = 500;
constexpr uint32_t kMinPacketSize = 220;
constexpr uint32_t kMaxPacketSize = 16404;

uint16_t statusOf(Status s, bool write)
{
    switch (s) {
    case Ok:
        return StatusSuccess;
    case NotFound:
        return StatusInvalidAddress;
    case InvalidAccess:
        return write ? StatusWriteProtect : StatusInvalidAddress;
    case InvalidValue:
    case BadParameter:
    case NotAvailable:
    case WrongType:
    case InvalidCall:
        return StatusInvalidParameter;
    case NotImplemented:
    case NotSupported:
        return StatusNotImplemented;
    default:
        return StatusError;
    }
}

std::string peerText(const Peer& p)
{
    char text[32];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u:%u", p.ip >> 24, (p.ip >> 16) & 255,
                  (p.ip >> 8) & 255, p.ip & 255, p.port);
    return text;
}

// Features a camera on the wire needs beyond the simulated camera's own:
// the buffer size a host allocates for a frame, and the frame rate.
SimFeatureSet& withDeviceFeatures(SimCamera& camera)
{
    SimFeatureSet& fs = camera.features();
    const CameraConfig& c = camera.config();
    if (!fs.has("PayloadSize")) {
        const int64_t bytes = int64_t(c.width) * c.height * (c.pixelFormat == "Mono8" ? 1 : 2);
        SimFeature payload;
        payload.name = "PayloadSize";
        payload.access = Access::ReadOnly;
        payload.intValue = payload.intMin = payload.intMax = bytes;
        fs.add(payload);
    }
    if (!fs.has("AcquisitionFrameRate")) {
        SimFeature rate;
        rate.name = "AcquisitionFrameRate";
        rate.type = FeatureType::Float;
        rate.floatValue = 10.0;
        rate.floatMin = 0.1;
        rate.floatMax = 60.0;
        fs.add(rate);
    }
    return fs;
}

uint64_t fnv1a(const std::string& s)
{
    uint64_t h = 1469598103934665603ull;
    for (unsigned char ch : s)
        h = (h ^ ch) * 1099511628211ull;
    return h;
}

uint64_t nowNs()
{
    return uint64_t(std::chrono::duration_cast<std::chrono::nanoseconds>(
                        std::chrono::steady_clock::now().time_since_epoch())
                        .count());
}

} // namespace

GevDevice::GevDevice(std::shared_ptr<SimCamera> camera, uint32_t ip)
    : m_camera(std::move(camera)), m_ip(ip), m_features(withDeviceFeatures(*m_camera)),
      m_xml(genicamXml(m_camera->config(), m_features.layout())), m_bootstrap(End, 0),
      m_streamer(m_camera, ip)
{
    const CameraConfig& c = m_camera->config();
    m_heldElsewhere = !m_camera->fullAccessPermitted();
    setReg(Version, 0x00020000);
    // Big-endian device, transmitter, UTF-8 strings.
    setReg(DeviceMode, 0x80000001);
    // A locally administered MAC address that stays with the serial number.
    const uint64_t mac = (fnv1a(c.serial) & 0xFFFFFFFFFFull) | 0x020000000000ull;
    setReg(MacHigh, uint32_t(mac >> 32));
    setReg(MacLow, uint32_t(mac));
    setReg(SupportedIpConfig, 0x7);
    setReg(CurrentIpConfig, 0x1);
    setReg(CurrentIp, ip);
    setReg(CurrentSubnet, 0xFF000000);
    setText(ManufacturerName, 32, c.vendor);
    setText(ModelName, 32, c.model);
    setText(DeviceVersion, 32, c.firmwareVersion);
    setText(ManufacturerInfo, 48, c.manufacturerInfo);
    setText(SerialNumber, 16, c.serial);
    char url[128];
    std::snprintf(url, sizeof url, "Local:%s.xml;%x;%zx", "orvex-sim", kXmlBase, m_xml.size());
    setText(FirstUrl, 512, url);
    setText(SecondUrl, 512, url);
    setReg(NetworkInterfaces, 1);
    setReg(StreamChannels, 1);
    setReg(GvcpCapability,
           CapabilityUserName | CapabilitySerialNumber | CapabilityWriteMemory |
               CapabilityPendingAck | CapabilityPacketResend);
    setReg(HeartbeatTimeout, kDefaultHeartbeatMs);
    setReg(TickFrequencyLow, 1000000000u);
    setReg(PendingTimeout, 1000);
    // The configured packet size, where the camera has a usable one.
    int64_t packetSize = c.streams.empty() ? 0 : c.streams[0].packetSize;
    if (packetSize < kMinPacketSize || packetSize > kMaxPacketSize)
        packetSize = 1500;
    setReg(StreamPacketSize, uint32_t(packetSize));
    setReg(StreamSourcePort, m_streamer.sourcePort());
    if (m_heldElsewhere)
        setReg(ControlChannelPrivilege, PrivilegeControl);
}

GevDevice::~GevDevice()
{
    shutdown();
}

uint32_t GevDevice::reg(uint32_t address) const
{
    return getU32(m_bootstrap.data() + address);
}

void GevDevice::setReg(uint32_t address, uint32_t value)
{
    putU32(m_bootstrap.data() + address, value);
}

void GevDevice::setText(uint32_t address, size_t size, const std::string& text)
{
    std::memset(m_bootstrap.data() + address, 0, size);
    std::memcpy(m_bootstrap.data() + address, text.data(), std::min(text.size(), size - 1));
}

void GevDevice::refreshBootstrap()
{
    std::string name;
    if (m_camera->features().getString("DeviceUserID", name) == Ok)
        setText(UserName, 16, name);
}

bool GevDevice::mayRead(const Peer& peer) const
{
    const bool exclusive = reg(ControlChannelPrivilege) & PrivilegeExclusive;
    return !(exclusive && m_hasController && !(peer == m_controller));
}

bool GevDevice::mayWrite(const Peer& peer) const
{
    return !m_heldElsewhere && m_hasController && peer == m_controller;
}

std::vector<uint8_t> GevDevice::discoveryData()
{
    refreshBootstrap();
    return {m_bootstrap.begin(), m_bootstrap.begin() + DiscoveryDataSize};
}

uint16_t GevDevice::readMemory(const Peer& peer, uint32_t address, uint8_t* out, uint32_t length)
{
    if (!mayRead(peer))
        return StatusAccessDenied;
    const uint64_t end = uint64_t(address) + length;
    if (length == 0)
        return StatusInvalidParameter;
    if (end <= End) {
        refreshBootstrap();
        std::memcpy(out, m_bootstrap.data() + address, length);
        return StatusSuccess;
    }
    if (address >= kXmlBase && end <= FeatureRegisters::kBase) {
        // The file, then zeros up to the end of its area.
        std::memset(out, 0, length);
        if (address - kXmlBase < m_xml.size())
            std::memcpy(out, m_xml.data() + (address - kXmlBase),
                        std::min<size_t>(length, m_xml.size() - (address - kXmlBase)));
        return StatusSuccess;
    }
    if (FeatureRegisters::inArea(address))
        return statusOf(m_features.read(address, out, length), false);
    if (address >= kRawMemory)
        return statusOf(m_camera->readMemory(address, out, length, nullptr), false);
    return StatusInvalidAddress;
}

uint16_t GevDevice::readRegister(const Peer& peer, uint32_t address, uint32_t& value)
{
    if (address % 4)
        return StatusBadAlignment;
    uint8_t bytes[4] = {};
    uint16_t s = readMemory(peer, address, bytes, 4);
    value = getU32(bytes);
    return s;
}

uint16_t GevDevice::writeRegister(const Peer& peer, uint32_t address, uint32_t value,
                                  std::string* executed)
{
    if (address % 4)
        return StatusBadAlignment;
    uint8_t bytes[4];
    putU32(bytes, value);
    return writeMemory(peer, address, bytes, 4, executed);
}

uint16_t GevDevice::writeMemory(const Peer& peer, uint32_t address, const uint8_t* data,
                                uint32_t length, std::string* executed)
{
    const uint64_t end = uint64_t(address) + length;
    if (length == 0)
        return StatusInvalidParameter;
    // Taking the privilege is the one write a host without it may send.
    if (address == ControlChannelPrivilege && length == 4)
        return writeBootstrap(peer, address, getU32(data));
    if (!mayWrite(peer))
        return StatusAccessDenied;
    if (end <= End) {
        if (address >= UserName && end <= UserName + 16)
            return writeUserName(address, data, length);
        if (address % 4 || length % 4)
            return StatusBadAlignment;
        for (uint32_t i = 0; i < length; i += 4) {
            uint16_t s = writeBootstrap(peer, address + i, getU32(data + i));
            if (s != StatusSuccess)
                return s;
        }
        return StatusSuccess;
    }
    if (address >= kXmlBase && end <= FeatureRegisters::kBase)
        return StatusWriteProtect;
    if (FeatureRegisters::inArea(address)) {
        std::string command;
        Status s = m_features.write(address, data, length, &command);
        if (s == Ok && !command.empty()) {
            afterCommand(command);
            if (executed)
                *executed = command;
        }
        return statusOf(s, true);
    }
    if (address >= kRawMemory)
        return statusOf(m_camera->writeMemory(address, data, length, nullptr), true);
    return StatusInvalidAddress;
}

uint16_t GevDevice::writeUserName(uint32_t address, const uint8_t* data, uint32_t length)
{
    refreshBootstrap();
    std::vector<uint8_t> name(m_bootstrap.begin() + UserName, m_bootstrap.begin() + UserName + 16);
    std::memcpy(name.data() + (address - UserName), data, length);
    auto end = std::find(name.begin(), name.end(), 0);
    return statusOf(m_camera->features().setString("DeviceUserID", std::string(name.begin(), end)),
                    true);
}

uint16_t GevDevice::writeBootstrap(const Peer& peer, uint32_t address, uint32_t value)
{
    switch (address) {
    case ControlChannelPrivilege:
        if (value & (PrivilegeControl | PrivilegeExclusive)) {
            if (m_heldElsewhere || (m_hasController && !(peer == m_controller)))
                return StatusAccessDenied;
            if (!m_hasController)
                log("control: taken by %s", peerText(peer).c_str());
            m_hasController = true;
            m_controller = peer;
            m_lastHeard = Clock::now();
            setReg(ControlChannelPrivilege, value & (PrivilegeControl | PrivilegeExclusive));
            return StatusSuccess;
        }
        if (!m_hasController)
            return m_heldElsewhere ? StatusAccessDenied : StatusSuccess;
        if (!(peer == m_controller))
            return StatusAccessDenied;
        releaseControl("released by the host");
        return StatusSuccess;
    case HeartbeatTimeout:
        setReg(address, std::max(value, kMinHeartbeatMs));
        return StatusSuccess;
    case StreamPacketSize: {
        const uint32_t size = value & PacketSizeMask;
        if (size < kMinPacketSize || size > kMaxPacketSize)
            return StatusInvalidParameter;
        // The test packet is not offered; the other flags are kept.
        setReg(address, value & ~(1u << 31));
        return StatusSuccess;
    }
    case TimestampControl:
        if (value & 2) {
            const uint64_t t = nowNs();
            setReg(TimestampLatchedHigh, uint32_t(t >> 32));
            setReg(TimestampLatchedLow, uint32_t(t));
        }
        return StatusSuccess;
    case CurrentIpConfig:
    case StreamPort:
    case StreamPacketDelay:
    case StreamDestination:
    case 0x064C: // persistent address, mask, gateway
    case 0x065C:
    case 0x066C:
        setReg(address, value);
        return StatusSuccess;
    default:
        return StatusWriteProtect;
    }
}

void GevDevice::afterCommand(const std::string& command)
{
    if (command == "AcquisitionStart") {
        StreamTarget t;
        t.ip = reg(StreamDestination);
        t.port = uint16_t(reg(StreamPort));
        t.packetSize = reg(StreamPacketSize) & PacketSizeMask;
        t.packetDelayNs = reg(StreamPacketDelay);
        m_streamer.start(t);
        m_acquiring = true;
    } else if (command == "AcquisitionStop") {
        m_streamer.stop();
        m_acquiring = false;
    }
}

void GevDevice::releaseControl(const char* why)
{
    log("control: %s (%s)", why, peerText(m_controller).c_str());
    m_hasController = false;
    setReg(ControlChannelPrivilege, 0);
    // Without a controller the stream channel closes and the camera stops
    // acquiring.
    m_streamer.stop();
    setReg(StreamPort, 0);
    if (m_acquiring)
        m_camera->features().runCommand("AcquisitionStop");
    m_acquiring = false;
}

void GevDevice::heard(const Peer& peer, Clock::time_point now)
{
    if (m_hasController && peer == m_controller)
        m_lastHeard = now;
}

GevDevice::Clock::time_point GevDevice::heartbeatDeadline() const
{
    if (!m_hasController)
        return Clock::time_point::max();
    return m_lastHeard + std::chrono::milliseconds(reg(HeartbeatTimeout));
}

void GevDevice::checkHeartbeat(Clock::time_point now)
{
    if (m_hasController && now > heartbeatDeadline())
        releaseControl("heartbeat expired");
}

int64_t GevDevice::commandRemainingMs(const std::string& command)
{
    SimFeatureSet& fs = m_camera->features();
    std::lock_guard<std::recursive_mutex> lock(fs.mutex());
    const SimFeature* f = fs.find(command);
    if (!f)
        return 0;
    if (f->neverDone)
        return -1;
    // Rounded up: the answer must not come before the command is done.
    auto left = std::chrono::duration_cast<std::chrono::microseconds>(f->doneAt - Clock::now());
    return left.count() > 0 ? (left.count() + 999) / 1000 : 0;
}

void GevDevice::shutdown()
{
    m_streamer.stop();
}

} // namespace hvsim::gev
