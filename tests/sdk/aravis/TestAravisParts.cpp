// The parts of the Aravis transport layer that need no camera: the list kept
// across discovery rounds, the decoding of GVCP answers, and what makes a USB
// device a USB3 Vision camera and how one without permission is listed.

#include "DeviceDirectory.h"
#include "GvcpProbe.h"
#include "UsbVisionProbe.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace hvaravis;

namespace {

Sighting Seen(const std::string& id, HvAccessModeType access = HvAccessModeFull)
{
    Sighting sighting;
    sighting.info.id = id;
    sighting.info.permittedAccess = access;
    return sighting;
}

std::vector<std::string> Ids(const std::vector<Hvx::Tl::DeviceInfo>& devices)
{
    std::vector<std::string> ids;
    for (const auto& device : devices)
        ids.push_back(device.id);
    return ids;
}

} // namespace

// Rounds in order, with what each one reports and what the list holds after it.
TEST(DeviceDirectory, DevicesLeaveAfterTwoMissedRoundsAndReportChanges)
{
    DeviceDirectory directory(2);
    const struct
    {
        std::vector<Sighting> round;
        std::vector<std::string> arrived, changed, left, listed;
    } rounds[] = {
        {{Seen("A"), Seen("B")}, {"A", "B"}, {}, {}, {"A", "B"}},
        {{Seen("A")}, {}, {}, {}, {"A", "B"}},                      // B missed once: stays
        {{Seen("A"), Seen("B")}, {}, {}, {}, {"A", "B"}},           // and is back
        {{Seen("A", HvAccessModeRead)}, {}, {"A"}, {}, {"A", "B"}}, // another host took A
        {{}, {}, {}, {"B"}, {"A"}},                                 // B missed twice
        {{}, {}, {}, {"A"}, {}},
    };
    int number = 0;
    for (const auto& r : rounds) {
        const DeviceDirectory::Changes changes = directory.Merge(r.round);
        SCOPED_TRACE("round " + std::to_string(++number));
        EXPECT_EQ(r.arrived, Ids(changes.arrived));
        EXPECT_EQ(r.changed, Ids(changes.changed));
        EXPECT_EQ(r.left, changes.left);
        EXPECT_EQ(r.listed, Ids(directory.Devices()));
    }
}

// Identity fields that fill their whole width have no terminator; the
// offsets of the others are met on the wire (TestAravisLoopback).
TEST(GvcpProbe, DecodesADiscoveryAcknowledgement)
{
    uint8_t payload[0xF8] = {};
    const uint8_t mac[] = {0x00, 0x0f, 0x31, 0xab, 0xcd, 0x0e};
    std::memcpy(payload + 0x0A, mac, sizeof mac);
    std::memcpy(payload + 0xD8, "SN-1001-SN-1001-", 16);
    std::memcpy(payload + 0xE8, "line-3-left-side", 16);
    GigEIdentity identity;
    ASSERT_TRUE(GvcpProbe::ParseDiscoveryAck(payload, sizeof payload, identity));
    EXPECT_EQ("SN-1001-SN-1001-", identity.serialNumber);
    EXPECT_EQ("line-3-left-side", identity.userName);
    EXPECT_EQ("00:0f:31:ab:cd:0e", identity.mac);
    EXPECT_FALSE(GvcpProbe::ParseDiscoveryAck(payload, sizeof payload - 1, identity));
}

TEST(UsbVisionProbe, RecognisesUsb3VisionDevicesByTheirClassCodes)
{
    const UsbInterfaceCodes control{0xEF, 0x05, 0x00}, event{0xEF, 0x05, 0x01},
        stream{0xEF, 0x05, 0x02}, storage{0x08, 0x06, 0x50};
    const struct
    {
        int deviceClass, subclass, protocol;
        std::vector<UsbInterfaceCodes> interfaces;
        bool vision;
    } cases[] = {
        {0xEF, 0x02, 0x01, {control, event, stream}, true},
        {0xEF, 0x02, 0x01, {control}, true},
        {0xEF, 0x02, 0x01, {event, stream}, false}, // no control interface
        {0xEF, 0x02, 0x01, {storage}, false},
        {0x00, 0x00, 0x00, {control}, false}, // class in the interfaces only
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.vision, IsUsbVisionDevice(c.deviceClass, c.subclass, c.protocol, c.interfaces));
}

TEST(UsbVisionProbe, ADeviceWithoutPermissionIsListedAsNotAccessible)
{
    UsbDeniedDevice device{"2-1.4", "Orvex", "kva1280MXU3", "SN-2002"};
    Sighting sighting = SightingOf(device);
    EXPECT_EQ("Orvex-kva1280MXU3-SN-2002", sighting.info.id);
    EXPECT_EQ(HvAccessModeType(HvAccessModeNone), sighting.info.permittedAccess);
    EXPECT_EQ(HvTransportLayerType(HvTransportLayerTypeU3V), sighting.info.type);
    EXPECT_EQ("USB3Vision", sighting.info.interfaceId);
    EXPECT_EQ(DeviceLocation::Kind::Denied, sighting.location.kind);
    // Without a readable serial number the port names it.
    device.serialNumber.clear();
    EXPECT_EQ("usb-2-1.4", SightingOf(device).info.id);
}
