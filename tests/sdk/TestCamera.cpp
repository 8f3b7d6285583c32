// One camera in the SDK core: access modes, open and close, and what a
// closed camera answers. (Features, memory, streams and frames are tested
// on the simulator's cameras.)

#include "SdkTestSupport.h"

using namespace SdkTest;

namespace {

class CameraTest : public FakeSession
{
};

} // namespace

TEST_F(CameraTest, AccessModes)
{
    struct Case
    {
        const char* id;
        HvAccessModeType mode;
        HvErrorType expected;
    };
    const Case cases[] = {
        {"CAM-GEV-1", HvAccessModeFull, HvErrorSuccess},
        {"CAM-U3V-2", HvAccessModeRead, HvErrorSuccess},
        // Held by another application: only reading is permitted.
        {"CAM-U3V-2", HvAccessModeFull, HvErrorInvalidAccess},
        {"CAM-GEV-1", HvAccessModeNone, HvErrorBadParameter},
        {"CAM-GEV-1", HvAccessModeFull | HvAccessModeRead, HvErrorBadParameter},
        {"CAM-GEV-1", HvAccessModeUnknown, HvErrorBadParameter},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.id) + " mode " + std::to_string(c.mode));
        const Hvx::CameraPtr camera = Camera(c.id);
        ASSERT_NE(nullptr, camera);
        EXPECT_EQ(c.expected, camera->Open(c.mode));
        HvAccessModeType open = 99;
        camera->GetOpenAccess(open);
        EXPECT_EQ(c.expected == HvErrorSuccess ? c.mode : HvAccessModeType(HvAccessModeNone), open);
        EXPECT_EQ(c.expected == HvErrorSuccess ? HvErrorSuccess : HvErrorDeviceNotOpen,
                  camera->Close());
    }
    EXPECT_EQ(0, hooks.openDevices());
}

TEST_F(CameraTest, OpenAndCloseStates)
{
    const Hvx::CameraPtr camera = Camera("CAM-GEV-1");
    ASSERT_NE(nullptr, camera);
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->Close());
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    EXPECT_EQ(1, hooks.openDevices());
    EXPECT_EQ(HvErrorInvalidCall, camera->Open(HvAccessModeRead));
    EXPECT_EQ(1, hooks.openDevices());
    EXPECT_EQ(HvErrorSuccess, camera->Close());
    EXPECT_EQ(0, hooks.openDevices());
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->Close());
    Hvx::FramePtr frame;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->AcquireSingleImage(frame, 1000));
}
