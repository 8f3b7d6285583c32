// The Aravis transport layer against orvex-sim-gev, reached by unicast on
// 127.0.0.4x with discovery off: features of every type with the SDK's codes,
// a camera another host controls, and device files moved through the camera
// layer, with faults on the wire. Each test serves a camera of its own.

#include "AravisTestSupport.h"
#include "GevTestSupport.h"

#include "DeviceFileStore.h"
#include "MapFileFormat.h"
#include "OxCamera.h"
#include "TestFiles.h"

#include <QFile>

#include <chrono>
#include <random>
#include <thread>

using namespace AravisTest;
using Bytes = std::vector<unsigned char>;

namespace {

const int kWidth = 1280, kHeight = 1024;

Bytes Map(unsigned seed)
{
    std::vector<uint16_t> words(kWidth * kHeight);
    std::mt19937 rng(seed);
    for (auto& w : words)
        w = uint16_t(rng() & 0xFFF);
    return hvsim::MapFileFormat::shadingMap(8193, kWidth, kHeight, words);
}

class GevCamera : public ::testing::Test
{
protected:
    // Serves the camera (with `faults`, a JSON object) at `address` and finds
    // it there through the module.
    void Serve(const std::string& address, const std::string& faults = "{}")
    {
        const std::string config = writeConfig(address, R"({"cameras": [{"id": "MAP-1",
            "width": 1280, "height": 1024, "pixelFormat": "Mono12", "shadingControl": true,
            "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
                      {"selector": "ShadingMap1", "kind": "shadingMap", "chunkId": 8194},
                      {"selector": "Notes", "kind": "plain"}],
            "faults": )" + faults + "}]}");
        state = testDir(address + "-state");
        gev = std::make_unique<GevProcess>(address, "MAP-1", state, config);
        ASSERT_TRUE(gev->ready);
        session = std::make_unique<Session>("none");
        ASSERT_EQ(HvErrorSuccess, System().AddCameraByAddress(address.c_str(), camera));
    }
    void OpenFull()
    {
        ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
        ox = std::make_unique<OxCamera>(camera, nullptr);
    }
    void TearDown() override
    {
        ox.reset();
        if (camera)
            camera->Close();
        camera.reset();
        session.reset();
        if (gev) {
            EXPECT_EQ(0, gev->stop());
        }
        gev.reset();
    }
    Bytes Stored(const std::string& key)
    {
        std::vector<uint8_t> bytes;
        hvsim::DeviceFileStore(state + "/" + hvsim::DeviceFileStore::safeName("MAP-1"))
            .load(key, bytes);
        return bytes;
    }
    // Keeps the first line the module logged during the upload.
    bool Upload(const char* selector, const Bytes& bytes)
    {
        long written = -1;
        ::testing::internal::CaptureStderr();
        const bool ok =
            ox->UploadBuffer(bytes, "", selector, &written) && written == long(bytes.size());
        const std::string log = ::testing::internal::GetCapturedStderr();
        logged = log.substr(0, log.find('\n'));
        return ok;
    }
    Bytes Download(const char* selector)
    {
        const std::string path = state + "/downloaded";
        long read = -1;
        QFile::remove(QString::fromStdString(path));
        if (!ox->DownloadDeviceFile(path.c_str(), "", selector, &read))
            return {};
        const QByteArray all = readFile(QString::fromStdString(path));
        EXPECT_EQ(long(all.size()), read);
        return Bytes(all.begin(), all.end());
    }

    std::string state;
    std::unique_ptr<GevProcess> gev;
    std::unique_ptr<Session> session;
    Hvx::CameraPtr camera;
    std::unique_ptr<OxCamera> ox;
    std::string logged;
};

} // namespace

// Features of every type with the codes the camera's refusals become; the
// User Set the camera saves holds the values, and the user name written is
// the camera's name when it is found again.
TEST_F(GevCamera, FeaturesOfEveryTypeWithTheirErrors)
{
    Serve("127.0.0.41");
    OpenFull();
    ExpectWrites(camera, {
                             {"Shading_MapSelect", "1", HvErrorSuccess, "1"},
                             {"Shading_MapSelect", "2", HvErrorInvalidValue, "1"}, // two maps only
                             {"Gain", "6.5", HvErrorSuccess, "6.500000"},
                             {"Gain", "99", HvErrorInvalidValue, "6.500000"},
                             {"ReverseX", "1", HvErrorSuccess, "1"},
                             {"UserSetSelector", "UserSet2", HvErrorSuccess, "UserSet2"},
                             {"UserSetSelector", "UserSet9", HvErrorInvalidValue, "UserSet2"},
                             {"DeviceUserID", "bench-3", HvErrorSuccess, "bench-3"},
                             {"Width", "320", HvErrorInvalidAccess, "1280"},
                         });
    Hvx::FeaturePtr missing;
    EXPECT_EQ(HvErrorNotFound, camera->GetFeatureByName("Shading_Missing", missing));
    ASSERT_EQ(HvErrorSuccess, Feature(camera, "UserSetSave")->RunCommand());
    const Bytes saved = Stored("UserSet2.json");
    EXPECT_EQ(R"({"ExposureTime":10000.0,"Gain":6.5,"Shading_Control":0,"Shading_MapSelect":1})",
              std::string(saved.begin(), saved.end()));
    Hvx::CameraPtr again;
    ASSERT_EQ(HvErrorSuccess, System().AddCameraByAddress("127.0.0.41", again));
    EXPECT_EQ("bench-3",
              SdkTest::Text([&](char* b, unsigned int& l) { return again->GetName(b, l); }));
}

// Another host holds the control channel: the camera is listed for reading
// only, a full open is refused, a reading one works and cannot write. Once
// that host lets go the camera opens fully and the other host is refused at
// once (not left to time out); a host with exclusive control leaves not even
// reading, and one that falls silent loses control when its heartbeat runs
// out.
TEST_F(GevCamera, ControlHeldByAnotherHost)
{
    Serve("127.0.0.42");
    RawHost other(gev->address);
    ASSERT_EQ(0, other.writeReg(0x0A00, 2, 1));
    ASSERT_EQ(0, other.writeReg(0x0938, 60000, 2)); // a long heartbeat
    ASSERT_EQ(HvErrorSuccess, System().AddCameraByAddress(gev->address.c_str(), camera));
    HvAccessModeType access = 0;
    camera->GetPermittedAccess(access);
    EXPECT_EQ(HvAccessModeType(HvAccessModeRead), access);
    EXPECT_EQ(HvErrorInvalidAccess, camera->Open(HvAccessModeFull));
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeRead));
    EXPECT_EQ("1280", Value(*Feature(camera, "Width")));
    EXPECT_EQ(HvErrorInvalidAccess, Feature(camera, "Gain")->SetFloatValue(3.0));
    EXPECT_EQ("0.000000", Value(*Feature(camera, "Gain")));
    camera->Close();

    ASSERT_EQ(0, other.writeReg(0x0A00, 0, 3));
    ASSERT_EQ(HvErrorSuccess, System().AddCameraByAddress(gev->address.c_str(), camera));
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    EXPECT_EQ(0x8006, other.writeReg(0x0A00, 2, 4)); // ACCESS_DENIED
    camera->Close();

    // Exclusive control: even reading is refused.
    ASSERT_EQ(0, other.writeReg(0x0A00, 1, 5));
    ASSERT_EQ(HvErrorSuccess, System().AddCameraByAddress(gev->address.c_str(), camera));
    camera->GetPermittedAccess(access);
    EXPECT_EQ(HvAccessModeType(HvAccessModeNone), access);
    ASSERT_EQ(0, other.writeReg(0x0938, 500, 6));
    EXPECT_NE(HvErrorSuccess, camera->Open(HvAccessModeFull));
    bool opened = false;
    for (int i = 0; i < 100 && !opened; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        opened = System().AddCameraByAddress(gev->address.c_str(), camera) == HvErrorSuccess &&
                 camera->Open(HvAccessModeFull) == HvErrorSuccess;
    }
    EXPECT_TRUE(opened);
}

// Files of every size around a chunk and a whole map arrive intact in the
// camera and come back the same; a map whose checksum fails is refused and
// the camera keeps the one it had.
TEST_F(GevCamera, FilesRoundTripAndABadMapIsRefused)
{
    Serve("127.0.0.43");
    OpenFull();
    // The camera layer refuses an empty file before it reaches the camera.
    const size_t chunk = 65536;
    for (size_t size : {size_t(0), size_t(1), chunk - 1, chunk, chunk + 1}) {
        SCOPED_TRACE(size);
        Bytes bytes(size);
        std::mt19937 rng{unsigned(size)};
        for (auto& b : bytes)
            b = uint8_t(rng());
        const Bytes before = Stored("Notes");
        EXPECT_EQ(size > 0, Upload("Notes", bytes));
        EXPECT_EQ(size > 0 ? bytes : before, Stored("Notes"));
        EXPECT_EQ(size > 0 ? bytes : before, Download("Notes"));
    }
    const Bytes map = Map(1);
    ASSERT_TRUE(Upload("ShadingMap0", map));
    EXPECT_EQ(map, Download("ShadingMap0"));
    Bytes bad = Map(2);
    bad[100] ^= 1;
    EXPECT_FALSE(Upload("ShadingMap0", bad));
    EXPECT_EQ(map, Stored("ShadingMap0"));
    EXPECT_EQ("hvx_tl_aravis: execute FileOperationExecute: [FileOperationExecute] "
              "[FileOperationExecute_Reg] GigEVision write_memory error (invalid-parameter)",
              logged);
}

// Faults on the wire during a map upload: a lost acknowledgement and a busy
// answer are retried and the map arrives; a camera that falls silent fails
// the upload with a message that says so, and keeps the map it had.
TEST_F(GevCamera, FaultsOnTheWire)
{
    const struct
    {
        const char* address;
        const char* faults;
        bool uploaded;
        std::string logged;
    } rows[] = {
        {"127.0.0.44",
         R"({"wire": [{"fault": "dropAck", "feature": "FileOperationExecute", "nth": 1}]})", true,
         ""},
        {"127.0.0.45", R"({"wire": [{"fault": "busy", "feature": "FileAccessBuffer", "nth": 3}]})",
         true, "hvx_tl_aravis: write FileAccessBuffer: GigEVision write_memory error (busy)"},
        {"127.0.0.46", R"({"disconnectAfterChunks": 3})", false,
         "hvx_tl_aravis: execute FileOperationExecute: [FileOperationExecute] "
         "[FileOperationExecute_Reg] GigEVision write_memory timeout"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.faults);
        Serve(row.address, row.faults);
        OpenFull();
        const Bytes before = Stored("ShadingMap0"), map = Map(3);
        EXPECT_EQ(row.uploaded, Upload("ShadingMap0", map));
        EXPECT_EQ(row.uploaded ? map : before, Stored("ShadingMap0"));
        EXPECT_EQ(row.logged, logged);
        TearDown();
    }
}

// A slow command is announced with pending acknowledgements instead of
// timing out (2.5 s against the host's 0.5 s).
TEST_F(GevCamera, SlowCommandsAreAnnounced)
{
    Serve("127.0.0.47", R"({"commandLatencyMs": {"AcquisitionStop": 2500}})");
    OpenFull();
    EXPECT_EQ(HvErrorSuccess, Feature(camera, "AcquisitionStop")->RunCommand());
    EXPECT_EQ("0", Value(*Feature(camera, "AcquisitionStop_Reg")));
}
