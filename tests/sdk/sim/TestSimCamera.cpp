// Camera behaviour besides File Access: access, faults, memory and
// registers, User Sets, streams and frames.

#include "MapFileFormat.h"
#include "SimCamera.h"
#include "SimTestUtil.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace hvsim;
using Bytes = std::vector<uint8_t>;

namespace {

class CameraTest : public ::testing::Test
{
protected:
    std::string state = simtest::freshFolder("cam");
    std::vector<std::string> disconnected;

    std::unique_ptr<SimCamera> make(CameraConfig c, bool open = true)
    {
        auto cam = std::make_unique<SimCamera>(
            c, state, [this](const std::string& id) { disconnected.push_back(id); });
        if (open) {
            EXPECT_EQ(cam->open(true), Ok);
        }
        return cam;
    }
    static CameraConfig config(size_t i) { return SimConfig::defaults().cameras[i]; }
    static Bytes validMap(uint16_t seed)
    {
        return MapFileFormat::shadingMap(8196, 640, 512, simtest::patternWords(640, 512, seed));
    }
};

TEST_F(CameraTest, OpenCloseAndAccess)
{
    auto cam = make(config(0), false);
    std::string s;
    EXPECT_EQ(cam->features().getString("DeviceModelName", s), NotOpen);
    EXPECT_EQ(cam->close(), NotOpen);
    ASSERT_EQ(cam->open(true), Ok);
    EXPECT_EQ(cam->open(true), InvalidCall);
    EXPECT_EQ(cam->features().getString("DeviceManufacturerInfo", s), Ok);
    EXPECT_EQ(s, "3.2.7 (2026-03-14)");
    EXPECT_EQ(cam->close(), Ok);

    auto held = make(config(3), false);
    EXPECT_FALSE(held->fullAccessPermitted());
    EXPECT_EQ(held->open(true), InvalidAccess);
    EXPECT_EQ(held->open(false), Ok);
}

TEST_F(CameraTest, InterfaceTypeAndItsFault)
{
    int code = 0;
    ASSERT_EQ(make(config(0))->interfaceType(code), Ok);
    EXPECT_EQ(code, 1);
    ASSERT_EQ(make(config(1))->interfaceType(code), Ok);
    EXPECT_EQ(code, 7);
    CameraConfig c = config(0);
    c.faults.failGetInterfaceType = true;
    code = 0;
    EXPECT_EQ(make(c)->interfaceType(code), TransportError);
    EXPECT_EQ(code, 0);
}

TEST_F(CameraTest, FailingWriteChunkLeavesTheStoredMapAlone)
{
    CameraConfig c = config(0);
    c.faults.failOperations.push_back(FailOperation{"Write", 2, -13});
    auto cam = make(c);
    auto r = simtest::upload(cam->features(), validMap(1), "ShadingMap1", "ShadingMap1");
    // The second chunk fails; the close then refuses the incomplete file.
    EXPECT_FALSE(r.ok);
    Bytes stored;
    cam->storedFile("ShadingMap1", "", stored);
    EXPECT_EQ(stored, MapFileFormat::neutralShadingMap(8196, 640, 512));
    auto trace = cam->trace().entries();
    int failedExecutes = 0;
    for (const auto& e : trace)
        failedExecutes += e.feature == "FileOperationExecute" && e.status == -13;
    EXPECT_EQ(failedExecutes, 1);

    // Only the second chunk of each opening fails: after clearing the fault
    // the same upload goes through.
    cam->setFaults(FaultConfig());
    EXPECT_TRUE(simtest::upload(cam->features(), validMap(1), "ShadingMap1", "ShadingMap1").ok);
}

TEST_F(CameraTest, FailingOpenAndFailingFeatureWrite)
{
    CameraConfig c = config(0);
    c.faults.failOperations.push_back(FailOperation{"Open", 0, -12});
    c.faults.failFeatures.push_back(FailFeature{"Shading_Control", "set", -6});
    auto cam = make(c);
    auto& fs = cam->features();
    fs.setEnum("FileSelector", "ShadingMap0");
    fs.setEnum("FileOpenMode", "Read");
    fs.setEnum("FileOperationSelector", "Open");
    EXPECT_EQ(fs.runCommand("FileOperationExecute"), Timeout);
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Close"), NotAvailable); // never opened
    EXPECT_EQ(fs.setInt("Shading_Control", 1), InvalidAccess);
    int64_t v = -1;
    EXPECT_EQ(fs.getInt("Shading_Control", v), Ok);
}

TEST_F(CameraTest, CommandLatencyDelaysOnlyTheDoneState)
{
    CameraConfig c = config(0);
    c.faults.commandLatencyMs["FileOperationExecute"] = 600000;
    auto cam = make(c);
    auto& fs = cam->features();
    fs.setEnum("FileSelector", "ShadingMap0");
    fs.setEnum("FileOpenMode", "Read");
    fs.setEnum("FileOperationSelector", "Open");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    bool done = true;
    ASSERT_EQ(fs.isCommandDone("FileOperationExecute", done), Ok);
    EXPECT_FALSE(done);
    // The open took effect at once.
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Read"), Ok);

    cam->setCommandLatency("FileOperationExecute", 0);
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    fs.isCommandDone("FileOperationExecute", done);
    EXPECT_TRUE(done);

    cam->setCommandLatency("GVSPAdjustPacketSize", -1);
    ASSERT_EQ(cam->stream(0)->runCommand("GVSPAdjustPacketSize"), Ok);
    cam->stream(0)->isCommandDone("GVSPAdjustPacketSize", done);
    EXPECT_FALSE(done);
}

TEST_F(CameraTest, DisconnectDuringTransfer)
{
    CameraConfig c = config(0);
    c.faults.disconnectAfterChunks = 3;
    auto cam = make(c);
    auto r = simtest::upload(cam->features(), validMap(2), "ShadingMap1", "ShadingMap1");
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(disconnected, std::vector<std::string>{"SIM-GIGE-1001"});
    EXPECT_FALSE(cam->isConnected());
    std::string s;
    EXPECT_EQ(cam->features().getString("DeviceModelName", s), TransportError);
    uint8_t b[4];
    uint32_t done = 0;
    EXPECT_EQ(cam->readMemory(SimCamera::kMapArea, b, 4, &done), TransportError);
    Bytes stored;
    cam->storedFile("ShadingMap1", "", stored);
    EXPECT_EQ(stored, MapFileFormat::neutralShadingMap(8196, 640, 512));
    // Three chunks went through before the camera dropped.
    int writes = 0;
    for (const auto& e : cam->trace().entries())
        writes += e.feature == "FileOperationExecute" && e.status == Ok;
    EXPECT_EQ(writes, 1 + 3); // open and three chunks
}

TEST_F(CameraTest, RegistersMirrorTheShadingFeaturesInTheTransportByteOrder)
{
    auto cam = make(config(0));
    auto& fs = cam->features();
    ASSERT_EQ(fs.setInt("Shading_MapSelect", 2), Ok);
    ASSERT_EQ(fs.setInt("Shading_Control", 1), Ok);
    uint8_t b[4] = {};
    uint32_t done = 0;
    ASSERT_EQ(cam->readMemory(SimCamera::kShadingMapSelectRegister, b, 4, &done), Ok);
    EXPECT_EQ(done, 4u);
    EXPECT_EQ(Bytes(b, b + 4), (Bytes{0, 0, 0, 2})); // GigE Vision: big-endian
    const uint8_t off[4] = {0, 0, 0, 0};
    ASSERT_EQ(cam->writeMemory(SimCamera::kShadingControlRegister, off, 4, &done), Ok);
    int64_t v = -1;
    fs.getInt("Shading_Control", v);
    EXPECT_EQ(v, 0);
    const uint8_t bad[4] = {0, 0, 0, 9};
    EXPECT_EQ(cam->writeMemory(SimCamera::kShadingMapSelectRegister, bad, 4, &done), InvalidValue);
    EXPECT_EQ(cam->readMemory(SimCamera::kShadingControlRegister, b, 2, &done), InvalidAccess);
    EXPECT_EQ(cam->readMemory(0x1000, b, 4, &done), InvalidAccess);

    CameraConfig usb = config(0);
    usb.transport = "USB3";
    usb.serial = "USBREG";
    auto u = make(usb);
    u->features().setInt("Shading_MapSelect", 3);
    ASSERT_EQ(u->readMemory(SimCamera::kShadingMapSelectRegister, b, 4, &done), Ok);
    EXPECT_EQ(Bytes(b, b + 4), (Bytes{3, 0, 0, 0}));
}

TEST_F(CameraTest, MapAreaHoldsTheSelectedMapAndTakesRawWrites)
{
    {
        auto cam = make(config(0));
        ASSERT_TRUE(simtest::upload(cam->features(), validMap(9), "ShadingMap1", "ShadingMap1").ok);
        cam->features().setInt("Shading_MapSelect", 1);
        cam->close();
        ASSERT_EQ(cam->open(true), Ok);
        Bytes area(512);
        uint32_t done = 0;
        ASSERT_EQ(cam->readMemory(SimCamera::kMapArea, area.data(), 512, &done), Ok);
        Bytes words = MapFileFormat::mapBytes(validMap(9));
        EXPECT_EQ(area, Bytes(words.begin(), words.begin() + 512));

        Bytes block(512, 0x5A);
        const uint64_t last = SimCamera::kMapArea + 2 * 640 * 512 - 512;
        ASSERT_EQ(cam->writeMemory(last, block.data(), 512, &done), Ok);
        EXPECT_EQ(done, 512u);
        Bytes back(512);
        cam->readMemory(last, back.data(), 512, &done);
        EXPECT_EQ(back, block);
        EXPECT_EQ(cam->writeMemory(last + 2, block.data(), 512, &done), InvalidAccess);
    }
}

TEST_F(CameraTest, UserSetSaveRefusesTheDefaultSetAndPersists)
{
    {
        auto cam = make(config(0));
        auto& fs = cam->features();
        std::string set;
        fs.getEnum("UserSetSelector", set);
        EXPECT_EQ(set, "Default");
        EXPECT_EQ(fs.runCommand("UserSetSave"), InvalidAccess);
        ASSERT_EQ(fs.setEnum("UserSetSelector", "UserSet1"), Ok);
        fs.setFloat("ExposureTime", 12345.0);
        fs.setInt("Shading_Control", 1);
        ASSERT_EQ(fs.runCommand("UserSetSave"), Ok);
    }
    auto cam = make(config(0));
    auto& fs = cam->features();
    fs.setEnum("UserSetSelector", "UserSet1");
    ASSERT_EQ(fs.runCommand("UserSetLoad"), Ok);
    double e = 0;
    int64_t on = 0;
    fs.getFloat("ExposureTime", e);
    fs.getInt("Shading_Control", on);
    EXPECT_DOUBLE_EQ(e, 12345.0);
    EXPECT_EQ(on, 1);
    fs.setEnum("UserSetSelector", "UserSet2");
    EXPECT_EQ(fs.runCommand("UserSetLoad"), NotAvailable);
}

TEST_F(CameraTest, StreamsOfEachTransport)
{
    auto gige = make(config(0));
    ASSERT_EQ(gige->streamCount(), 1u);
    SimFeatureSet& s = *gige->stream(0);
    std::string protocol;
    ASSERT_EQ(s.getEnum("GVSPProtocol", protocol), Ok);
    EXPECT_EQ(protocol, "UDP");
    int64_t size = 0;
    s.getInt("GVSPPacketSize", size);
    EXPECT_EQ(size, 1500);
    ASSERT_EQ(s.runCommand("GVSPAdjustPacketSize"), Ok);
    s.getInt("GVSPPacketSize", size);
    EXPECT_EQ(size, 8164);
    EXPECT_EQ(gige->trace().entries().back().scope, "stream0");

    auto usb = make(config(1));
    ASSERT_EQ(usb->streamCount(), 1u);
    EXPECT_FALSE(usb->stream(0)->has("GVSPAdjustPacketSize"));

    CameraConfig tcp = config(0);
    tcp.serial = "TCP1";
    tcp.streams = {StreamConfig{"TCP", 1500, 8164}, StreamConfig{"", 1500, 9000}};
    auto t = make(tcp);
    ASSERT_EQ(t->streamCount(), 2u);
    t->stream(0)->getEnum("GVSPProtocol", protocol);
    EXPECT_EQ(protocol, "TCP");
    EXPECT_FALSE(t->stream(1)->has("GVSPProtocol"));
    EXPECT_TRUE(t->stream(1)->has("GVSPAdjustPacketSize"));
}

TEST_F(CameraTest, ExtraFeaturesFromTheConfiguration)
{
    CameraConfig c;
    std::string error;
    ASSERT_TRUE(SimConfig::parseCamera(R"({"id": "X", "width": 8, "height": 8, "extraFeatures": [
        {"name": "Brightness", "type": "Integer", "min": 10, "max": 100, "increment": 5},
        {"name": "Ratio", "type": "Float", "value": 1.5, "min": 0, "max": 10, "increment": 0.5},
        {"name": "Mode", "type": "Enumeration", "value": 1,
         "entries": [{"name": "A", "value": 0}, {"name": "B", "value": 1},
                     {"name": "C", "value": 2, "available": false}]},
        {"name": "Label", "type": "String", "value": "hi", "access": "RO"},
        {"name": "Flag", "type": "Boolean", "access": "WO"},
        {"name": "Trigger", "type": "Command", "latencyMs": -1},
        {"name": "Blob", "type": "Register", "length": 16},
        {"name": "Odd", "type": "Unknown"}]})",
                                       c, &error))
        << error;
    auto cam = make(c);
    auto& fs = cam->features();
    int64_t i = 0;
    fs.getInt("Brightness", i);
    EXPECT_EQ(i, 10);
    EXPECT_EQ(fs.setInt("Brightness", 12), InvalidValue);
    EXPECT_EQ(fs.setInt("Brightness", 15), Ok);
    EXPECT_EQ(fs.setFloat("Ratio", 1.25), InvalidValue);
    EXPECT_EQ(fs.setFloat("Ratio", 2.5), Ok);
    std::string text;
    fs.getEnum("Mode", text);
    EXPECT_EQ(text, "B");
    EXPECT_EQ(fs.setEnum("Mode", "C"), NotAvailable);
    EXPECT_EQ(fs.getString("Label", text), Ok);
    EXPECT_EQ(text, "hi");
    EXPECT_EQ(fs.setString("Label", "x"), InvalidAccess);
    bool b = false;
    EXPECT_EQ(fs.getBool("Flag", b), InvalidAccess);
    EXPECT_EQ(fs.setBool("Flag", true), Ok);
    ASSERT_EQ(fs.runCommand("Trigger"), Ok);
    bool done = true;
    fs.isCommandDone("Trigger", done);
    EXPECT_FALSE(done);
    size_t length = 0;
    fs.registerLength("Blob", length);
    EXPECT_EQ(length, 16u);
    FeatureType type = FeatureType::Integer;
    Access access;
    ASSERT_EQ(fs.info("Odd", type, access), Ok);
    EXPECT_EQ(type, FeatureType::Unknown);
    EXPECT_EQ(fs.getInt("Odd", i), WrongType);

    CameraConfig bad;
    EXPECT_FALSE(SimConfig::parseCamera(
        R"({"id": "X", "extraFeatures": [{"name": "Q", "type": "Quaternion"}]})", bad, &error));
    EXPECT_NE(error.find("Quaternion"), std::string::npos);
}

TEST_F(CameraTest, FramesComeFromAPlausibleSensor)
{
    auto cam = make(config(0));
    SimFrame a, b;
    ASSERT_EQ(cam->acquireSingleImage(a), Ok);
    ASSERT_EQ(cam->acquireSingleImage(b), Ok);
    EXPECT_EQ(a.width, 640u);
    EXPECT_EQ(a.height, 512u);
    EXPECT_EQ(a.pixelFormat, "Mono8");
    ASSERT_EQ(a.pixels.size(), 640u * 512u);
    EXPECT_EQ(b.frameId, a.frameId + 1);
    EXPECT_NE(a.pixels, b.pixels) << "frames carry temporal noise";

    auto mean = [](const Bytes& p, size_t x0, size_t y0) {
        double sum = 0;
        for (size_t y = y0; y < y0 + 32; ++y)
            for (size_t x = x0; x < x0 + 32; ++x)
                sum += p[y * 640 + x];
        return sum / 1024;
    };
    // Lens falloff: the centre is brighter than a corner.
    EXPECT_GT(mean(a.pixels, 304, 240), mean(a.pixels, 0, 0) * 1.15);

    // Lens cap on: only the dark offset, a few percent of full scale.
    cam->features().setFloat("SimulatedIllumination", 0.0);
    SimFrame dark;
    cam->acquireSingleImage(dark);
    double m = mean(dark.pixels, 304, 240);
    EXPECT_GT(m, 2.0);
    EXPECT_LT(m, 12.0);

    auto usb = make(config(1));
    SimFrame u;
    ASSERT_EQ(usb->acquireSingleImage(u), Ok);
    EXPECT_EQ(u.pixelFormat, "Mono12");
    ASSERT_EQ(u.pixels.size(), 2u * 1280 * 1024);
    uint16_t maxValue = 0;
    for (size_t i = 0; i < u.pixels.size(); i += 2)
        maxValue = std::max<uint16_t>(maxValue, uint16_t(u.pixels[i] | u.pixels[i + 1] << 8));
    EXPECT_LE(maxValue, 4095);
    EXPECT_GT(maxValue, 255);
}

} // namespace
