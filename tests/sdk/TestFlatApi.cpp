// The flat C API on raw handles: it must give what the object API gives,
// with the same codes, and describe cameras in the 80-byte record.

#include "HvcApi.h"
#include "SdkTestSupport.h"

#include <cstring>

using namespace SdkTest;

namespace {

class FlatApiTest : public FakeSession
{
protected:
    void SetUp() override
    {
        FakeSession::SetUp();
        camera = OpenGigE();
        ASSERT_NE(nullptr, camera);
        handle = camera->GetHandle();
    }

    Hvx::FeaturePtr Feature(const char* name)
    {
        Hvx::FeaturePtr feature;
        EXPECT_EQ(HvErrorSuccess, camera->GetFeatureByName(name, feature));
        return feature;
    }

    Hvx::CameraPtr camera;
    HvHandle handle = nullptr;
};

std::string FlatText(HvErrorType (*get)(HvHandle, const char*, char*, uint32_t*), HvHandle handle,
                     const char* name)
{
    uint32_t length = 0;
    EXPECT_EQ(HvErrorSuccess, get(handle, name, nullptr, &length));
    std::vector<char> buffer(length + 1, '#');
    EXPECT_EQ(HvErrorSuccess, get(handle, name, buffer.data(), &length));
    return std::string(buffer.data(), length);
}

} // namespace

TEST(FlatApiRecord, IsEightyBytes)
{
    EXPECT_EQ(80u, sizeof(HvCameraInfo));
}

TEST_F(FlatApiTest, CameraInfoQueryDescribesTheCamera)
{
    for (const char* id : {"CAM-GEV-1", "fake::CAM-GEV-1"}) {
        SCOPED_TRACE(id);
        HvCameraInfo info;
        std::memset(&info, 0xEE, sizeof info);
        ASSERT_EQ(HvErrorSuccess, HvCameraInfoQuery(id, &info, 80));
        EXPECT_STREQ("CAM-GEV-1", info.cameraIdString);
        EXPECT_STREQ("fake::CAM-GEV-1", info.cameraIdExtended);
        EXPECT_STREQ("Left eye", info.cameraName);
        EXPECT_STREQ("Fake GigE 640", info.modelName);
        EXPECT_STREQ("GS-0001", info.serialString);
        EXPECT_STREQ("fake-if-0", info.interfaceIdString);
        EXPECT_STREQ("Fake transport layer fake", info.transportLayerName);
        EXPECT_EQ(HvAccessModeType(HvAccessModeFull | HvAccessModeRead), info.permittedAccess);
        EXPECT_EQ(HvTransportLayerType(HvTransportLayerTypeGEV), info.interfaceType);
        EXPECT_EQ(handle, info.cameraHandle);
        EXPECT_EQ(0u, info.reserved[0]);
        EXPECT_EQ(0u, info.reserved[1]);
    }
}

TEST_F(FlatApiTest, CameraInfoQueryErrors)
{
    HvCameraInfo info;
    std::memset(&info, 0, sizeof info);
    EXPECT_EQ(HvErrorNotFound, HvCameraInfoQuery("CAM-NONE", &info, 80));
    EXPECT_EQ(HvErrorStructSize, HvCameraInfoQuery("CAM-GEV-1", &info, 79));
    EXPECT_EQ(HvErrorBadParameter, HvCameraInfoQuery(nullptr, &info, 80));
    EXPECT_EQ(HvErrorBadParameter, HvCameraInfoQuery("CAM-GEV-1", nullptr, 80));
    EXPECT_EQ(nullptr, info.cameraName);
    system().Shutdown();
    EXPECT_EQ(HvErrorApiNotStarted, HvCameraInfoQuery("CAM-GEV-1", &info, 80));
    system().Startup(); // for TearDown
}

TEST_F(FlatApiTest, ValuesAgreeWithTheObjectApi)
{
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntSet(handle, "Width", 1280));
    int64_t integer = 0, objectInteger = 0;
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntGet(handle, "Width", &integer));
    ASSERT_EQ(HvErrorSuccess, Feature("Width")->GetIntValue(objectInteger));
    EXPECT_EQ(1280, integer);
    EXPECT_EQ(objectInteger, integer);
    int64_t minimum = 0, maximum = 0, increment = 0;
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntRangeQuery(handle, "Width", &minimum, &maximum));
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntIncrementQuery(handle, "Width", &increment));
    EXPECT_EQ(16, minimum);
    EXPECT_EQ(4096, maximum);
    EXPECT_EQ(16, increment);

    ASSERT_EQ(HvErrorSuccess, Feature("Gain")->SetFloatValue(3.5));
    double real = 0, realMinimum = -1, realMaximum = -1, realIncrement = -1;
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatGet(handle, "Gain", &real));
    EXPECT_DOUBLE_EQ(3.5, real);
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatSet(handle, "Gain", 7.25));
    ASSERT_EQ(HvErrorSuccess, Feature("Gain")->GetFloatValue(real));
    EXPECT_DOUBLE_EQ(7.25, real);
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatRangeQuery(handle, "Gain", &realMinimum, &realMaximum));
    ASSERT_EQ(HvErrorSuccess, HvFeatureFloatIncrementQuery(handle, "Gain", &realIncrement));
    EXPECT_DOUBLE_EQ(24.0, realMaximum);
    EXPECT_DOUBLE_EQ(0.0, realIncrement);

    ASSERT_EQ(HvErrorSuccess, HvFeatureEnumSet(handle, "PixelFormat", "Mono16"));
    EXPECT_EQ("Mono16", FlatText(HvFeatureEnumGet, handle, "PixelFormat"));
    EXPECT_EQ("Mono16", Text([&](char* b, unsigned int& l) {
                  return Feature("PixelFormat")->GetEnumValue(b, l);
              }));
    ASSERT_EQ(HvErrorSuccess, HvFeatureEnumIntSet(handle, "PixelFormat", HvPixelFormatMono8));
    ASSERT_EQ(HvErrorSuccess, HvFeatureEnumIntGet(handle, "PixelFormat", &integer));
    EXPECT_EQ(int64_t(HvPixelFormatMono8), integer);
    bool available = true;
    ASSERT_EQ(HvErrorSuccess,
              HvFeatureEnumIsAvailable(handle, "PixelFormat", "Mono12", &available));
    EXPECT_FALSE(available);
    EXPECT_EQ(HvErrorInvalidValue, HvFeatureEnumSet(handle, "PixelFormat", "Mono12"));

    ASSERT_EQ(HvErrorSuccess, HvFeatureStringSet(handle, "DeviceUserID", "right"));
    EXPECT_EQ("right", FlatText(HvFeatureStringGet, handle, "DeviceUserID"));
    EXPECT_EQ("right", Text([&](char* b, unsigned int& l) {
                  return Feature("DeviceUserID")->GetStringValue(b, l);
              }));

    bool boolean = false;
    ASSERT_EQ(HvErrorSuccess, HvFeatureBoolSet(handle, "ReverseX", true));
    ASSERT_EQ(HvErrorSuccess, HvFeatureBoolGet(handle, "ReverseX", &boolean));
    EXPECT_TRUE(boolean);
    ASSERT_EQ(HvErrorSuccess, Feature("ReverseX")->GetBoolValue(boolean));
    EXPECT_TRUE(boolean);

    bool done = true;
    ASSERT_EQ(HvErrorSuccess, HvFeatureCommandRun(handle, "SlowCommand"));
    ASSERT_EQ(HvErrorSuccess, HvFeatureCommandIsDone(handle, "SlowCommand", &done));
    EXPECT_FALSE(done);
    ASSERT_EQ(HvErrorSuccess, Feature("SlowCommand")->IsCommandDone(done));
    EXPECT_FALSE(done);
    ASSERT_EQ(HvErrorSuccess, HvFeatureCommandIsDone(handle, "SlowCommand", &done));
    EXPECT_TRUE(done);

    int64_t length = 0;
    unsigned char bytes[4] = {9, 8, 7, 6}, back[4] = {};
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawLengthQuery(handle, "DataBuffer", &length));
    EXPECT_EQ(16, length);
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawSet(handle, "DataBuffer", bytes, 4));
    ASSERT_EQ(HvErrorSuccess, Feature("DataBuffer")->GetRegister(back, 4));
    EXPECT_EQ(0, std::memcmp(bytes, back, 4));
    std::memset(back, 0, 4);
    ASSERT_EQ(HvErrorSuccess, HvFeatureRawGet(handle, "DataBuffer", back, 4));
    EXPECT_EQ(0, std::memcmp(bytes, back, 4));
}

TEST_F(FlatApiTest, FeatureInfoGivesTypeAndCurrentAccess)
{
    const struct
    {
        const char* name;
        HvFeatureDataType type;
        HvFeatureFlags flags;
    } cases[] = {
        {"Width", HvFeatureDataInt, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"DeviceTemperature", HvFeatureDataFloat, HvFeatureFlagsRead},
        {"AccessKey", HvFeatureDataInt, HvFeatureFlagsWrite},
        {"PixelFormat", HvFeatureDataEnum, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"ReverseX", HvFeatureDataBool, HvFeatureFlagsRead | HvFeatureFlagsWrite},
        {"Oddity", HvFeatureDataUnknown, HvFeatureFlagsRead | HvFeatureFlagsWrite},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HvFeatureInfo info;
        std::memset(&info, 0xEE, sizeof info);
        ASSERT_EQ(HvErrorSuccess, HvFeatureInfoQuery(handle, c.name, &info, sizeof info));
        EXPECT_EQ(c.type, info.featureDataType);
        EXPECT_EQ(c.flags, info.featureFlags);
    }
    HvFeatureInfo info;
    EXPECT_EQ(HvErrorStructSize, HvFeatureInfoQuery(handle, "Width", &info, 4));
    EXPECT_EQ(HvErrorNotFound, HvFeatureInfoQuery(handle, "Nope", &info, sizeof info));
}

TEST_F(FlatApiTest, ErrorsAreTheObjectApisErrors)
{
    int64_t integer = 0;
    double real = 0;
    EXPECT_EQ(HvErrorWrongType, HvFeatureIntGet(handle, "Gain", &integer));
    EXPECT_EQ(HvErrorInvalidAccess, HvFeatureFloatSet(handle, "DeviceTemperature", 1.0));
    EXPECT_EQ(HvErrorInvalidAccess, HvFeatureIntGet(handle, "AccessKey", &integer));
    EXPECT_EQ(HvErrorInvalidValue, HvFeatureIntSet(handle, "Width", 17));
    EXPECT_EQ(HvErrorNotFound, HvFeatureFloatGet(handle, "gain", &real));
    EXPECT_EQ(HvErrorBadParameter, HvFeatureIntGet(handle, "Width", nullptr));
    EXPECT_EQ(HvErrorBadParameter, HvFeatureIntGet(handle, nullptr, &integer));

    // The two-call text: a short length is refused with the needed length.
    char buffer[8];
    uint32_t length = 3;
    ASSERT_EQ(HvErrorSuccess, HvFeatureStringSet(handle, "DeviceUserID", "abcdef"));
    EXPECT_EQ(HvErrorMoreData, HvFeatureStringGet(handle, "DeviceUserID", buffer, &length));
    EXPECT_EQ(6u, length);

    // Unknown handles, and handles of objects that are gone.
    EXPECT_EQ(HvErrorBadHandle, HvFeatureIntGet(nullptr, "Width", &integer));
    EXPECT_EQ(HvErrorBadHandle,
              HvFeatureIntGet(reinterpret_cast<HvHandle>(0x12345), "Width", &integer));
    Hvx::StreamPtr streams[2];
    unsigned int count = 2;
    ASSERT_EQ(HvErrorSuccess, camera->GetStreams(streams, count));
    const HvHandle stream = streams[0]->GetHandle();
    ASSERT_EQ(HvErrorSuccess, HvFeatureIntGet(stream, "StreamBufferCount", &integer));
    EXPECT_EQ(3, integer);
    streams[0].reset();
    streams[1].reset();

    // Closed: the camera's handle stays valid but its features are closed.
    ASSERT_EQ(HvErrorSuccess, camera->Close());
    EXPECT_EQ(HvErrorDeviceNotOpen, HvFeatureIntGet(handle, "Width", &integer));
    EXPECT_EQ(HvErrorBadHandle, HvFeatureIntGet(stream, "StreamBufferCount", &integer));
}
