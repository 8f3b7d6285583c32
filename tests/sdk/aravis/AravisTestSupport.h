#pragma once

// What the tests of the Aravis transport layer share: the SDK started with
// that module alone on chosen Aravis interfaces, features written and read
// by text, and frames taken one at a time.

#include "../SdkTestSupport.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace AravisTest {

inline Hvx::HvSystem& System()
{
    return Hvx::HvSystem::GetInstance();
}

// The SDK with the Aravis module only, on the given Aravis interfaces
// ("Fake" needs no network; "GigEVision" broadcasts and belongs in a
// namespace), with a discovery round every 200 ms.
class Session
{
public:
    explicit Session(const char* interfaces)
    {
        setenv("HVX_TL_PATH", ARAVIS_MODULE_DIR, 1);
        setenv("HVX_ARAVIS_INTERFACES", interfaces, 1);
        setenv("HVX_ARAVIS_POLL_MS", "200", 1);
        System().SelectModules(HvModuleSelectionOnRequest);
        EXPECT_EQ(HvErrorSuccess, System().Startup());
    }
    ~Session()
    {
        System().Shutdown();
        System().SelectModules(HvModuleSelectionStandard);
    }

    Hvx::CameraPtr Camera(const std::string& id)
    {
        Hvx::CameraPtr camera;
        System().GetCameraByID(id.c_str(), camera);
        return camera;
    }
};

inline Hvx::FeaturePtr Feature(const Hvx::CameraPtr& camera, const char* name)
{
    Hvx::FeaturePtr feature;
    camera->GetFeatureByName(name, feature);
    return feature;
}

// A feature's value as text, whatever its type ("" when it cannot be read).
inline std::string Value(Hvx::Feature& feature)
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
inline HvErrorType SetValue(Hvx::Feature& feature, const std::string& text)
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

struct FeatureWrite
{
    const char* feature;
    std::string written;
    HvErrorType result;
    std::string read;
};

// Each row writes a value and reads the feature back from the camera; a
// refused write leaves what the row before wrote.
inline void ExpectWrites(const Hvx::CameraPtr& camera, const std::vector<FeatureWrite>& rows)
{
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.feature) + " = " + row.written);
        const Hvx::FeaturePtr feature = Feature(camera, row.feature);
        ASSERT_NE(nullptr, feature);
        EXPECT_EQ(row.result, SetValue(*feature, row.written));
        EXPECT_EQ(row.read, Value(*feature));
    }
}

struct Grab
{
    HvErrorType result = HvErrorSuccess;
    HvFrameStatusType status = -99;
    // width, height, image size in bytes, pixel format
    std::vector<uint32_t> shape;
    uint64_t frameId = 0;
    std::vector<uint8_t> image;
};

inline Grab GrabFrame(const Hvx::CameraPtr& camera)
{
    Hvx::FramePtr frame;
    Grab grab;
    grab.result = camera->AcquireSingleImage(frame, 3000);
    uint32_t width = 0, height = 0, size = 0;
    HvPixelFormatType format = 0;
    if (frame) {
        frame->GetReceiveStatus(grab.status);
        frame->GetWidth(width);
        frame->GetHeight(height);
        frame->GetImageSize(size);
        frame->GetPixelFormat(format);
        frame->GetFrameID(grab.frameId);
        const unsigned char* image = nullptr;
        if (frame->GetImage(image) == HvErrorSuccess && image)
            grab.image.assign(image, image + size);
    }
    grab.shape = {width, height, size, format};
    return grab;
}

} // namespace AravisTest
