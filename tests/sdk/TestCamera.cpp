// One camera in the SDK core: texts in two calls, access modes, open and
// close, what a closed camera answers, and handles. (Features, memory,
// streams and frames are tested on the simulator's cameras.)

#include "SdkTestSupport.h"

#include <cstring>

using namespace SdkTest;

namespace {

class CameraTest : public FakeSession
{
};

} // namespace

TEST_F(CameraTest, TextsFollowTheTwoCallPattern)
{
    const Hvx::CameraPtr camera = Camera("CAM-GEV-1");
    ASSERT_NE(nullptr, camera);
    // "fake::CAM-GEV-1" has 15 characters; the length never counts the NUL,
    // and exactly length + 1 bytes are enough.
    EXPECT_EQ("fake::CAM-GEV-1", ExtendedId(camera));

    // A short length is refused, untouched buffer, needed length reported.
    char buffer[64];
    std::memset(buffer, '#', sizeof buffer);
    unsigned int length = 14;
    EXPECT_EQ(HvErrorMoreData, camera->GetID(buffer, length, true));
    EXPECT_EQ(15u, length);
    EXPECT_EQ('#', buffer[0]);

    // A larger buffer gets the text and the length of the text.
    length = sizeof buffer - 1;
    ASSERT_EQ(HvErrorSuccess, camera->GetID(buffer, length, false));
    EXPECT_STREQ("CAM-GEV-1", buffer);
    EXPECT_EQ(9u, length);
}

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
        {"CAM-GEV-1", HvAccessModeRead, HvErrorSuccess},
        {"CAM-U3V-2", HvAccessModeRead, HvErrorSuccess},
        // Held by another application: only reading is permitted.
        {"CAM-U3V-2", HvAccessModeFull, HvErrorInvalidAccess},
        {"CAM-U3V-2", HvAccessModeExclusive, HvErrorInvalidAccess},
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
    Hvx::FeaturePtr width;
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatureByName("Width", width));
    ASSERT_EQ(HvErrorSuccess, width->SetIntValue(320));
    EXPECT_EQ(HvErrorSuccess, camera->Close());
    EXPECT_EQ(0, hooks.openDevices());
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->Close());

    // Everything that needs the device says so once it is closed.
    int64_t value = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, width->GetIntValue(value));
    Hvx::FeaturePtr feature;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->GetFeatureByName("Width", feature));
    unsigned char byte = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->ReadMemory(0x1000, &byte, 1, nullptr));
    unsigned int count = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->GetStreams(nullptr, count));
    Hvx::FramePtr frame;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->AcquireSingleImage(frame, 1000));

    // Reopened read-only, the same feature object reaches the new device,
    // and no write gets through.
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeRead));
    EXPECT_EQ(HvErrorSuccess, width->GetIntValue(value));
    EXPECT_EQ(640, value);
    EXPECT_EQ(HvErrorInvalidAccess, width->SetIntValue(320));
    bool writable = true;
    EXPECT_EQ(HvErrorSuccess, width->IsWritable(writable));
    EXPECT_FALSE(writable);
}

TEST_F(CameraTest, InterfaceTypeIsAskedOfTheModuleEachTime)
{
    const Hvx::CameraPtr camera = Camera("CAM-GEV-1");
    HvTransportLayerType type = 0;
    ASSERT_EQ(HvErrorSuccess, camera->GetInterfaceType(type));
    EXPECT_EQ(HvTransportLayerType(HvTransportLayerTypeGEV), type);
    hooks.failInterfaceType(true);
    EXPECT_EQ(HvErrorNotSupported, camera->GetInterfaceType(type));
    hooks.failInterfaceType(false);
    EXPECT_EQ(HvErrorSuccess, camera->GetInterfaceType(type));
}

TEST_F(CameraTest, AHandleNamesItsContainer)
{
    Hvx::CameraPtr camera = Camera("CAM-GEV-1");
    const HvHandle handle = camera->GetHandle();
    Hvx::FeatureContainerPtr container;
    ASSERT_EQ(HvErrorSuccess, Hvx::FeatureContainer::FromHandle(handle, container));
    EXPECT_EQ(std::static_pointer_cast<Hvx::FeatureContainer>(camera), container);
    EXPECT_EQ(HvErrorBadHandle, Hvx::FeatureContainer::FromHandle(nullptr, container));
}
