// One camera: texts in two calls, access modes, open and close, raw memory,
// streams and single frames.

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
    // "fake::CAM-GEV-1" has 15 characters; the length never counts the NUL.
    unsigned int length = 0;
    ASSERT_EQ(HvErrorSuccess, camera->GetID(nullptr, length, true));
    EXPECT_EQ(15u, length);

    // Exactly length + 1 bytes are enough.
    char exact[16];
    std::memset(exact, '#', sizeof exact);
    ASSERT_EQ(HvErrorSuccess, camera->GetID(exact, length, true));
    EXPECT_STREQ("fake::CAM-GEV-1", exact);
    EXPECT_EQ(15u, length);

    // A short length is refused, untouched buffer, needed length reported.
    char shortBuffer[16];
    std::memset(shortBuffer, '#', sizeof shortBuffer);
    unsigned int tooShort = 14;
    EXPECT_EQ(HvErrorMoreData, camera->GetID(shortBuffer, tooShort, true));
    EXPECT_EQ(15u, tooShort);
    EXPECT_EQ('#', shortBuffer[0]);

    // A larger buffer gets the text and the length of the text.
    char large[64];
    unsigned int capacity = sizeof large - 1;
    ASSERT_EQ(HvErrorSuccess, camera->GetID(large, capacity, false));
    EXPECT_STREQ("CAM-GEV-1", large);
    EXPECT_EQ(9u, capacity);
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
    EXPECT_EQ(HvErrorInvalidCall, camera->Open(HvAccessModeFull));
    EXPECT_EQ(HvErrorInvalidCall, camera->Open(HvAccessModeRead));
    EXPECT_EQ(1, hooks.openDevices());
    EXPECT_EQ(HvErrorSuccess, camera->Close());
    EXPECT_EQ(0, hooks.openDevices());
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->Close());

    // Everything that needs the device says so once it is closed.
    Hvx::FeaturePtr feature;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->GetFeatureByName("Width", feature));
    unsigned char byte = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->ReadMemory(0x1000, &byte, 1, nullptr));
    unsigned int count = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->GetStreams(nullptr, count));
    Hvx::FramePtr frame;
    EXPECT_EQ(HvErrorDeviceNotOpen, camera->AcquireSingleImage(frame, 1000));
}

TEST_F(CameraTest, FeaturesOfAClosedCameraStopWorking)
{
    const Hvx::CameraPtr camera = OpenGigE();
    Hvx::FeaturePtr width;
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatureByName("Width", width));
    ASSERT_EQ(HvErrorSuccess, width->SetIntValue(320));
    ASSERT_EQ(HvErrorSuccess, camera->Close());
    int64_t value = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, width->GetIntValue(value));
    EXPECT_EQ(HvErrorDeviceNotOpen, width->SetIntValue(640));
    // Reopened, the same feature object reaches the new device again.
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    EXPECT_EQ(HvErrorSuccess, width->GetIntValue(value));
    EXPECT_EQ(640, value); // a fresh device
}

TEST_F(CameraTest, ReadOnlyOpeningRefusesEveryWrite)
{
    const Hvx::CameraPtr camera = Camera("CAM-GEV-1");
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeRead));
    Hvx::FeaturePtr width;
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatureByName("Width", width));
    int64_t value = 0;
    EXPECT_EQ(HvErrorSuccess, width->GetIntValue(value));
    EXPECT_EQ(HvErrorInvalidAccess, width->SetIntValue(320));
    bool writable = true;
    EXPECT_EQ(HvErrorSuccess, width->IsWritable(writable));
    EXPECT_FALSE(writable);
    Hvx::FeaturePtr command;
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatureByName("QuickCommand", command));
    EXPECT_EQ(HvErrorInvalidAccess, command->RunCommand());
    const unsigned char data[4] = {1, 2, 3, 4};
    EXPECT_EQ(HvErrorInvalidAccess, camera->WriteMemory(0x1000, data, 4, nullptr));
    unsigned char read[4];
    EXPECT_EQ(HvErrorSuccess, camera->ReadMemory(0x1000, read, 4, nullptr));
}

TEST_F(CameraTest, MemoryRoundTrip)
{
    const Hvx::CameraPtr camera = OpenGigE();
    std::vector<unsigned char> data(64);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(3 * i + 1);
    unsigned int completed = 0;
    ASSERT_EQ(HvErrorSuccess, camera->WriteMemory(0x1040, data.data(), 64, &completed));
    EXPECT_EQ(64u, completed);
    std::vector<unsigned char> back(64, 0);
    ASSERT_EQ(HvErrorSuccess, camera->ReadMemory(0x1040, back.data(), 64, &completed));
    EXPECT_EQ(64u, completed);
    EXPECT_EQ(data, back);

    // The module's answer for an address outside its memory comes through.
    EXPECT_EQ(HvErrorInvalidValue, camera->ReadMemory(0x10F0, back.data(), 64, &completed));
    EXPECT_EQ(0u, completed);
    EXPECT_EQ(HvErrorBadParameter, camera->ReadMemory(0x1000, nullptr, 4, &completed));
    EXPECT_EQ(HvErrorBadParameter, camera->ReadMemory(0x1000, back.data(), 0, &completed));
    EXPECT_EQ(HvErrorSuccess, camera->ReadMemory(0x1000, back.data(), 4, nullptr));
}

TEST_F(CameraTest, StreamsBelongToOneOpening)
{
    const Hvx::CameraPtr camera = OpenGigE();
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, camera->GetStreams(nullptr, count));
    ASSERT_EQ(2u, count);
    std::vector<Hvx::StreamPtr> streams(count);
    ASSERT_EQ(HvErrorSuccess, camera->GetStreams(streams.data(), count));
    EXPECT_EQ("fake::CAM-GEV-1/Stream1",
              Text([&](char* b, unsigned int& l) { return streams[1]->GetID(b, l); }));

    // Only the first stream has the packet size command.
    Hvx::FeaturePtr adjust;
    EXPECT_EQ(HvErrorSuccess, streams[0]->GetFeatureByName("GVSPAdjustPacketSize", adjust));
    EXPECT_EQ(HvErrorNotFound, streams[1]->GetFeatureByName("GVSPAdjustPacketSize", adjust));
    Hvx::FeaturePtr buffers;
    ASSERT_EQ(HvErrorSuccess, streams[1]->GetFeatureByName("StreamBufferCount", buffers));
    EXPECT_EQ(HvErrorSuccess, buffers->SetIntValue(8));

    // Asked again, the same objects.
    std::vector<Hvx::StreamPtr> again(2);
    ASSERT_EQ(HvErrorSuccess, camera->GetStreams(again.data(), count));
    EXPECT_EQ(streams, again);

    // After a close and a new open, old streams are closed for good.
    ASSERT_EQ(HvErrorSuccess, camera->Close());
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    int64_t value = 0;
    EXPECT_EQ(HvErrorDeviceNotOpen, buffers->GetIntValue(value));
    ASSERT_EQ(HvErrorSuccess, camera->GetStreams(again.data(), count));
    EXPECT_NE(streams[1], again[1]);
}

TEST_F(CameraTest, SingleImages)
{
    const Hvx::CameraPtr camera = OpenGigE();
    Hvx::FramePtr frame;
    ASSERT_EQ(HvErrorSuccess, camera->AcquireSingleImage(frame, 1000));
    ASSERT_NE(nullptr, frame);
    HvFrameStatusType status = -9;
    uint32_t width = 0, height = 0, size = 0;
    HvPixelFormatType format = 0;
    uint64_t id = 0;
    frame->GetReceiveStatus(status);
    frame->GetWidth(width);
    frame->GetHeight(height);
    frame->GetImageSize(size);
    frame->GetPixelFormat(format);
    frame->GetFrameID(id);
    EXPECT_EQ(HvFrameStatusType(HvFrameStatusComplete), status);
    EXPECT_EQ(4u, width);
    EXPECT_EQ(2u, height);
    EXPECT_EQ(8u, size);
    EXPECT_EQ(HvPixelFormatType(HvPixelFormatMono8), format);
    EXPECT_EQ(1u, id);
    const unsigned char* image = nullptr;
    frame->GetImage(image);
    ASSERT_NE(nullptr, image);
    EXPECT_EQ(1, image[0]);
    EXPECT_EQ(71, image[7]);

    // Announce mode reuses a caller's frame whose buffer is large enough...
    auto own = std::make_shared<Hvx::Frame>(100);
    Hvx::FramePtr reused = own;
    ASSERT_EQ(HvErrorSuccess,
              camera->AcquireSingleImage(reused, 1000, Hvx::FrameAllocation_AnnounceFrame));
    EXPECT_EQ(own, reused);
    uint32_t capacity = 0;
    reused->GetBufferSize(capacity);
    reused->GetImageSize(size);
    EXPECT_EQ(100u, capacity);
    EXPECT_EQ(8u, size);
    reused->GetImage(image);
    EXPECT_EQ(2, image[0]);

    // ...but not a too small one, and AllocAndAnnounce always makes a new one.
    auto small = std::make_shared<Hvx::Frame>(4);
    Hvx::FramePtr replaced = small;
    ASSERT_EQ(HvErrorSuccess,
              camera->AcquireSingleImage(replaced, 1000, Hvx::FrameAllocation_AnnounceFrame));
    EXPECT_NE(small, replaced);
    Hvx::FramePtr fresh = own;
    ASSERT_EQ(HvErrorSuccess,
              camera->AcquireSingleImage(fresh, 1000, Hvx::FrameAllocation_AllocAndAnnounceFrame));
    EXPECT_NE(own, fresh);

    // A module's failure comes through and leaves the caller's frame alone.
    Hvx::FramePtr kept = own;
    EXPECT_EQ(HvErrorTimeout, camera->AcquireSingleImage(kept, 0));
    EXPECT_EQ(own, kept);
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

TEST_F(CameraTest, AHandleNamesItsContainerUntilTheObjectDies)
{
    Hvx::CameraPtr camera = Camera("CAM-GEV-1");
    const HvHandle handle = camera->GetHandle();
    EXPECT_EQ(handle, camera->GetHandle());
    Hvx::FeatureContainerPtr container;
    ASSERT_EQ(HvErrorSuccess, Hvx::FeatureContainer::FromHandle(handle, container));
    EXPECT_EQ(std::static_pointer_cast<Hvx::FeatureContainer>(camera), container);
    EXPECT_EQ(HvErrorBadHandle, Hvx::FeatureContainer::FromHandle(nullptr, container));

    // A stream's handle dies with the stream objects of its opening.
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    Hvx::StreamPtr stream[2];
    unsigned int count = 2;
    ASSERT_EQ(HvErrorSuccess, camera->GetStreams(stream, count));
    const HvHandle streamHandle = stream[0]->GetHandle();
    EXPECT_NE(handle, streamHandle);
    stream[0].reset();
    stream[1].reset();
    ASSERT_EQ(HvErrorSuccess, camera->Close());
    EXPECT_EQ(HvErrorBadHandle, Hvx::FeatureContainer::FromHandle(streamHandle, container));
}
