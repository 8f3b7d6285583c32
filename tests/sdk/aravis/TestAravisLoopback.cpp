// Discovery, frames and departures of the Aravis transport layer over the
// real protocol on loopback, inside a network namespace of its own (discovery
// broadcasts): orvex-sim-gev, a 12-bit camera whose frames must carry the
// sensor model's pixels, and Aravis's own fake GigE Vision camera, a device
// nobody here wrote, twice, one of them losing half its stream packets.

#include "AravisTestSupport.h"
#include "GevTestSupport.h"

#include "SensorModel.h"

#include <arv.h>

#include <algorithm>

using namespace AravisTest;
using SdkTest::Text;

namespace {

const char* const kSim = "aravis::Orvex-kva640MXGE-OX64G1001";
const char* const kClean = "aravis::Aravis-Fake-GV01";
const char* const kLossy = "aravis::Aravis-Fake-GV02";

std::vector<std::string> Listed()
{
    unsigned int count = 0;
    System().GetCameras(nullptr, count);
    std::vector<Hvx::CameraPtr> cameras(count);
    System().GetCameras(cameras.data(), count);
    std::vector<std::string> ids;
    for (const auto& camera : cameras)
        ids.push_back(SdkTest::ExtendedId(camera));
    std::sort(ids.begin(), ids.end());
    return ids;
}

// Asks again until `done` holds; the bound only keeps a broken module from
// hanging the run.
template <typename Done> bool Eventually(Done done)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (done())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return false;
}

// Aravis's fake GigE Vision camera at a loopback address (inside the
// namespace, 127.0.0.1 to 127.0.0.5), losing the given share of its stream
// packets.
std::unique_ptr<ChildProcess> FakeGigECamera(const char* address, const char* serial,
                                             const char* lossPerThousand = "0")
{
    return std::make_unique<ChildProcess>(std::vector<std::string>{
        ARV_FAKE_GV_CAMERA, "-i", address, "-s", serial, "-r", lossPerThousand});
}

} // namespace

TEST(FakeGigE, DiscoveryFramesAndDepartures)
{
    if (std::string(ARV_FAKE_GV_CAMERA).empty())
        GTEST_SKIP() << "arv-fake-gv-camera-0.8 (aravis-tools) is not installed";
    const auto clean = FakeGigECamera("127.0.0.1", "GV01");
    const auto lossy = FakeGigECamera("127.0.0.2", "GV02", "500");
    // The noise of frame k is then the sensor model's for seed k.
    setenv("HVX_SIM_NOISE_SEED", "0", 1);
    GevProcess sim("127.0.0.3", "WIRE-1", testDir("state"),
                   writeConfig("wire", R"({"cameras": [{"id": "WIRE-1", "model": "kva640MXGE",
                       "serial": "OX64G1001", "firmwareVersion": "3.2.7",
                       "pixelFormat": "Mono12"}]})"));
    ASSERT_TRUE(clean->ready && lossy->ready && sim.ready);
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] {
        return Listed() == std::vector<std::string>{kClean, kLossy, kSim};
    })) << "listed: "
        << ::testing::PrintToString(Listed());

    const struct
    {
        const char* id;
        std::vector<std::string> identity;
    } identities[] = {
        {kLossy, {"Aravis", "Fake", "GV02", ARAVIS_VERSION, "GigEVision/lo"}},
        {kSim, {"Orvex", "kva640MXGE", "OX64G1001", "3.2.7", "GigEVision/lo"}},
    };
    for (const auto& row : identities) {
        const Hvx::CameraPtr camera = session.Camera(row.id);
        ASSERT_NE(nullptr, camera) << row.id;
        std::vector<std::string> identity;
        for (auto get :
             {&Hvx::Camera::GetVendor, &Hvx::Camera::GetModel, &Hvx::Camera::GetSerialNumber,
              &Hvx::Camera::GetFirmwareVersion, &Hvx::Camera::GetInterfaceID})
            identity.push_back(
                Text([&](char* b, unsigned int& l) { return ((*camera).*get)(b, l); }));
        EXPECT_EQ(row.identity, identity);
        HvAccessModeType access = 0;
        camera->GetPermittedAccess(access);
        EXPECT_EQ(HvAccessModeType(HvAccessModeFull | HvAccessModeRead), access);
    }

    // Whole frames from the clean cameras in their size and format; the lossy
    // one's frames arrive damaged and say so, which is what the program's
    // retries meet on a bad network.
    const struct
    {
        const char* id;
        HvFrameStatusType status;
        std::vector<uint32_t> shape;
    } frames[] = {{kClean, HvFrameStatusComplete, {512, 512, 512 * 512, HvPixelFormatMono8}},
                  {kLossy, HvFrameStatusIncomplete, {512, 512, 512 * 512, HvPixelFormatMono8}},
                  {kSim, HvFrameStatusComplete, {640, 512, 640 * 512 * 2, HvPixelFormatMono12}}};
    for (const auto& row : frames) {
        const Hvx::CameraPtr camera = session.Camera(row.id);
        ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull)) << row.id;
        const Grab grab = GrabFrame(camera);
        EXPECT_EQ(HvErrorSuccess, grab.result) << row.id;
        EXPECT_EQ(row.status, grab.status) << row.id;
        EXPECT_EQ(row.shape, grab.shape) << row.id;
        if (std::string(row.id) == kSim) {
            uint64_t seed = 1469598103934665603ull; // FNV-1a of the serial number
            for (unsigned char c : std::string("OX64G1001"))
                seed = (seed ^ c) * 1099511628211ull;
            EXPECT_TRUE(hvsim::SensorModel(640, 512, "Mono12", seed)
                            .capture(std::stod(Value(*Feature(camera, "ExposureTime"))), 0, 1,
                                     grab.frameId) == grab.image);
        }
        camera->Close();
    }

    // A camera that stops answering leaves the list, and observers hear of it.
    auto recorder = std::make_shared<SdkTest::Recorder>();
    ASSERT_EQ(HvErrorSuccess, System().RegisterCameraListObserver(recorder));
    lossy->freeze();
    // On a busy machine a late answer can make a camera leave and return
    // first; what counts is that the frozen one leaves, with that reason.
    const auto lossyLeft = [&] {
        int last = -1;
        for (const auto& [id, reason] : SdkTest::Summary(recorder->Events()))
            if (id == kLossy)
                last = reason;
        return last == Hvx::UpdateTriggerPluggedOut;
    };
    EXPECT_TRUE(Eventually([&] {
        return lossyLeft() && Listed() == std::vector<std::string>{kClean, kSim};
    }));
    System().UnregisterCameraListObserver(recorder);
}
