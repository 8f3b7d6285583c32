// The Aravis transport layer through the SDK, on Aravis's in-process fake
// camera (no network at all): features of every type with the SDK codes for
// range, access and missing-feature errors, commands and their completion,
// exact-length register access, frames, and the USB3 Vision paths that run
// without a device.

#include "AravisTestSupport.h"

#include <arv.h>

using namespace AravisTest;

namespace {

const char* const kFake = "aravis::Fake_1";

Hvx::FeaturePtr Feature(const Hvx::CameraPtr& camera, const char* name)
{
    Hvx::FeaturePtr feature;
    camera->GetFeatureByName(name, feature);
    return feature;
}

// A feature's value as text, whatever its type ("" when it cannot be read).
std::string Value(Hvx::Feature& feature)
{
    HvFeatureDataType type = 0;
    feature.GetDataType(type);
    int64_t integer = 0;
    double number = 0;
    bool flag = false;
    if (type == HvFeatureDataInt)
        return feature.GetIntValue(integer) == HvErrorSuccess ? std::to_string(integer) : "";
    if (type == HvFeatureDataFloat)
        return feature.GetFloatValue(number) == HvErrorSuccess ? std::to_string(number) : "";
    if (type == HvFeatureDataBool)
        return feature.GetBoolValue(flag) == HvErrorSuccess ? std::to_string(flag) : "";
    return SdkTest::Text([&](char* b, unsigned int& l) {
        return type == HvFeatureDataEnum ? feature.GetEnumValue(b, l)
                                         : feature.GetStringValue(b, l);
    });
}

// Sets a feature from text by its type.
HvErrorType SetValue(Hvx::Feature& feature, const std::string& text)
{
    HvFeatureDataType type = 0;
    feature.GetDataType(type);
    if (type == HvFeatureDataInt)
        return feature.SetIntValue(std::stoll(text));
    if (type == HvFeatureDataFloat)
        return feature.SetFloatValue(std::stod(text));
    if (type == HvFeatureDataBool)
        return feature.SetBoolValue(text == "1");
    return type == HvFeatureDataEnum ? feature.SetEnumValue(text.c_str())
                                     : feature.SetStringValue(text.c_str());
}

// The fake camera with the probe description: one feature of every type.
class ProbeCamera : public ::testing::Test
{
protected:
    void SetUp() override
    {
        arv_set_fake_camera_genicam_filename(PROBE_CAMERA_XML);
        session = std::make_unique<Session>("Fake");
        camera = session->Camera(kFake);
        ASSERT_NE(nullptr, camera);
        ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    }
    void TearDown() override
    {
        if (camera)
            camera->Close();
        session.reset();
        arv_set_fake_camera_genicam_filename(nullptr);
    }

    std::unique_ptr<Session> session;
    Hvx::CameraPtr camera;
};

} // namespace

// Each row writes a value and reads the feature back; a refused write leaves
// the value the row before wrote.
TEST_F(ProbeCamera, FeaturesOfEveryTypeWithTheirErrors)
{
    const struct
    {
        const char* feature;
        std::string written;
        HvErrorType result;
        std::string read;
    } rows[] = {
        {"ProbeInteger", "400", HvErrorSuccess, "400"},
        {"ProbeInteger", "5000", HvErrorInvalidValue, "400"}, // above the maximum
        {"ProbeInteger", "402", HvErrorInvalidValue, "400"},  // off the increment of 4
        {"ProbeFloat", "2.5", HvErrorSuccess, "2.500000"},
        {"ProbeFloat", "-20", HvErrorInvalidValue, "2.500000"},
        {"ProbeEnum", "Two", HvErrorSuccess, "Two"},
        {"ProbeEnum", "Three", HvErrorInvalidValue, "Two"}, // no such entry
        {"ProbeEnum", "Gone", HvErrorInvalidValue, "Two"},  // not available
        {"ProbeString", "lab-7", HvErrorSuccess, "lab-7"},
        {"ProbeString", "seventeen letters", HvErrorInvalidValue, "lab-7"},
        {"ProbeBool", "1", HvErrorSuccess, "1"},
        {"ProbeReadOnly", "7", HvErrorInvalidAccess, "0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.feature) + " = " + row.written);
        const Hvx::FeaturePtr feature = Feature(camera, row.feature);
        ASSERT_NE(nullptr, feature);
        EXPECT_EQ(row.result, SetValue(*feature, row.written));
        EXPECT_EQ(row.read, Value(*feature));
    }
    Hvx::FeaturePtr missing;
    EXPECT_EQ(HvErrorNotFound, camera->GetFeatureByName("ProbeMissing", missing));

    int64_t increment = 0;
    ASSERT_EQ(HvErrorSuccess, Feature(camera, "ProbeInteger")->GetIntIncrement(increment));
    EXPECT_EQ(4, increment);
}

// Aravis 0.8 does not evaluate pIsDone: a command is done when its register
// no longer holds the command's value, or at once when it cannot be read.
TEST_F(ProbeCamera, CommandsAreDoneWhenTheirRegisterLetsGoOfTheValue)
{
    const struct
    {
        const char* command;
        bool done;
    } rows[] = {
        {"ProbeClearingCommand", true},
        {"ProbeStuckCommand", false},
        {"ProbeWriteOnlyCommand", true},
    };
    for (const auto& row : rows) {
        const Hvx::FeaturePtr command = Feature(camera, row.command);
        ASSERT_NE(nullptr, command) << row.command;
        EXPECT_EQ(HvErrorSuccess, command->RunCommand()) << row.command;
        bool done = !row.done;
        EXPECT_EQ(HvErrorSuccess, command->IsCommandDone(done)) << row.command;
        EXPECT_EQ(row.done, done) << row.command;
    }
}

// Register reads and writes move exactly the bytes asked for: a write of
// five bytes keeps the register's sixth to eighth byte.
TEST_F(ProbeCamera, RegistersMoveExactLengths)
{
    const Hvx::FeaturePtr buffer = Feature(camera, "ProbeBuffer");
    ASSERT_NE(nullptr, buffer);
    int64_t length = 0;
    ASSERT_EQ(HvErrorSuccess, buffer->GetRegisterLength(length));
    EXPECT_EQ(64, length);

    const std::vector<unsigned char> old(8, 0xAA), fresh = {1, 2, 3, 4, 5};
    ASSERT_EQ(HvErrorSuccess, buffer->SetRegister(old.data(), 8));
    ASSERT_EQ(HvErrorSuccess, buffer->SetRegister(fresh.data(), 5));
    std::vector<unsigned char> read(9, 0x55);
    ASSERT_EQ(HvErrorSuccess, buffer->GetRegister(read.data(), 8));
    EXPECT_EQ((std::vector<unsigned char>{1, 2, 3, 4, 5, 0xAA, 0xAA, 0xAA, 0x55}), read);

    std::vector<unsigned char> tooLong(65);
    EXPECT_EQ(HvErrorBadParameter, buffer->SetRegister(tooLong.data(), 65));
    EXPECT_EQ(HvErrorBadParameter, buffer->GetRegister(tooLong.data(), 65));
}

// Frames of Aravis's own fake camera in each pixel format it has.
TEST(FakeCamera, FramesOfEachPixelFormat)
{
    Session session("Fake");
    const Hvx::CameraPtr camera = session.Camera(kFake);
    ASSERT_NE(nullptr, camera);
    ASSERT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
    const struct
    {
        const char* format;
        HvPixelFormatType code;
        uint32_t bytesPerPixel;
    } rows[] = {{"Mono8", HvPixelFormatMono8, 1}, {"Mono16", HvPixelFormatMono16, 2}};
    for (const auto& row : rows) {
        ASSERT_EQ(HvErrorSuccess, Feature(camera, "PixelFormat")->SetEnumValue(row.format));
        ASSERT_EQ(HvErrorSuccess, Feature(camera, "Width")->SetIntValue(320));
        Hvx::FramePtr frame;
        ASSERT_EQ(HvErrorSuccess, camera->AcquireSingleImage(frame, 3000)) << row.format;
        HvFrameStatusType status = -99;
        uint32_t width = 0, height = 0, size = 0;
        HvPixelFormatType format = 0;
        frame->GetReceiveStatus(status);
        frame->GetWidth(width);
        frame->GetHeight(height);
        frame->GetPixelFormat(format);
        frame->GetImageSize(size);
        EXPECT_EQ(HvFrameStatusComplete, status) << row.format;
        EXPECT_EQ((std::vector<uint32_t>{320, 512, row.code, 320 * 512 * row.bytesPerPixel}),
                  (std::vector<uint32_t>{width, height, format, size}))
            << row.format;
    }
    EXPECT_EQ(HvErrorSuccess, camera->Close());
}

// USB3 Vision has no loopback: without a camera plugged in the interface
// lists nothing, and the paths that need none answer as they should.
TEST(Usb3Vision, WithoutADevice)
{
    Session session("USB3Vision");
    ASSERT_TRUE(session.Started());
    unsigned int count = 99;
    ASSERT_EQ(HvErrorSuccess, System().GetCameras(nullptr, count));
    EXPECT_EQ(0u, count);
    Hvx::CameraPtr camera;
    EXPECT_EQ(HvErrorNotFound, System().GetCameraByID("aravis::usb-1-1", camera));
    EXPECT_EQ(HvErrorBadParameter, System().AddCameraByAddress("usb-1-1", camera));
}
