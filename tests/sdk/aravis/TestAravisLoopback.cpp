// The Aravis transport layer against Aravis's own fake GigE Vision camera, a
// device nobody here wrote, over the real protocol on loopback. Runs inside a
// network namespace of its own (discovery broadcasts): two cameras, one of
// them losing half its stream packets.

#include "AravisTestSupport.h"

#include <arv.h>

#include <algorithm>

using namespace AravisTest;
using SdkTest::Text;

namespace {

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
        ASSERT_TRUE(clean->Running() && lossy->Running());
    }

    std::unique_ptr<FakeGigECamera> clean, lossy;
};

} // namespace

TEST_F(FakeGigE, DiscoveryListsBothWithTheirIdentity)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] {
        return Listed() == std::vector<std::string>{kClean, kLossy};
    })) << "listed: "
        << ::testing::PrintToString(Listed());
    const Hvx::CameraPtr camera = session.Camera(kLossy);
    const auto text = [&](auto get) {
        return Text([&](char* b, unsigned int& l) { return ((*camera).*get)(b, l); });
    };
    EXPECT_EQ("Fake", text(&Hvx::Camera::GetModel));
    EXPECT_EQ("GV02", text(&Hvx::Camera::GetSerialNumber));
    EXPECT_EQ("Aravis", text(&Hvx::Camera::GetVendor));
    EXPECT_EQ(ARAVIS_VERSION, text(&Hvx::Camera::GetFirmwareVersion));
    EXPECT_EQ("GigEVision/lo", text(&Hvx::Camera::GetInterfaceID));
    EXPECT_EQ(HvAccessModeType(HvAccessModeFull | HvAccessModeRead), Permitted(camera));
}

// A whole frame from the clean camera; the lossy one's frames arrive damaged
// and say so, which is what the program's retries meet on a bad network.
TEST_F(FakeGigE, FramesWholeAndDamaged)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] { return Listed().size() == 2; }));
    const struct
    {
        const char* id;
        HvFrameStatusType status;
    } rows[] = {{kClean, HvFrameStatusComplete}, {kLossy, HvFrameStatusIncomplete}};
    for (const auto& row : rows) {
        const Hvx::CameraPtr camera = session.Camera(row.id);
        ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull)) << row.id;
        const Grab grab = GrabFrame(camera);
        EXPECT_EQ(HvErrorSuccess, grab.result) << row.id;
        EXPECT_EQ(row.status, grab.status) << row.id;
        EXPECT_EQ((std::vector<uint32_t>{512, 512, 512 * 512}),
                  (std::vector<uint32_t>{grab.width, grab.height, grab.size}))
            << row.id;
        camera->Close();
    }
}

// Another host holds the camera's control channel: the camera is listed for
// reading only, a full open is refused, a reading one works; once the other
// host lets go, full access returns.
TEST_F(FakeGigE, ControlHeldByAnotherHost)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] { return Listed().size() == 2; }));
    const Hvx::CameraPtr camera = session.Camera(kClean);

    GInetAddress* address = g_inet_address_new_from_string("127.0.0.1");
    GError* error = nullptr;
    ArvDevice* other = arv_gv_device_new(address, address, &error);
    g_object_unref(address);
    ASSERT_EQ(nullptr, error) << error->message;
    ASSERT_TRUE(arv_gv_device_is_controller(ARV_GV_DEVICE(other)));

    EXPECT_TRUE(Eventually([&] {
        Listed();
        return Permitted(camera) == HvAccessModeRead;
    }));
    EXPECT_EQ(HvErrorInvalidAccess, camera->Open(HvAccessModeFull));
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeRead));
    Hvx::FeaturePtr width;
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatureByName("Width", width));
    int64_t value = 0;
    EXPECT_EQ(HvErrorSuccess, width->GetIntValue(value));
    EXPECT_EQ(512, value);
    EXPECT_EQ(HvErrorInvalidAccess, width->SetIntValue(640));
    camera->Close();

    g_object_unref(other);
    EXPECT_TRUE(Eventually([&] {
        Listed();
        return Permitted(camera) == (HvAccessModeFull | HvAccessModeRead);
    }));
}

// A camera that stops answering leaves the list, and observers hear of it.
TEST_F(FakeGigE, ACameraThatStopsAnsweringLeaves)
{
    Session session("GigEVision");
    ASSERT_TRUE(Eventually([] { return Listed().size() == 2; }));
    auto recorder = std::make_shared<SdkTest::Recorder>();
    ASSERT_EQ(HvErrorSuccess, System().RegisterCameraListObserver(recorder));
    lossy->Freeze();
    const auto events = recorder->WaitFor(1);
    System().UnregisterCameraListObserver(recorder);
    EXPECT_EQ((SdkTest::Expected{{kLossy, Hvx::UpdateTriggerPluggedOut}}),
              SdkTest::Summary(events));
    EXPECT_EQ(std::vector<std::string>{kClean}, Listed());
}
