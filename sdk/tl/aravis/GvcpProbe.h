#pragma once

#include <cstdint>
#include <string>

namespace hvaravis {

// What a GigE Vision device says of itself in its discovery acknowledgement.
struct GigEIdentity
{
    std::string vendor;
    std::string model;
    std::string firmwareVersion;
    std::string manufacturerInfo;
    std::string serialNumber;
    std::string userName;
    std::string mac; // "00:11:22:33:44:55"
};

// Who may control a GigE Vision device, from its control channel privilege
// register as another host sees it.
enum class GigEControl
{
    Free,          // nobody holds control: this program may take it
    HeldElsewhere, // a host holds control; this program can only monitor
    Exclusive,     // a host holds exclusive access; even reads are refused
    Unknown        // no answer
};

// A few GVCP requests by unicast, with a socket of their own: Aravis 0.8
// discovers devices but neither reports their user name and firmware version
// nor tells whether another host controls them. Each request is tried a
// bounded number of times with a short wait.
class GvcpProbe
{
public:
    // `address` in host byte order; false when the device did not answer.
    static bool Discover(uint32_t address, GigEIdentity& identity);
    static GigEControl Control(uint32_t address);

    // The acknowledgement payload of a discovery, decoded (exposed for tests).
    static bool ParseDiscoveryAck(const uint8_t* payload, size_t size, GigEIdentity& identity);
    // The control state a privilege read answered: the GVCP status and value.
    static GigEControl ControlFrom(uint16_t status, uint32_t value);
};

// Host side of the route to a device: the local IPv4 address (host byte order)
// and the name of the network interface that holds it. Sends nothing.
bool LocalRouteTo(uint32_t deviceAddress, uint32_t& localAddress, std::string& interfaceName);

// Dotted IPv4 text to a host-order address, and back.
bool ParseIpv4(const std::string& text, uint32_t& address);
std::string Ipv4Text(uint32_t address);

} // namespace hvaravis
