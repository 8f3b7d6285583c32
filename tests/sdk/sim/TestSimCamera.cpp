// Simulated cameras besides File Access, through the SDK: faults, hot plug
// by the controls and by the configuration file, registers and the map
// area, User Sets, streams and frames.

#include "SimTestUtil.h"

using namespace simtest;
using hvsim::MapFileFormat;
using SdkTest::Expected;
using SdkTest::Summary;

namespace {

const char* const kGige = "SIM-GIGE-1001";

class SimCamera : public SimSession
{
};

int failedExecutes(const std::vector<HvxSim::TraceEntry>& trace, int status)
{
    int n = 0;
    for (const auto& e : trace)
        n += e.feature == "FileOperationExecute" && e.op == "execute" && e.status == status;
    return n;
}

TEST_F(SimCamera, FailingOperationsLeaveTheStoredMapAlone)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    EXPECT_EQ(control()->SetFaults("NOPE", "{}"), -3);
    EXPECT_EQ(control()->SetFaults(kGige, "{oops"), -7);
    ASSERT_EQ(control()->SetFaults(kGige, R"({"failOperations": [{"operation": "Write", "chunk": 2},
        {"operation": "Open", "chunk": 2, "code": -12}],
        "failFeatures": [{"feature": "Shading_Control", "op": "set", "code": -6}]})"),
              0);
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    Features fs(*cam);
    const Bytes map = patternMap(8196, 640, 512, 1);
    // The second chunk fails; the close then refuses the incomplete file.
    EXPECT_FALSE(upload(fs, map, "ShadingMap1"));
    EXPECT_EQ(stored(kGige, "ShadingMap1"), MapFileFormat::neutralShadingMap(8196, 640, 512));
    EXPECT_EQ(failedExecutes(trace(kGige), HvErrorOther), 1);
    // The second Open fails with its code and nothing is open afterwards.
    EXPECT_EQ(fs.openFile("ShadingMap0", "Read"), HvErrorTimeout);
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Failure");
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Close"), HvErrorInvalidValue);
    EXPECT_EQ(fs.setInt("Shading_Control", 1), HvErrorInvalidAccess);
    EXPECT_EQ(fs.getInt("Shading_Control"), 0);
    // Cleared, the same upload goes through.
    ASSERT_EQ(control()->ClearFaults(kGige), 0);
    EXPECT_TRUE(upload(fs, map, "ShadingMap1"));
    EXPECT_EQ(stored(kGige, "ShadingMap1"), map);
}

// A slow command acts at once and is done late; a hung operation is never
// done and never acts.
TEST_F(SimCamera, CommandLatencyDelaysOnlyTheDoneStateAndAHungCloseDoesNothing)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(control()->SetCommandLatency(kGige, "FileOperationExecute", 600000), 0);
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    Features fs(*cam);
    fs.setEnum("FileSelector", "ShadingMap0");
    fs.setEnum("FileOpenMode", "Read");
    fs.setEnum("FileOperationSelector", "Open");
    EXPECT_EQ(fs.command("FileOperationExecute", 50), HvErrorTimeout);
    // The open took effect at once.
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Read"), HvErrorSuccess);
    ASSERT_EQ(control()->SetCommandLatency(kGige, "FileOperationExecute", 0), 0);
    EXPECT_EQ(fs.command("FileOperationExecute", 50), HvErrorSuccess);

    const Bytes map = patternMap(8196, 640, 512, 4);
    ASSERT_EQ(control()->SetFaults(kGige, R"({"failOperations": [{"operation": "Close",
                                              "chunk": 1, "hang": true}]})"),
              0);
    EXPECT_FALSE(upload(fs, map, "ShadingMap1"));
    EXPECT_EQ(stored(kGige, "ShadingMap1"), MapFileFormat::neutralShadingMap(8196, 640, 512));
    // Still open: a second open is refused, the next close stores the file.
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Open"), HvErrorInvalidValue);
    EXPECT_EQ(fs.operation("Close"), HvErrorSuccess);
    EXPECT_EQ(stored(kGige, "ShadingMap1"), map);
}

TEST_F(SimCamera, DisconnectDuringATransferAndAFailingInterfaceType)
{
    auto observer = std::make_shared<SdkTest::Recorder>();
    ASSERT_EQ(sys.RegisterCameraListObserver(observer), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(control()->SetFaults(kGige, R"({"failGetInterfaceType": true,
                                              "disconnectAfterChunks": 3})"),
              0);
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    HvTransportLayerType type = 0;
    EXPECT_NE(cam->GetInterfaceType(type), HvErrorSuccess);
    EXPECT_FALSE(upload(Features(*cam), patternMap(8196, 640, 512, 2), "ShadingMap1"));
    EXPECT_EQ(Summary(observer->WaitFor(2)),
              (Expected{{"sim::SIM-GIGE-1001", 3}, {"sim::SIM-GIGE-1001", 1}}));
    sys.UnregisterCameraListObserver(observer);
    int64_t width = 0;
    EXPECT_EQ(Features(*cam).with("Width", [&](Hvx::Feature& f) { return f.GetIntValue(width); }),
              HvErrorOther)
        << "a camera that dropped off answers no more";
    ASSERT_EQ(sys.Shutdown(), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    EXPECT_EQ(stored(kGige, "ShadingMap1"), MapFileFormat::neutralShadingMap(8196, 640, 512));
}

TEST_F(SimCamera, HotPlugByTheControlsReachesObserversOnTheirThread)
{
    auto observer = std::make_shared<SdkTest::Recorder>();
    ASSERT_EQ(sys.RegisterCameraListObserver(observer), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(control()->AddCamera(R"({"id": "HOT-1", "width": 64, "height": 32})"), 0);
    observer->WaitFor(1);
    Hvx::CameraPtr hot = open("sim::HOT-1");
    ASSERT_EQ(control()->RemoveCamera("HOT-1"), 0);
    const auto events = observer->WaitFor(3);
    EXPECT_EQ(Summary(events), (Expected{{"sim::HOT-1", 0}, {"sim::HOT-1", 3}, {"sim::HOT-1", 1}}));
    for (const auto& event : events)
        EXPECT_NE(event.thread, std::this_thread::get_id());
    unsigned int count = 0;
    sys.GetCameras(nullptr, count);
    EXPECT_EQ(count, 4u);
    sys.UnregisterCameraListObserver(observer);
}

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

TEST_F(SimCamera, RegistersMirrorTheShadingFeaturesInTheTransportByteOrder)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(control()->AddCamera(R"({"id": "U-1", "transport": "USB3", "width": 64,
                                       "height": 32, "shadingControl": true,
        "files": [{"selector": "S0", "kind": "shadingMap"}, {"selector": "S1", "kind": "shadingMap"},
                  {"selector": "S2", "kind": "shadingMap"}, {"selector": "S3", "kind": "shadingMap"}]})"),
              0);
    const std::pair<const char*, Bytes> cases[] = {{"sim::SIM-GIGE-1001", {0, 0, 0, 3}},
                                                   {"sim::U-1", {3, 0, 0, 0}}};
    for (const auto& [id, expected] : cases) {
        SCOPED_TRACE(id);
        Hvx::CameraPtr cam = open(id);
        Features fs(*cam);
        ASSERT_EQ(fs.setInt("Shading_MapSelect", 3), HvErrorSuccess);
        Bytes reg(4);
        unsigned int done = 0;
        ASSERT_EQ(cam->ReadMemory(0x105FFFE4, reg.data(), 4, &done), HvErrorSuccess);
        EXPECT_EQ(done, 4u);
        EXPECT_EQ(reg, expected);
        ASSERT_EQ(fs.setInt("Shading_Control", 1), HvErrorSuccess);
        ASSERT_EQ(cam->WriteMemory(0x105FFFE0, Bytes(4, 0).data(), 4, &done), HvErrorSuccess);
        EXPECT_EQ(fs.getInt("Shading_Control"), 0);
        EXPECT_EQ(cam->WriteMemory(0x105FFFE4, Bytes{9, 0, 0, 9}.data(), 4, &done),
                  HvErrorInvalidValue);
        EXPECT_EQ(cam->ReadMemory(0x105FFFE0, reg.data(), 2, &done), HvErrorInvalidAccess);
        EXPECT_EQ(cam->ReadMemory(0x105FFFE0, nullptr, 4, &done), HvErrorBadParameter);
        EXPECT_EQ(cam->ReadMemory(0x105FFFE0, reg.data(), 0, &done), HvErrorBadParameter);
    }
}

TEST_F(SimCamera, MapAreaHoldsTheSelectedMapAndTakesRawWrites)
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

    const Bytes block(512, 0x5A);
    const uint64_t last = 0x10100000 + 2 * 640 * 512 - 512;
    ASSERT_EQ(cam->WriteMemory(last, block.data(), 512, &done), HvErrorSuccess);
    EXPECT_EQ(done, 512u);
    ASSERT_EQ(cam->ReadMemory(last, area.data(), 512, &done), HvErrorSuccess);
    EXPECT_EQ(area, block);
    EXPECT_EQ(cam->WriteMemory(last + 2, block.data(), 512, &done), HvErrorInvalidAccess);
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

TEST_F(SimCamera, SettingsOutliveTheProgramAndUserSetsRestoreThem)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    {
        Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
        Features fs(*cam);
        EXPECT_EQ(fs.getEnum("UserSetSelector"), "Default");
        EXPECT_EQ(fs.command("UserSetSave"), HvErrorInvalidAccess);
        ASSERT_EQ(fs.setEnum("UserSetSelector", "UserSet1"), HvErrorSuccess);
        ASSERT_EQ(fs.setInt("Shading_Control", 1), HvErrorSuccess);
        ASSERT_EQ(fs.command("UserSetSave"), HvErrorSuccess);
        ASSERT_EQ(fs.command("AcquisitionStart"), HvErrorSuccess);
    }
    ASSERT_EQ(sys.Shutdown(), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    // The camera stayed powered: it kept its settings. The set restores them.
    Hvx::CameraPtr cam = open("sim::SIM-GIGE-1001");
    Features fs(*cam);
    EXPECT_EQ(fs.getInt("Shading_Control"), 1);
    EXPECT_EQ(fs.getEnum("UserSetSelector"), "UserSet1");
    EXPECT_EQ(fs.getInt("TLParamsLocked"), 0) << "the stream ended with its program";
    ASSERT_EQ(fs.setInt("Shading_Control", 0), HvErrorSuccess);
    ASSERT_EQ(fs.command("UserSetLoad"), HvErrorSuccess);
    EXPECT_EQ(fs.getInt("Shading_Control"), 1);
    fs.setEnum("UserSetSelector", "UserSet2");
    EXPECT_NE(fs.command("UserSetLoad"), HvErrorSuccess) << "never saved";
}

TEST_F(SimCamera, StreamsAndFramesOfEachTransport)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr gige = open("sim::SIM-GIGE-1001");
    Hvx::StreamPtr stream;
    unsigned int count = 1;
    ASSERT_EQ(gige->GetStreams(&stream, count), HvErrorSuccess);
    Features sf(*stream);
    EXPECT_EQ(sf.getEnum("GVSPProtocol"), "UDP");
    EXPECT_EQ(sf.getInt("GVSPPacketSize"), 1500);
    EXPECT_EQ(sf.command("GVSPAdjustPacketSize"), HvErrorSuccess);
    EXPECT_EQ(sf.getInt("GVSPPacketSize"), 8164);
    EXPECT_EQ(trace(kGige).back().scope, "stream0");

    auto mean = [](const Hvx::FramePtr& frame, size_t x0, size_t y0) {
        const unsigned char* p = nullptr;
        frame->GetImage(p);
        double sum = 0;
        for (size_t y = y0; y < y0 + 32; ++y)
            for (size_t x = x0; x < x0 + 32; ++x)
                sum += p[y * 640 + x];
        return sum / 1024;
    };
    Hvx::FramePtr a, b;
    ASSERT_EQ(gige->AcquireSingleImage(a, 1000), HvErrorSuccess);
    ASSERT_EQ(gige->AcquireSingleImage(b, 1000), HvErrorSuccess);
    EXPECT_NE(mean(a, 304, 240), mean(b, 304, 240)) << "frames carry temporal noise";
    // Lens falloff: the centre is brighter than a corner.
    EXPECT_GT(mean(a, 304, 240), mean(a, 0, 0) * 1.15);
    // Lens cap on: only the dark offset, 48 offset steps of a quarter level.
    ASSERT_EQ(Features(*gige).with("SimulatedIllumination",
                                   [](Hvx::Feature& f) { return f.SetFloatValue(0.0); }),
              HvErrorSuccess);
    ASSERT_EQ(gige->AcquireSingleImage(a, 1000), HvErrorSuccess);
    EXPECT_NEAR(mean(a, 304, 240), 12.0, 1.0);

    Hvx::CameraPtr usb = open("sim::SIM-U3V-2001");
    ASSERT_EQ(usb->GetStreams(&stream, count), HvErrorSuccess);
    Hvx::FeaturePtr adjust;
    EXPECT_EQ(stream->GetFeatureByName("GVSPAdjustPacketSize", adjust), HvErrorNotFound);
    ASSERT_EQ(usb->AcquireSingleImage(a, 1000), HvErrorSuccess);
    HvPixelFormatType format = 0;
    uint32_t size = 0;
    const unsigned char* p = nullptr;
    a->GetPixelFormat(format);
    a->GetImageSize(size);
    a->GetImage(p);
    EXPECT_EQ(format, HvPixelFormatType(HvPixelFormatMono12));
    ASSERT_EQ(size, 2u * 1280 * 1024);
    uint16_t maxValue = 0;
    for (size_t i = 0; i < size; i += 2)
        maxValue = std::max<uint16_t>(maxValue, uint16_t(p[i] | p[i + 1] << 8));
    EXPECT_LE(maxValue, 4095);
    EXPECT_GT(maxValue, 255);
}

} // namespace
