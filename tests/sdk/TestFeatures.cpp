// Typed feature access on an open camera: data types, access flags, ranges,
// enumerations, commands and registers.

#include "SdkTestSupport.h"

using namespace SdkTest;

namespace {

class FeatureTest : public FakeSession
{
protected:
    void SetUp() override
    {
        FakeSession::SetUp();
        camera = OpenGigE();
        ASSERT_NE(nullptr, camera);
    }

    Hvx::FeaturePtr Feature(const char* name)
    {
        Hvx::FeaturePtr feature;
        EXPECT_EQ(HvErrorSuccess, camera->GetFeatureByName(name, feature)) << name;
        return feature;
    }

    Hvx::CameraPtr camera;
};

std::vector<std::string> EntryNames(const Hvx::FeaturePtr& feature)
{
    unsigned int count = 0;
    EXPECT_EQ(HvErrorSuccess, feature->GetEntries(nullptr, count));
    std::vector<Hvx::EnumEntry> entries(count);
    EXPECT_EQ(HvErrorSuccess, feature->GetEntries(entries.data(), count));
    std::vector<std::string> names;
    for (const auto& entry : entries)
        names.push_back(Text([&](char* b, unsigned int& l) { return entry.GetName(b, l); }));
    return names;
}

} // namespace

TEST_F(FeatureTest, LookupIsByExactName)
{
    Hvx::FeaturePtr feature;
    EXPECT_EQ(HvErrorNotFound, camera->GetFeatureByName("width", feature));
    EXPECT_EQ(HvErrorNotFound, camera->GetFeatureByName("", feature));
    EXPECT_EQ(nullptr, feature);
    EXPECT_EQ(HvErrorBadParameter, camera->GetFeatureByName(nullptr, feature));
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatureByName("Width", feature));
    EXPECT_EQ("Width", Text([&](char* b, unsigned int& l) { return feature->GetName(b, l); }));
}

TEST_F(FeatureTest, DataTypesAndFlags)
{
    struct Case
    {
        const char* name;
        HvFeatureDataType type;
        bool readable;
        bool writable;
    };
    const Case cases[] = {
        {"Width", HvFeatureDataInt, true, true},
        {"Gain", HvFeatureDataFloat, true, true},
        {"PixelFormat", HvFeatureDataEnum, true, true},
        {"DeviceUserID", HvFeatureDataString, true, true},
        {"ReverseX", HvFeatureDataBool, true, true},
        {"DeviceTemperature", HvFeatureDataFloat, true, false},
        {"AccessKey", HvFeatureDataInt, false, true},
        {"QuickCommand", HvFeatureDataCommand, false, true},
        {"DataBuffer", HvFeatureDataRaw, true, true},
        {"Oddity", HvFeatureDataUnknown, true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Hvx::FeaturePtr feature = Feature(c.name);
        ASSERT_NE(nullptr, feature);
        HvFeatureDataType type = 99;
        EXPECT_EQ(HvErrorSuccess, feature->GetDataType(type));
        EXPECT_EQ(c.type, type);
        bool readable = !c.readable, writable = !c.writable;
        EXPECT_EQ(HvErrorSuccess, feature->IsReadable(readable));
        EXPECT_EQ(HvErrorSuccess, feature->IsWritable(writable));
        EXPECT_EQ(c.readable, readable);
        EXPECT_EQ(c.writable, writable);
    }

    unsigned int count = 0;
    ASSERT_EQ(HvErrorSuccess, camera->GetFeatures(nullptr, count));
    EXPECT_EQ(11u, count);
}

TEST_F(FeatureTest, CallsOfTheWrongTypeAreRefused)
{
    int64_t integer = 0;
    double real = 0;
    bool boolean = false;
    unsigned int length = 0;
    EXPECT_EQ(HvErrorWrongType, Feature("Gain")->GetIntValue(integer));
    EXPECT_EQ(HvErrorWrongType, Feature("Width")->GetFloatValue(real));
    EXPECT_EQ(HvErrorWrongType, Feature("Width")->SetEnumValue("Mono8"));
    EXPECT_EQ(HvErrorWrongType, Feature("PixelFormat")->GetStringValue(nullptr, length));
    EXPECT_EQ(HvErrorWrongType, Feature("DeviceUserID")->GetBoolValue(boolean));
    EXPECT_EQ(HvErrorWrongType, Feature("ReverseX")->RunCommand());
    EXPECT_EQ(HvErrorWrongType, Feature("QuickCommand")->GetRegisterLength(integer));
    // A feature of unknown type serves no typed call at all.
    const Hvx::FeaturePtr oddity = Feature("Oddity");
    EXPECT_EQ(HvErrorWrongType, oddity->GetIntValue(integer));
    EXPECT_EQ(HvErrorWrongType, oddity->SetStringValue("x"));
}

TEST_F(FeatureTest, ReadOnlyAndWriteOnly)
{
    double temperature = 0;
    EXPECT_EQ(HvErrorSuccess, Feature("DeviceTemperature")->GetFloatValue(temperature));
    EXPECT_DOUBLE_EQ(41.25, temperature);
    EXPECT_EQ(HvErrorInvalidAccess, Feature("DeviceTemperature")->SetFloatValue(20.0));
    int64_t key = 0;
    EXPECT_EQ(HvErrorInvalidAccess, Feature("AccessKey")->GetIntValue(key));
    EXPECT_EQ(HvErrorSuccess, Feature("AccessKey")->SetIntValue(7));
}

TEST_F(FeatureTest, IntegerRangeAndIncrement)
{
    const Hvx::FeaturePtr width = Feature("Width");
    int64_t minimum = 0, maximum = 0, increment = 0, value = 0;
    ASSERT_EQ(HvErrorSuccess, width->GetIntRange(minimum, maximum));
    ASSERT_EQ(HvErrorSuccess, width->GetIntIncrement(increment));
    EXPECT_EQ(16, minimum);
    EXPECT_EQ(4096, maximum);
    EXPECT_EQ(16, increment);

    const struct
    {
        int64_t value;
        HvErrorType expected;
    } cases[] = {{16, HvErrorSuccess},      {4096, HvErrorSuccess},      {1280, HvErrorSuccess},
                 {0, HvErrorInvalidValue},  {4112, HvErrorInvalidValue}, {100, HvErrorInvalidValue},
                 {-16, HvErrorInvalidValue}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        ASSERT_EQ(HvErrorSuccess, width->SetIntValue(640));
        EXPECT_EQ(c.expected, width->SetIntValue(c.value));
        ASSERT_EQ(HvErrorSuccess, width->GetIntValue(value));
        EXPECT_EQ(c.expected == HvErrorSuccess ? c.value : 640, value);
    }
}

TEST_F(FeatureTest, FloatRangeAndContinuousIncrement)
{
    const Hvx::FeaturePtr gain = Feature("Gain");
    double minimum = -1, maximum = -1, increment = -1, value = 0;
    ASSERT_EQ(HvErrorSuccess, gain->GetFloatRange(minimum, maximum));
    ASSERT_EQ(HvErrorSuccess, gain->GetFloatIncrement(increment));
    EXPECT_DOUBLE_EQ(0.0, minimum);
    EXPECT_DOUBLE_EQ(24.0, maximum);
    EXPECT_DOUBLE_EQ(0.0, increment);
    EXPECT_EQ(HvErrorSuccess, gain->SetFloatValue(12.75));
    EXPECT_EQ(HvErrorInvalidValue, gain->SetFloatValue(24.5));
    ASSERT_EQ(HvErrorSuccess, gain->GetFloatValue(value));
    EXPECT_DOUBLE_EQ(12.75, value);
}

TEST_F(FeatureTest, EnumerationByNameAndByValue)
{
    const Hvx::FeaturePtr format = Feature("PixelFormat");
    EXPECT_EQ((std::vector<std::string>{"Mono8", "Mono12", "Mono16"}), EntryNames(format));

    bool available = false;
    EXPECT_EQ(HvErrorSuccess, format->IsValueAvailable("Mono16", available));
    EXPECT_TRUE(available);
    EXPECT_EQ(HvErrorSuccess, format->IsValueAvailable("Mono12", available));
    EXPECT_FALSE(available);
    EXPECT_EQ(HvErrorSuccess, format->IsValueAvailable(int64_t(HvPixelFormatMono8), available));
    EXPECT_TRUE(available);
    EXPECT_EQ(HvErrorNotFound, format->IsValueAvailable("Mono10", available));

    ASSERT_EQ(HvErrorSuccess, format->SetEnumValue("Mono16"));
    int64_t value = 0;
    ASSERT_EQ(HvErrorSuccess, format->GetEnumIntValue(value));
    EXPECT_EQ(int64_t(HvPixelFormatMono16), value);

    ASSERT_EQ(HvErrorSuccess, format->SetEnumIntValue(HvPixelFormatMono8));
    EXPECT_EQ("Mono8", Text([&](char* b, unsigned int& l) { return format->GetEnumValue(b, l); }));

    // Unavailable or unknown entries are invalid values, and change nothing.
    EXPECT_EQ(HvErrorInvalidValue, format->SetEnumValue("Mono12"));
    EXPECT_EQ(HvErrorInvalidValue, format->SetEnumIntValue(HvPixelFormatMono12));
    EXPECT_EQ(HvErrorInvalidValue, format->SetEnumValue("mono8"));
    EXPECT_EQ(HvErrorInvalidValue, format->SetEnumIntValue(12345));
    EXPECT_EQ("Mono8", Text([&](char* b, unsigned int& l) { return format->GetEnumValue(b, l); }));

    // Entry values as listed.
    Hvx::EnumEntry entries[3];
    unsigned int count = 3;
    ASSERT_EQ(HvErrorSuccess, format->GetEntries(entries, count));
    entries[2].GetValue(value);
    EXPECT_EQ(int64_t(HvPixelFormatMono16), value);
}

TEST_F(FeatureTest, StringAndBool)
{
    const Hvx::FeaturePtr userId = Feature("DeviceUserID");
    EXPECT_EQ("left", Text([&](char* b, unsigned int& l) { return userId->GetStringValue(b, l); }));
    ASSERT_EQ(HvErrorSuccess, userId->SetStringValue("Kamera \xc3\xa4"));
    EXPECT_EQ("Kamera \xc3\xa4",
              Text([&](char* b, unsigned int& l) { return userId->GetStringValue(b, l); }));
    EXPECT_EQ(HvErrorBadParameter, userId->SetStringValue(nullptr));

    const Hvx::FeaturePtr reverse = Feature("ReverseX");
    bool value = true;
    ASSERT_EQ(HvErrorSuccess, reverse->GetBoolValue(value));
    EXPECT_FALSE(value);
    ASSERT_EQ(HvErrorSuccess, reverse->SetBoolValue(true));
    ASSERT_EQ(HvErrorSuccess, reverse->GetBoolValue(value));
    EXPECT_TRUE(value);
}

TEST_F(FeatureTest, CommandsReportWhenDone)
{
    const Hvx::FeaturePtr quick = Feature("QuickCommand");
    bool done = false;
    ASSERT_EQ(HvErrorSuccess, quick->RunCommand());
    ASSERT_EQ(HvErrorSuccess, quick->IsCommandDone(done));
    EXPECT_TRUE(done);

    // The slow one is still busy at the first two asks.
    const Hvx::FeaturePtr slow = Feature("SlowCommand");
    ASSERT_EQ(HvErrorSuccess, slow->RunCommand());
    std::vector<bool> answers;
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(HvErrorSuccess, slow->IsCommandDone(done));
        answers.push_back(done);
    }
    EXPECT_EQ((std::vector<bool>{false, false, true, true}), answers);
}

TEST_F(FeatureTest, RegisterBytes)
{
    const Hvx::FeaturePtr buffer = Feature("DataBuffer");
    int64_t length = 0;
    ASSERT_EQ(HvErrorSuccess, buffer->GetRegisterLength(length));
    EXPECT_EQ(16, length);

    unsigned char bytes[16] = {};
    ASSERT_EQ(HvErrorSuccess, buffer->GetRegister(bytes, 16));
    EXPECT_EQ(0xA0, bytes[0]);
    EXPECT_EQ(0xAF, bytes[15]);

    // A shorter access touches only the first bytes.
    const unsigned char head[3] = {1, 2, 3};
    ASSERT_EQ(HvErrorSuccess, buffer->SetRegister(head, 3));
    ASSERT_EQ(HvErrorSuccess, buffer->GetRegister(bytes, 16));
    EXPECT_EQ(1, bytes[0]);
    EXPECT_EQ(3, bytes[2]);
    EXPECT_EQ(0xA3, bytes[3]);

    unsigned char tooMany[17] = {};
    EXPECT_EQ(HvErrorBadParameter, buffer->GetRegister(tooMany, 17));
    EXPECT_EQ(HvErrorBadParameter, buffer->GetRegister(nullptr, 4));
    EXPECT_EQ(HvErrorBadParameter, buffer->SetRegister(head, 0));
}
