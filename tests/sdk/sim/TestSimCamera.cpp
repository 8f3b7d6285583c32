// Simulated cameras besides File Access, through the SDK: hot plug through
// the configuration file, the map area and the frames a selected map
// corrects, what a streaming or read-only camera refuses. Faults, registers,
// User Sets and hot plug by the controls are tested by the camera layer's
// tests on the same simulator, settings that outlive the program by
// orvex-nuc's.

#include "SimTestUtil.h"

using namespace simtest;
using hvsim::MapFileFormat;
using SdkTest::Expected;
using SdkTest::Summary;

namespace {

class SimCamera : public SimSession
{
};

TEST_F(SimCamera, HotPlugThroughTheConfigurationFile)
{
    const std::string a = R"({"id": "A", "width": 64, "height": 32})";
    const std::string b = R"({"id": "B", "width": 64, "height": 32})";
    const std::string c = R"({"id": "C", "width": 64, "height": 32})";
    writeFile(configPath, "{ not json");
    ::setenv("HVX_SIM_CONFIG", configPath.c_str(), 1);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    unsigned int count = 9;
    EXPECT_EQ(sys.GetCameras(nullptr, count), HvErrorSuccess);
    EXPECT_EQ(count, 0u) << "an unreadable file at start gives no cameras";
    ASSERT_EQ(sys.Shutdown(), HvErrorSuccess);

    useConfig(a + "," + b);
    auto observer = std::make_shared<SdkTest::Recorder>();
    ASSERT_EQ(sys.RegisterCameraListObserver(observer), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr camB = open("sim::B");
    // Settings of A change: it leaves and arrives anew. B's faults alone
    // change: it stays open, and the faults apply at once.
    useConfig(R"({"id": "A", "width": 128, "height": 32},
                 {"id": "B", "width": 64, "height": 32, "faults": {"failGetInterfaceType": true}})");
    const Expected first{{"sim::B", 3}, {"sim::A", 1}, {"sim::A", 0}};
    EXPECT_EQ(Summary(observer->WaitFor(3)), first);
    HvTransportLayerType type = 0;
    EXPECT_NE(camB->GetInterfaceType(type), HvErrorSuccess);
    EXPECT_EQ(Features(*camB).getInt("Width"), 64);
    // A half-saved file changes nothing; then A goes and C comes.
    writeFile(configPath, R"({"cameras": [)");
    useConfig(b + "," + c);
    Expected all = first;
    all.insert(all.end(), {{"sim::A", 1}, {"sim::C", 0}});
    EXPECT_EQ(Summary(observer->WaitFor(5)), all);
    sys.UnregisterCameraListObserver(observer);
}

TEST_F(SimCamera, MapAreaHoldsTheSelectedMapAndEndsWithTheSensor)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    const Bytes map = patternMap(8196, 640, 512, 9);
    ASSERT_TRUE(upload(Features(*cam), map, "ShadingMap1"));
    ASSERT_EQ(Features(*cam).setInt("Shading_MapSelect", 1), HvErrorSuccess);
    ASSERT_EQ(cam->Close(), HvErrorSuccess);
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    Bytes area(512);
    unsigned int done = 0;
    ASSERT_EQ(cam->ReadMemory(0x10100000, area.data(), 512, &done), HvErrorSuccess);
    const Bytes words = MapFileFormat::mapBytes(map);
    EXPECT_EQ(area, Bytes(words.begin(), words.begin() + 512));
    const uint64_t last = 0x10100000 + 2 * 640 * 512 - 512;
    EXPECT_EQ(cam->WriteMemory(last + 2, area.data(), 512, &done), HvErrorInvalidAccess);
}

// Switched on, the selected map corrects the frames: gain code 1023 on
// every pixel nearly doubles a dark frame, which the factory map of the
// first entry would leave as it is.
TEST_F(SimCamera, FramesAreCorrectedWithTheSelectedMap)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    Features fs(*cam);
    const std::vector<uint16_t> words(640 * 512, 1023);
    ASSERT_TRUE(upload(fs, MapFileFormat::shadingMap(8196, 640, 512, words), "ShadingMap1"));
    ASSERT_EQ(fs.setInt("Shading_MapSelect", 1), HvErrorSuccess);
    ASSERT_EQ(
        fs.with("SimulatedIllumination", [](Hvx::Feature& f) { return f.SetFloatValue(0.0); }),
        HvErrorSuccess);
    auto mean = [&] {
        Hvx::FramePtr frame;
        EXPECT_EQ(cam->AcquireSingleImage(frame, 1000), HvErrorSuccess);
        const unsigned char* p = nullptr;
        if (!frame || frame->GetImage(p) != HvErrorSuccess)
            return -1.0;
        double sum = 0;
        for (size_t i = 0; i < 640 * 512; ++i)
            sum += p[i];
        return sum / (640 * 512);
    };
    const double off = mean();
    ASSERT_EQ(fs.setInt("Shading_Control", 1), HvErrorSuccess);
    const double on = mean();
    EXPECT_GT(off, 5.0);
    EXPECT_GT(on, 1.8 * off);
}

// A streaming camera keeps its files shut and a camera with an open file
// does not start streaming; "TLParamsLocked", set by the start or by the
// host, holds the image and packet parameters.
TEST_F(SimCamera, AcquisitionAndFileAccessExcludeEachOtherAndTheLockHoldsParameters)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    Features fs(*cam);
    auto setMode = [&](const char* mode) { return fs.setEnum("AcquisitionMode", mode); };
    ASSERT_EQ(fs.openFile("ShadingMap0", "Read"), HvErrorSuccess);
    EXPECT_EQ(fs.command("AcquisitionStart"), HvErrorInvalidAccess);
    ASSERT_EQ(fs.operation("Close"), HvErrorSuccess);
    ASSERT_EQ(fs.command("AcquisitionStart"), HvErrorSuccess);
    EXPECT_EQ(setMode("SingleFrame"), HvErrorInvalidAccess);
    EXPECT_EQ(fs.openFile("ShadingMap0", "Read"), HvErrorInvalidAccess);
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Failure");
    ASSERT_EQ(fs.command("AcquisitionStop"), HvErrorSuccess);
    EXPECT_EQ(setMode("SingleFrame"), HvErrorSuccess);
    ASSERT_EQ(fs.setInt("TLParamsLocked", 1), HvErrorSuccess);
    EXPECT_EQ(setMode("Continuous"), HvErrorInvalidAccess);
    EXPECT_EQ(fs.openFile("ShadingMap0", "Read"), HvErrorSuccess) << "locked, not streaming";
}

TEST_F(SimCamera, ReadOnlyOpeningOfTheHeldCameraRefusesEveryWrite)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr held = byId("sim::SIM-GIGE-4001");
    EXPECT_EQ(held->Open(HvAccessModeFull), HvErrorInvalidAccess);
    ASSERT_EQ(held->Open(HvAccessModeRead), HvErrorSuccess);
    Features fs(*held);
    EXPECT_EQ(fs.getInt("Width"), 640);
    EXPECT_EQ(fs.setInt("Width", 320), HvErrorInvalidAccess);
    EXPECT_EQ(fs.command("AcquisitionStart"), HvErrorInvalidAccess);
    unsigned int done = 0;
    EXPECT_EQ(held->WriteMemory(0x105FFFE0, Bytes(4, 0).data(), 4, &done), HvErrorInvalidAccess);
}

} // namespace
