#pragma once

// Numbers of the GigE Vision control (GVCP) and stream (GVSP) protocols that
// the device side needs: packet layouts, commands, status codes and the
// bootstrap register map. Everything on the wire is big-endian.

#include <cstddef>
#include <cstdint>

namespace hvsim::gev {

constexpr uint16_t kGvcpPort = 3956;

// GVCP packet header: command packets start with the key 0x42, a flag byte,
// the command, the payload length and the request id; acknowledgements with
// a 16-bit status, the answer code, the payload length and the same id.
constexpr uint8_t kCommandKey = 0x42;
constexpr uint8_t kFlagAckRequired = 0x01;
constexpr size_t kHeaderSize = 8;
// The largest READMEM/WRITEMEM payload a host sends, and the largest ack.
constexpr size_t kMaxMemoryBlock = 536;

enum Command : uint16_t
{
    DiscoveryCmd = 0x0002,
    DiscoveryAck = 0x0003,
    ByeCmd = 0x0004,
    ByeAck = 0x0005,
    PacketResendCmd = 0x0040,
    ReadRegCmd = 0x0080,
    ReadRegAck = 0x0081,
    WriteRegCmd = 0x0082,
    WriteRegAck = 0x0083,
    ReadMemCmd = 0x0084,
    ReadMemAck = 0x0085,
    WriteMemCmd = 0x0086,
    WriteMemAck = 0x0087,
    PendingAck = 0x0089,
};

enum GvcpStatus : uint16_t
{
    StatusSuccess = 0x0000,
    StatusNotImplemented = 0x8001,
    StatusInvalidParameter = 0x8002,
    StatusInvalidAddress = 0x8003,
    StatusWriteProtect = 0x8004,
    StatusBadAlignment = 0x8005,
    StatusAccessDenied = 0x8006,
    StatusBusy = 0x8007,
    StatusError = 0x8FFF,
};

// Bootstrap registers.
namespace bootstrap {
constexpr uint32_t Version = 0x0000;
constexpr uint32_t DeviceMode = 0x0004;
constexpr uint32_t MacHigh = 0x0008;
constexpr uint32_t MacLow = 0x000C;
constexpr uint32_t SupportedIpConfig = 0x0010;
constexpr uint32_t CurrentIpConfig = 0x0014;
constexpr uint32_t CurrentIp = 0x0024;
constexpr uint32_t CurrentSubnet = 0x0034;
constexpr uint32_t CurrentGateway = 0x0044;
constexpr uint32_t ManufacturerName = 0x0048; // 32 bytes
constexpr uint32_t ModelName = 0x0068;        // 32
constexpr uint32_t DeviceVersion = 0x0088;    // 32
constexpr uint32_t ManufacturerInfo = 0x00A8; // 48
constexpr uint32_t SerialNumber = 0x00D8;     // 16
constexpr uint32_t UserName = 0x00E8;         // 16
constexpr uint32_t DiscoveryDataSize = 0x00F8;
constexpr uint32_t FirstUrl = 0x0200; // 512
constexpr uint32_t SecondUrl = 0x0400;
constexpr uint32_t NetworkInterfaces = 0x0600;
constexpr uint32_t MessageChannels = 0x0900;
constexpr uint32_t StreamChannels = 0x0904;
constexpr uint32_t GvcpCapability = 0x0934;
constexpr uint32_t HeartbeatTimeout = 0x0938;
constexpr uint32_t TickFrequencyHigh = 0x093C;
constexpr uint32_t TickFrequencyLow = 0x0940;
constexpr uint32_t TimestampControl = 0x0944;
constexpr uint32_t TimestampLatchedHigh = 0x0948;
constexpr uint32_t TimestampLatchedLow = 0x094C;
constexpr uint32_t PendingTimeout = 0x0958;
constexpr uint32_t ControlChannelPrivilege = 0x0A00;
constexpr uint32_t StreamPort = 0x0D00;       // host port of stream channel 0
constexpr uint32_t StreamPacketSize = 0x0D04; // low 16 bits; flags above
constexpr uint32_t StreamPacketDelay = 0x0D08;
constexpr uint32_t StreamDestination = 0x0D18;
constexpr uint32_t StreamSourcePort = 0x0D1C;
constexpr uint32_t StreamCapability = 0x0D20;
constexpr uint32_t StreamConfig = 0x0D24;
constexpr uint32_t End = 0x10000; // the bootstrap area ends here

constexpr uint32_t PrivilegeExclusive = 1u << 0;
constexpr uint32_t PrivilegeControl = 1u << 1;
constexpr uint32_t PacketSizeMask = 0xFFFF;
constexpr uint32_t CapabilityPendingAck = 1u << 5;
constexpr uint32_t CapabilityWriteMemory = 1u << 1;
constexpr uint32_t CapabilityPacketResend = 1u << 2;
constexpr uint32_t CapabilityUserName = 1u << 31;
constexpr uint32_t CapabilitySerialNumber = 1u << 30;
} // namespace bootstrap

// GVSP: a 16-bit status, a 16-bit block id, then 8 bits of packet format
// and a 24-bit packet id; leader, payload packets, trailer.
constexpr size_t kGvspHeaderSize = 8;
// What the stream channel's packet size counts beyond the GVSP packet.
constexpr size_t kIpUdpOverhead = 28;
constexpr uint8_t kGvspLeader = 1;
constexpr uint8_t kGvspTrailer = 2;
constexpr uint8_t kGvspPayload = 3;
constexpr uint16_t kPayloadTypeImage = 0x0001;

inline void putU16(uint8_t* p, uint16_t v)
{
    p[0] = uint8_t(v >> 8);
    p[1] = uint8_t(v);
}
inline void putU32(uint8_t* p, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = uint8_t(v >> (24 - 8 * i));
}
inline void putU64(uint8_t* p, uint64_t v)
{
    putU32(p, uint32_t(v >> 32));
    putU32(p + 4, uint32_t(v));
}
inline uint16_t getU16(const uint8_t* p)
{
    return uint16_t(p[0] << 8 | p[1]);
}
inline uint32_t getU32(const uint8_t* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}
inline uint64_t getU64(const uint8_t* p)
{
    return uint64_t(getU32(p)) << 32 | getU32(p + 4);
}

} // namespace hvsim::gev
