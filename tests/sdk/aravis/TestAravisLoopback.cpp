// Discovery, frames and departures of the Aravis transport layer over the
// real protocol on loopback, inside a network namespace of its own (discovery
// broadcasts): orvex-sim-gev and Aravis's own fake GigE Vision camera, a
// device nobody here wrote, twice, one of them losing half its stream packets.

#include "AravisTestSupport.h"
#include "GevTestSupport.h"

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

HvAccessModeType Permitted(const Hvx::CameraPtr& camera)
{
    HvAccessModeType access = 0;
    camera->GetPermittedAccess(access);
    return access;
}

struct Grab
{
    HvErrorType result;
    HvFrameStatusType status = -99;
    uint32_t width = 0, height = 0, size = 0;
    HvPixelFormatType format = 0;
};

Grab GrabFrame(const Hvx::CameraPtr& camera)
{
    Hvx::FramePtr frame;
    Grab grab{camera->AcquireSingleImage(frame, 3000)};
    if (frame) {
        frame->GetReceiveStatus(grab.status);
        frame->GetWidth(grab.width);
        frame->GetHeight(grab.height);
        frame->GetImageSize(grab.size);
        frame->GetPixelFormat(grab.format);
    }
    return grab;
}

class FakeGigE : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string(ARV_FAKE_GV_CAMERA).empty())
            GTEST_SKIP() << "arv-fake-gv-camera-0.8 (aravis-tools) is not installed";
        clean = std::make_unique<FakeGigECamera>("127.0.0.1", "GV01");
        lossy = std::make_unique<FakeGigECamera>("127.0.0.2", "GV02", "500");
        sim = std::make_unique<GevProcess>("127.0.0.3", "SIM-GIGE-1001", testDir("state"));
        ASSERT_TRUE(clean->Running() && lossy->Running() && sim->ready);
    }

    std::unique_ptr<FakeGigECamera> clean, lossy;
    std::unique_ptr<GevProcess> sim;
};

} // namespace

TEST_F(FakeGigE, DiscoveryListsEveryCameraWithItsIdentity)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] {
        return Listed() == std::vector<std::string>{kClean, kLossy, kSim};
    })) << "listed: "
        << ::testing::PrintToString(Listed());
    const struct
    {
        const char* id;
        std::vector<std::string> identity;
    } rows[] = {
        {kLossy, {"Aravis", "Fake", "GV02", ARAVIS_VERSION, "GigEVision/lo"}},
        {kSim, {"Orvex", "kva640MXGE", "OX64G1001", "3.2.7", "GigEVision/lo"}},
    };
    for (const auto& row : rows) {
        const Hvx::CameraPtr camera = session.Camera(row.id);
        ASSERT_NE(nullptr, camera) << row.id;
        std::vector<std::string> identity;
        for (auto get :
             {&Hvx::Camera::GetVendor, &Hvx::Camera::GetModel, &Hvx::Camera::GetSerialNumber,
              &Hvx::Camera::GetFirmwareVersion, &Hvx::Camera::GetInterfaceID})
            identity.push_back(
                Text([&](char* b, unsigned int& l) { return ((*camera).*get)(b, l); }));
        EXPECT_EQ(row.identity, identity);
        EXPECT_EQ(HvAccessModeType(HvAccessModeFull | HvAccessModeRead), Permitted(camera));
    }
}

// Whole frames from the clean cameras in their size and format; the lossy
// one's frames arrive damaged and say so, which is what the program's retries
// meet on a bad network.
TEST_F(FakeGigE, FramesWholeAndDamaged)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] { return Listed().size() == 3; }));
    const struct
    {
        const char* id;
        HvFrameStatusType status;
        uint32_t width, height;
    } rows[] = {{kClean, HvFrameStatusComplete, 512, 512},
                {kLossy, HvFrameStatusIncomplete, 512, 512},
                {kSim, HvFrameStatusComplete, 640, 512}};
    for (const auto& row : rows) {
        const Hvx::CameraPtr camera = session.Camera(row.id);
        ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull)) << row.id;
        const Grab grab = GrabFrame(camera);
        EXPECT_EQ(HvErrorSuccess, grab.result) << row.id;
        EXPECT_EQ(row.status, grab.status) << row.id;
        EXPECT_EQ((std::vector<uint32_t>{row.width, row.height, row.width * row.height,
                                         HvPixelFormatMono8}),
                  (std::vector<uint32_t>{grab.width, grab.height, grab.size, grab.format}))
            << row.id;
        camera->Close();
    }
}

// A camera that stops answering leaves the list, and observers hear of it.
TEST_F(FakeGigE, ACameraThatStopsAnsweringLeaves)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] { return Listed().size() == 3; }));
    auto recorder = std::make_shared<SdkTest::Recorder>();
    ASSERT_EQ(HvErrorSuccess, System().RegisterCameraListObserver(recorder));
    lossy->Freeze();
    // On a busy machine a late answer can make a camera leave and return
    // first; what counts is that the frozen one leaves, with that reason.
    const auto lossyLeft = [&] {
        int last = -1;
        for (const auto& [id, reason] : SdkTest::Summary(recorder->Events()))
            if (id == kLossy)
                last = reason;
        return last == Hvx::UpdateTriggerPluggedOut;
    };
    EXPECT_TRUE(Eventually(
        [&] { return lossyLeft() && Listed() == std::vector<std::string>{kClean, kSim}; }));
    System().UnregisterCameraListObserver(recorder);
}
