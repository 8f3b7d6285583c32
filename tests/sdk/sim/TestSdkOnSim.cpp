// The SDK's typed feature access, the flat API, handles, streams and frames,
// on a simulated camera with one feature of every kind. Refusals are checked
// through both APIs, which must agree.

#include "HvcApi.h"
#include "SimTestUtil.h"

#include <functional>

using namespace simtest;

namespace {

class SdkOnSim : public SimSession
{
protected:
    void SetUp() override
    {
        SimSession::SetUp();
        ASSERT_EQ(sys.Startup(), HvErrorSuccess);
        ASSERT_EQ(control()->AddCamera(R"({"id": "F-1", "width": 16, "height": 8, "extraFeatures": [
            {"name": "Brightness", "type": "Integer", "value": 10, "min": 10, "max": 100, "increment": 5},
            {"name": "Ratio", "type": "Float", "value": 1.5, "min": 0, "max": 10, "increment": 0.5},
            {"name": "Mode", "type": "Enumeration", "value": 1,
             "entries": [{"name": "A", "value": 0}, {"name": "B", "value": 1},
                         {"name": "C", "value": 2, "available": false}]},
            {"name": "Label", "type": "String", "value": "hi", "access": "RO"},
            {"name": "Flag", "type": "Boolean", "access": "WO"},
            {"name": "Blob", "type": "Register", "length": 16},
            {"name": "Odd", "type": "Unknown"}]})"),
                  0);
        cam = open("sim::F-1");
        ASSERT_TRUE(cam);
        handle = cam->GetHandle();
    }
    Hvx::Feature& f(const char* name)
    {
        Hvx::FeaturePtr feature;
        EXPECT_EQ(HvErrorSuccess, cam->GetFeatureByName(name, feature)) << name;
        features.push_back(feature);
        return *feature;
    }
    std::string flatText(HvErrorType (*get)(HvHandle, const char*, char*, uint32_t*),
                         const char* name)
    {
        return SdkTest::Text([&](char* b, unsigned int& n) { return get(handle, name, b, &n); });
    }

    Hvx::CameraPtr cam;
    HvHandle handle = nullptr;
    std::vector<Hvx::FeaturePtr> features;
};

TEST_F(SdkOnSim, RefusalsAreTheSameInBothApis)
{
    int64_t i = 0;
    double d = 0;
    bool b = false;
    const struct
    {
        const char* what;
        HvErrorType code;
        std::function<HvErrorType()> object, flat;
    } cases[] = {
        {"off increment", HvErrorInvalidValue, [&] { return f("Brightness").SetIntValue(12); },
         [&] { return HvFeatureIntSet(handle, "Brightness", 12); }},
        {"above range", HvErrorInvalidValue, [&] { return f("Brightness").SetIntValue(105); },
         [&] { return HvFeatureIntSet(handle, "Brightness", 105); }},
        {"unavailable entry", HvErrorInvalidValue, [&] { return f("Mode").SetEnumValue("C"); },
         [&] { return HvFeatureEnumSet(handle, "Mode", "C"); }},
        {"unknown entry", HvErrorInvalidValue, [&] { return f("Mode").SetEnumIntValue(7); },
         [&] { return HvFeatureEnumIntSet(handle, "Mode", 7); }},
        {"read-only", HvErrorInvalidAccess, [&] { return f("Label").SetStringValue("x"); },
         [&] { return HvFeatureStringSet(handle, "Label", "x"); }},
        {"write-only", HvErrorInvalidAccess, [&] { return f("Flag").GetBoolValue(b); },
         [&] { return HvFeatureBoolGet(handle, "Flag", &b); }},
        {"wrong type", HvErrorWrongType, [&] { return f("Ratio").GetIntValue(i); },
         [&] { return HvFeatureIntGet(handle, "Ratio", &i); }},
        {"unknown type", HvErrorWrongType, [&] { return f("Odd").GetFloatValue(d); },
         [&] { return HvFeatureFloatGet(handle, "Odd", &d); }},
        {"register too long", HvErrorBadParameter,
         [&] { return f("Blob").GetRegister(std::vector<uint8_t>(17).data(), 17); },
         [&] { return HvFeatureRawGet(handle, "Blob", std::vector<uint8_t>(17).data(), 17); }},
        {"null value", HvErrorBadParameter, [&] { return f("Label").SetStringValue(nullptr); },
         [&] { return HvFeatureIntGet(handle, "Brightness", nullptr); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.code, c.object());
        EXPECT_EQ(c.code, c.flat());
    }
    // Nothing refused changed a value.
    EXPECT_EQ(HvErrorSuccess, HvFeatureIntGet(handle, "Brightness", &i));
    EXPECT_EQ(10, i);
    EXPECT_EQ("B", flatText(HvFeatureEnumGet, "Mode"));
    // The SDK refuses an unavailable entry itself: it never reaches the camera.
    std::vector<HvxSim::TraceEntry> trace;
    ASSERT_EQ(0, control()->GetTrace("F-1", trace));
    for (const auto& e : trace)
        EXPECT_FALSE(e.feature == "Mode" && e.value == "C") << e.op;
    EXPECT_EQ(HvErrorNotFound, HvFeatureIntGet(handle, "brightness", &i));
    EXPECT_EQ(HvErrorBadHandle,
              HvFeatureIntGet(reinterpret_cast<HvHandle>(0x12345), "Brightness", &i));
}

// Values of every type through both APIs are tested in the camera layer;
// here what it does not reach.
TEST_F(SdkOnSim, EntriesShortTextsAndRegisters)
{
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, f("Mode").GetEntries(nullptr, count));
    std::vector<Hvx::EnumEntry> entries(count);
    ASSERT_EQ(HvErrorSuccess, f("Mode").GetEntries(entries.data(), count));
    std::string listed;
    for (const auto& e : entries) {
        int64_t value = 0;
        e.GetValue(value);
        listed += SdkTest::Text([&](char* b, unsigned int& n) { return e.GetName(b, n); }) +
                  std::to_string(value) + " ";
    }
    EXPECT_EQ("A0 B1 C2 ", listed);
    bool available = true;
    EXPECT_EQ(HvErrorSuccess, HvFeatureEnumIsAvailable(handle, "Mode", "C", &available));
    EXPECT_FALSE(available);

    // A short buffer stays untouched and the length needed is reported.
    char shortBuffer[2] = {'#', '#'};
    uint32_t length = 1;
    EXPECT_EQ(HvErrorMoreData, HvFeatureStringGet(handle, "Label", shortBuffer, &length));
    EXPECT_EQ(2u, length);
    EXPECT_EQ('#', shortBuffer[0]);

    // A shorter register write touches only the first bytes.
    const unsigned char head[3] = {1, 2, 3};
    ASSERT_EQ(HvErrorSuccess, f("Blob").SetRegister(Bytes(16, 0xAA).data(), 16));
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawSet(handle, "Blob", head, 3));
    Bytes back(16);
    ASSERT_EQ(HvErrorSuccess, f("Blob").GetRegister(back.data(), 16));
    EXPECT_EQ((Bytes{1, 2, 3, 0xAA}), Bytes(back.begin(), back.begin() + 4));
}

// The flat camera information of the opened camera.
TEST_F(SdkOnSim, CameraInfoNamesTheCameraAndItsHandle)
{
    HvCameraInfo info;
    ASSERT_EQ(HvErrorSuccess, HvCameraInfoQuery("F-1", &info, sizeof info));
    EXPECT_STREQ("F-1", info.cameraIdString);
    EXPECT_STREQ("sim::F-1", info.cameraIdExtended);
    EXPECT_STREQ("sim-gige-0", info.interfaceIdString);
    EXPECT_EQ(handle, info.cameraHandle);
    EXPECT_EQ(HvErrorStructSize, HvCameraInfoQuery("F-1", &info, sizeof info - 1));
}

// After a close the camera's handle stays and its features are closed; a
// stream's handle dies with the opening, and a new opening has new streams.
// Reopened for reading, the camera's feature objects read and refuse writes.
TEST_F(SdkOnSim, StreamsAndTheirHandlesBelongToOneOpening)
{
    unsigned int count = 1;
    Hvx::StreamPtr stream;
    ASSERT_EQ(HvErrorSuccess, cam->GetStreams(&stream, count));
    const HvHandle streamHandle = stream->GetHandle();
    int64_t size = 0;
    EXPECT_EQ(HvErrorSuccess, HvFeatureIntGet(streamHandle, "GVSPPacketSize", &size));
    EXPECT_EQ(1500, size);
    Hvx::FeaturePtr packetSize;
    ASSERT_EQ(HvErrorSuccess, stream->GetFeatureByName("GVSPPacketSize", packetSize));
    Hvx::Feature& brightness = f("Brightness");
    ASSERT_EQ(HvErrorSuccess, brightness.SetIntValue(20));
    stream.reset();
    ASSERT_EQ(HvErrorSuccess, cam->Close());
    EXPECT_EQ(HvErrorDeviceNotOpen, HvFeatureIntGet(handle, "Width", &size));
    EXPECT_EQ(HvErrorBadHandle, HvFeatureIntGet(streamHandle, "GVSPPacketSize", &size));
    EXPECT_EQ(HvErrorDeviceNotOpen, brightness.GetIntValue(size));
    ASSERT_EQ(HvErrorSuccess, cam->Open(HvAccessModeRead));
    EXPECT_EQ(HvErrorDeviceNotOpen, packetSize->GetIntValue(size));
    // The camera's own feature objects reach the new opening.
    EXPECT_EQ(HvErrorSuccess, brightness.GetIntValue(size));
    EXPECT_EQ(20, size);
    EXPECT_EQ(HvErrorInvalidAccess, brightness.SetIntValue(30));
    ASSERT_EQ(HvErrorSuccess, cam->GetStreams(&stream, count));
    EXPECT_NE(streamHandle, stream->GetHandle());
}

// Announce mode reuses a caller's frame whose buffer is large enough, not a
// too small one; AllocAndAnnounce always makes a new one.
TEST_F(SdkOnSim, SingleImagesReuseTheCallersFrameWhereItFits)
{
    auto own = std::make_shared<Hvx::Frame>(200);
    Hvx::FramePtr reused = own;
    ASSERT_EQ(HvErrorSuccess,
              cam->AcquireSingleImage(reused, 1000, Hvx::FrameAllocation_AnnounceFrame));
    EXPECT_EQ(own, reused);
    uint32_t size = 0;
    reused->GetImageSize(size);
    EXPECT_EQ(128u, size);

    auto small = std::make_shared<Hvx::Frame>(4);
    Hvx::FramePtr replaced = small;
    ASSERT_EQ(HvErrorSuccess,
              cam->AcquireSingleImage(replaced, 1000, Hvx::FrameAllocation_AnnounceFrame));
    EXPECT_NE(small, replaced);
    Hvx::FramePtr fresh = own;
    ASSERT_EQ(HvErrorSuccess,
              cam->AcquireSingleImage(fresh, 1000, Hvx::FrameAllocation_AllocAndAnnounceFrame));
    EXPECT_NE(own, fresh);
}

} // namespace
