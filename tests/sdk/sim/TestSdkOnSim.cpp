// The SDK's typed feature access, the flat API, handles, streams and frames,
// on a simulated camera with one feature of every kind. Every value and
// refusal is checked through both APIs, which must agree.

#include "HvcApi.h"
#include "SimTestUtil.h"

#include <cstring>
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
            {"name": "Never", "type": "Command", "latencyMs": -1},
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

TEST_F(SdkOnSim, DataTypesAndAccessFlags)
{
    const struct
    {
        const char* name;
        HvFeatureDataType type;
        HvFeatureFlags flags;
    } cases[] = {
        {"Brightness", HvFeatureDataInt, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"Ratio", HvFeatureDataFloat, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"Mode", HvFeatureDataEnum, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"Label", HvFeatureDataString, HvFeatureFlagsRead},
        {"Flag", HvFeatureDataBool, HvFeatureFlagsWrite},
        {"Never", HvFeatureDataCommand, HvFeatureFlagsWrite},
        {"Blob", HvFeatureDataRaw, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"Odd", HvFeatureDataUnknown, HvFeatureFlagsRead | HvFeatureFlagsWrite},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HvFeatureDataType type = 99;
        bool readable = false, writable = false;
        EXPECT_EQ(HvErrorSuccess, f(c.name).GetDataType(type));
        EXPECT_EQ(HvErrorSuccess, f(c.name).IsReadable(readable));
        EXPECT_EQ(HvErrorSuccess, f(c.name).IsWritable(writable));
        EXPECT_EQ(c.type, type);
        EXPECT_EQ((c.flags & HvFeatureFlagsRead) != 0, readable);
        EXPECT_EQ((c.flags & HvFeatureFlagsWrite) != 0, writable);
        HvFeatureInfo info;
        std::memset(&info, 0xEE, sizeof info);
        ASSERT_EQ(HvErrorSuccess, HvFeatureInfoQuery(handle, c.name, &info, sizeof info));
        EXPECT_EQ(c.type, info.featureDataType);
        EXPECT_EQ(c.flags, info.featureFlags);
    }
    EXPECT_EQ("Brightness", SdkTest::Text([&](char* b, unsigned int& n) {
                  return f("Brightness").GetName(b, n);
              }));
    Hvx::FeaturePtr none;
    EXPECT_EQ(HvErrorNotFound, cam->GetFeatureByName("brightness", none));
    EXPECT_EQ(HvErrorBadParameter, cam->GetFeatureByName(nullptr, none));
    HvFeatureInfo info;
    EXPECT_EQ(HvErrorStructSize, HvFeatureInfoQuery(handle, "Ratio", &info, 4));
    EXPECT_EQ(HvErrorNotFound, HvFeatureInfoQuery(handle, "ratio", &info, sizeof info));
}

TEST_F(SdkOnSim, RefusalsAreTheSameInBothApis)
{
    int64_t i = 0;
    double d = 0;
    bool b = false;
    uint32_t n = 0;
    unsigned int length = 0;
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
        {"float off increment", HvErrorInvalidValue, [&] { return f("Ratio").SetFloatValue(1.25); },
         [&] { return HvFeatureFloatSet(handle, "Ratio", 1.25); }},
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
        {"enum as string", HvErrorWrongType,
         [&] { return f("Mode").GetStringValue(nullptr, length); },
         [&] { return HvFeatureStringGet(handle, "Mode", nullptr, &n); }},
        {"command as register", HvErrorWrongType, [&] { return f("Never").GetRegisterLength(i); },
         [&] { return HvFeatureRawLengthQuery(handle, "Never", &i); }},
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
    EXPECT_EQ(HvErrorNotFound, HvFeatureIntGet(handle, "brightness", &i));
    EXPECT_EQ(HvErrorBadHandle, HvFeatureIntGet(nullptr, "Brightness", &i));
    EXPECT_EQ(HvErrorBadHandle,
              HvFeatureIntGet(reinterpret_cast<HvHandle>(0x12345), "Brightness", &i));
}

TEST_F(SdkOnSim, ValuesSetInOneApiAreReadInTheOther)
{
    int64_t i = 0, minimum = 0, maximum = 0, increment = 0;
    ASSERT_EQ(HvErrorSuccess, f("Brightness").SetIntValue(95));
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntGet(handle, "Brightness", &i));
    EXPECT_EQ(95, i);
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntSet(handle, "Brightness", 15));
    ASSERT_EQ(HvErrorSuccess, f("Brightness").GetIntValue(i));
    EXPECT_EQ(15, i);
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntRangeQuery(handle, "Brightness", &minimum, &maximum));
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntIncrementQuery(handle, "Brightness", &increment));
    EXPECT_EQ((std::vector<int64_t>{10, 100, 5}),
              (std::vector<int64_t>{minimum, maximum, increment}));
    ASSERT_EQ(HvErrorSuccess, f("Brightness").GetIntRange(minimum, maximum));
    ASSERT_EQ(HvErrorSuccess, f("Brightness").GetIntIncrement(increment));
    EXPECT_EQ((std::vector<int64_t>{10, 100, 5}),
              (std::vector<int64_t>{minimum, maximum, increment}));

    double d = 0, dMin = -1, dMax = -1, dInc = -1;
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatSet(handle, "Ratio", 2.5));
    ASSERT_EQ(HvErrorSuccess, f("Ratio").GetFloatValue(d));
    EXPECT_DOUBLE_EQ(2.5, d);
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatRangeQuery(handle, "Ratio", &dMin, &dMax));
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatIncrementQuery(handle, "Ratio", &dInc));
    EXPECT_EQ((std::vector<double>{0, 10, 0.5}), (std::vector<double>{dMin, dMax, dInc}));

    // Enumerations by name and by value; entries as listed.
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, f("Mode").GetEntries(nullptr, count));
    std::vector<Hvx::EnumEntry> entries(count);
    ASSERT_EQ(HvErrorSuccess, f("Mode").GetEntries(entries.data(), count));
    std::string listed;
    for (const auto& e : entries) {
        e.GetValue(i);
        listed += SdkTest::Text([&](char* b, unsigned int& n) { return e.GetName(b, n); }) +
                  std::to_string(i) + " ";
    }
    EXPECT_EQ("A0 B1 C2 ", listed);
    bool available = true;
    EXPECT_EQ(HvErrorSuccess, f("Mode").IsValueAvailable("C", available));
    EXPECT_FALSE(available);
    EXPECT_EQ(HvErrorSuccess, f("Mode").IsValueAvailable(int64_t(0), available));
    EXPECT_TRUE(available);
    EXPECT_EQ(HvErrorSuccess, HvFeatureEnumIsAvailable(handle, "Mode", "C", &available));
    EXPECT_FALSE(available);
    EXPECT_EQ(HvErrorNotFound, f("Mode").IsValueAvailable("D", available));
    ASSERT_EQ(HvErrorSuccess, f("Mode").SetEnumIntValue(0));
    EXPECT_EQ("A", flatText(HvFeatureEnumGet, "Mode"));
    ASSERT_EQ(HvErrorSuccess, HvFeatureEnumSet(handle, "Mode", "B"));
    ASSERT_EQ(HvErrorSuccess, HvFeatureEnumIntGet(handle, "Mode", &i));
    EXPECT_EQ(1, i);

    ASSERT_EQ(HvErrorSuccess, HvFeatureStringSet(handle, "DeviceUserID", "Kamera \xc3\xa4"));
    EXPECT_EQ("Kamera \xc3\xa4", SdkTest::Text([&](char* b, unsigned int& n) {
                  return f("DeviceUserID").GetStringValue(b, n);
              }));
    EXPECT_EQ("hi", flatText(HvFeatureStringGet, "Label"));
    char shortBuffer[4];
    uint32_t length = 2;
    EXPECT_EQ(HvErrorMoreData, HvFeatureStringGet(handle, "DeviceUserID", shortBuffer, &length));
    EXPECT_EQ(9u, length);

    bool b = false;
    ASSERT_EQ(HvErrorSuccess, f("ReverseX").SetBoolValue(true));
    ASSERT_EQ(HvErrorSuccess, HvFeatureBoolGet(handle, "ReverseX", &b));
    EXPECT_TRUE(b);

    // Commands: one that never completes, one that completes at once.
    bool done = true;
    ASSERT_EQ(HvErrorSuccess, HvFeatureCommandRun(handle, "Never"));
    ASSERT_EQ(HvErrorSuccess, HvFeatureCommandIsDone(handle, "Never", &done));
    EXPECT_FALSE(done);
    ASSERT_EQ(HvErrorSuccess, f("Never").IsCommandDone(done));
    EXPECT_FALSE(done);
    ASSERT_EQ(HvErrorSuccess, f("AcquisitionStart").RunCommand());
    ASSERT_EQ(HvErrorSuccess, f("AcquisitionStart").IsCommandDone(done));
    EXPECT_TRUE(done);

    // Registers: a shorter write touches only the first bytes.
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawLengthQuery(handle, "Blob", &i));
    EXPECT_EQ(16, i);
    const unsigned char head[3] = {1, 2, 3};
    ASSERT_EQ(HvErrorSuccess, f("Blob").SetRegister(Bytes(16, 0xAA).data(), 16));
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawSet(handle, "Blob", head, 3));
    Bytes back(16);
    ASSERT_EQ(HvErrorSuccess, f("Blob").GetRegister(back.data(), 16));
    EXPECT_EQ((Bytes{1, 2, 3, 0xAA}), Bytes(back.begin(), back.begin() + 4));
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawGet(handle, "Blob", back.data(), 2));
    EXPECT_EQ(1, back[0]);
    EXPECT_EQ(HvErrorBadParameter, f("Blob").SetRegister(head, 0));
}

TEST_F(SdkOnSim, CameraInfoAgreesWithTheObjectApi)
{
    EXPECT_EQ(80u, sizeof(HvCameraInfo));
    Hvx::TransportLayerPtr layer;
    ASSERT_EQ(HvErrorSuccess, cam->GetTransportLayer(layer));
    HvAccessModeType permitted = 0;
    cam->GetPermittedAccess(permitted);
    for (const char* id : {"F-1", "sim::F-1"}) {
        SCOPED_TRACE(id);
        HvCameraInfo info;
        std::memset(&info, 0xEE, sizeof info);
        ASSERT_EQ(HvErrorSuccess, HvCameraInfoQuery(id, &info, 80));
        EXPECT_STREQ("F-1", info.cameraIdString);
        EXPECT_STREQ("sim::F-1", info.cameraIdExtended);
        EXPECT_EQ(SdkTest::Text([&](char* b, unsigned int& n) { return cam->GetName(b, n); }),
                  info.cameraName);
        EXPECT_EQ(SdkTest::Text([&](char* b, unsigned int& n) { return cam->GetModel(b, n); }),
                  info.modelName);
        EXPECT_EQ(
            SdkTest::Text([&](char* b, unsigned int& n) { return cam->GetSerialNumber(b, n); }),
            info.serialString);
        EXPECT_STREQ("sim-gige-0", info.interfaceIdString);
        EXPECT_EQ(SdkTest::Text([&](char* b, unsigned int& n) { return layer->GetName(b, n); }),
                  info.transportLayerName);
        EXPECT_EQ(permitted, info.permittedAccess);
        EXPECT_EQ(HvTransportLayerType(HvTransportLayerTypeGEV), info.interfaceType);
        EXPECT_EQ(handle, info.cameraHandle);
        EXPECT_EQ(0u, info.reserved[0]);
        EXPECT_EQ(0u, info.reserved[1]);
    }
    HvCameraInfo info;
    EXPECT_EQ(HvErrorNotFound, HvCameraInfoQuery("F-2", &info, 80));
    EXPECT_EQ(HvErrorStructSize, HvCameraInfoQuery("F-1", &info, 79));
    EXPECT_EQ(HvErrorBadParameter, HvCameraInfoQuery(nullptr, &info, 80));
    EXPECT_EQ(HvErrorBadParameter, HvCameraInfoQuery("F-1", nullptr, 80));
}

TEST_F(SdkOnSim, StreamsAndTheirHandlesBelongToOneOpening)
{
    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, cam->GetStreams(nullptr, count));
    ASSERT_EQ(1u, count);
    Hvx::StreamPtr stream, again;
    ASSERT_EQ(HvErrorSuccess, cam->GetStreams(&stream, count));
    ASSERT_EQ(HvErrorSuccess, cam->GetStreams(&again, count));
    EXPECT_EQ(stream, again);
    const HvHandle streamHandle = stream->GetHandle();
    Hvx::FeatureContainerPtr container;
    ASSERT_EQ(HvErrorSuccess, Hvx::FeatureContainer::FromHandle(streamHandle, container));
    EXPECT_EQ(std::static_pointer_cast<Hvx::FeatureContainer>(stream), container);
    int64_t size = 0;
    EXPECT_EQ(HvErrorSuccess, HvFeatureIntGet(streamHandle, "GVSPPacketSize", &size));
    EXPECT_EQ(1500, size);
    Hvx::FeaturePtr packetSize;
    ASSERT_EQ(HvErrorSuccess, stream->GetFeatureByName("GVSPPacketSize", packetSize));

    // After a close, the camera's handle stays and its features are closed;
    // the stream's handle dies with its objects, and a new opening has new
    // streams.
    container.reset();
    stream.reset();
    again.reset();
    ASSERT_EQ(HvErrorSuccess, cam->Close());
    EXPECT_EQ(HvErrorDeviceNotOpen, HvFeatureIntGet(handle, "Width", &size));
    EXPECT_EQ(HvErrorBadHandle, HvFeatureIntGet(streamHandle, "GVSPPacketSize", &size));
    ASSERT_EQ(HvErrorSuccess, cam->Open(HvAccessModeFull));
    EXPECT_EQ(HvErrorDeviceNotOpen, packetSize->GetIntValue(size));
    ASSERT_EQ(HvErrorSuccess, cam->GetStreams(&stream, count));
    EXPECT_NE(streamHandle, stream->GetHandle());
}

TEST_F(SdkOnSim, SingleImagesAndTheirFrameObjects)
{
    Hvx::FramePtr frame;
    ASSERT_EQ(HvErrorSuccess, cam->AcquireSingleImage(frame, 1000));
    ASSERT_NE(nullptr, frame);
    HvFrameStatusType status = -9;
    uint32_t width = 0, height = 0, size = 0, capacity = 0;
    HvPixelFormatType format = 0;
    uint64_t first = 0, second = 0;
    frame->GetReceiveStatus(status);
    frame->GetWidth(width);
    frame->GetHeight(height);
    frame->GetImageSize(size);
    frame->GetPixelFormat(format);
    frame->GetFrameID(first);
    EXPECT_EQ(HvFrameStatusType(HvFrameStatusComplete), status);
    EXPECT_EQ((std::vector<uint32_t>{16, 8, 128}), (std::vector<uint32_t>{width, height, size}));
    EXPECT_EQ(HvPixelFormatType(HvPixelFormatMono8), format);

    // Announce mode reuses a caller's frame whose buffer is large enough...
    auto own = std::make_shared<Hvx::Frame>(200);
    Hvx::FramePtr reused = own;
    ASSERT_EQ(HvErrorSuccess,
              cam->AcquireSingleImage(reused, 1000, Hvx::FrameAllocation_AnnounceFrame));
    EXPECT_EQ(own, reused);
    reused->GetBufferSize(capacity);
    reused->GetImageSize(size);
    reused->GetFrameID(second);
    EXPECT_EQ(200u, capacity);
    EXPECT_EQ(128u, size);
    EXPECT_EQ(first + 1, second);

    // ...but not a too small one, and AllocAndAnnounce always makes a new one.
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
