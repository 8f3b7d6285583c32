#include "SimFeatureSet.h"

#include <gtest/gtest.h>

using namespace hvsim;

namespace {

class FeatureSetTest : public ::testing::Test
{
protected:
    std::shared_ptr<SimTrace> trace = std::make_shared<SimTrace>();
    SimFeatureSet fs{std::make_shared<std::recursive_mutex>(), trace, "camera"};

    void SetUp() override
    {
        SimFeature width;
        width.name = "Width";
        width.intValue = 64;
        width.intMin = 16;
        width.intMax = 1024;
        width.intInc = 16;
        fs.add(width);

        SimFeature exposure;
        exposure.name = "ExposureTime";
        exposure.type = FeatureType::Float;
        exposure.floatValue = 100.0;
        exposure.floatMin = 10.0;
        exposure.floatMax = 1000.0;
        fs.add(exposure);

        SimFeature mode;
        mode.name = "Mode";
        mode.type = FeatureType::Enumeration;
        mode.entries = {EnumEntry{"A", 0, {}}, EnumEntry{"B", 3, [this] { return bAvailable; }}};
        fs.add(mode);

        SimFeature ro;
        ro.name = "Serial";
        ro.type = FeatureType::String;
        ro.access = Access::ReadOnly;
        ro.stringValue = "X1";
        fs.add(ro);

        SimFeature wo;
        wo.name = "Secret";
        wo.type = FeatureType::Boolean;
        wo.access = Access::WriteOnly;
        fs.add(wo);

        SimFeature cmd;
        cmd.name = "Go";
        cmd.type = FeatureType::Command;
        cmd.access = Access::WriteOnly;
        cmd.onExecute = [this](SimFeature&) {
            ++runs;
            return Ok;
        };
        fs.add(cmd);

        SimFeature reg;
        reg.name = "Buffer";
        reg.type = FeatureType::Register;
        reg.bytes.assign(8, 0xEE);
        fs.add(reg);
    }

    bool bAvailable = false;
    int runs = 0;
};

TEST_F(FeatureSetTest, NamesAreCaseSensitive)
{
    int64_t v = 0;
    EXPECT_EQ(fs.getInt("Width", v), Ok);
    EXPECT_EQ(v, 64);
    EXPECT_EQ(fs.getInt("width", v), NotFound);
    EXPECT_FALSE(fs.has("WIDTH"));
}

TEST_F(FeatureSetTest, IntegerRangeAndIncrementAreEnforced)
{
    EXPECT_EQ(fs.setInt("Width", 8), InvalidValue);
    EXPECT_EQ(fs.setInt("Width", 1040), InvalidValue);
    EXPECT_EQ(fs.setInt("Width", 100), InvalidValue); // not on the 16 grid from 16
    EXPECT_EQ(fs.setInt("Width", 112), Ok);
    int64_t v = 0, min = 0, max = 0, inc = 0;
    fs.getInt("Width", v);
    EXPECT_EQ(v, 112);
    ASSERT_EQ(fs.intRange("Width", min, max, inc), Ok);
    EXPECT_EQ(min, 16);
    EXPECT_EQ(max, 1024);
    EXPECT_EQ(inc, 16);
}

TEST_F(FeatureSetTest, TypesMustMatch)
{
    double d = 0;
    std::string s;
    EXPECT_EQ(fs.getFloat("Width", d), WrongType);
    EXPECT_EQ(fs.setInt("ExposureTime", 5), WrongType);
    EXPECT_EQ(fs.getString("Mode", s), WrongType);
    int64_t a = 0, b = 0, c = 0;
    EXPECT_EQ(fs.intRange("ExposureTime", a, b, c), WrongType);
}

TEST_F(FeatureSetTest, FloatRange)
{
    EXPECT_EQ(fs.setFloat("ExposureTime", 5.0), InvalidValue);
    EXPECT_EQ(fs.setFloat("ExposureTime", 250.5), Ok);
    double v = 0;
    fs.getFloat("ExposureTime", v);
    EXPECT_DOUBLE_EQ(v, 250.5);
}

TEST_F(FeatureSetTest, EnumerationEntriesFollowTheirAvailability)
{
    std::vector<EnumEntryInfo> entries;
    ASSERT_EQ(fs.enumEntries("Mode", entries), Ok);
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[1].name, "B");
    EXPECT_EQ(entries[1].value, 3);
    EXPECT_FALSE(entries[1].available);
    EXPECT_EQ(fs.setEnum("Mode", "B"), NotAvailable);
    EXPECT_EQ(fs.setEnum("Mode", "C"), InvalidValue);
    EXPECT_EQ(fs.setEnum("Mode", "b"), InvalidValue);

    bAvailable = true;
    EXPECT_EQ(fs.setEnum("Mode", "B"), Ok);
    std::string name;
    int64_t value = -1;
    fs.getEnum("Mode", name);
    fs.getEnumInt("Mode", value);
    EXPECT_EQ(name, "B");
    EXPECT_EQ(value, 3);
    EXPECT_EQ(fs.setEnumInt("Mode", 0), Ok);
    EXPECT_EQ(fs.setEnumInt("Mode", 1), InvalidValue);
    fs.getEnum("Mode", name);
    EXPECT_EQ(name, "A");
}

TEST_F(FeatureSetTest, AccessModes)
{
    std::string s;
    bool b = false;
    EXPECT_EQ(fs.getString("Serial", s), Ok);
    EXPECT_EQ(fs.setString("Serial", "Y"), InvalidAccess);
    EXPECT_EQ(fs.getBool("Secret", b), InvalidAccess);
    EXPECT_EQ(fs.setBool("Secret", true), Ok);
    FeatureType t;
    Access a;
    ASSERT_EQ(fs.info("Serial", t, a), Ok);
    EXPECT_EQ(t, FeatureType::String);
    EXPECT_EQ(a, Access::ReadOnly);
}

TEST_F(FeatureSetTest, CommandDoneStateFollowsLatency)
{
    bool done = false;
    ASSERT_EQ(fs.runCommand("Go"), Ok);
    EXPECT_EQ(runs, 1);
    ASSERT_EQ(fs.isCommandDone("Go", done), Ok);
    EXPECT_TRUE(done);

    fs.find("Go")->latencyMs = 600000;
    ASSERT_EQ(fs.runCommand("Go"), Ok);
    EXPECT_EQ(runs, 2); // the effect is immediate, only completion waits
    fs.isCommandDone("Go", done);
    EXPECT_FALSE(done);

    fs.find("Go")->latencyMs = -1;
    fs.runCommand("Go");
    fs.isCommandDone("Go", done);
    EXPECT_FALSE(done);

    fs.find("Go")->latencyMs = 0;
    fs.runCommand("Go");
    fs.isCommandDone("Go", done);
    EXPECT_TRUE(done);
}

TEST_F(FeatureSetTest, FailingCommandReportsItsResult)
{
    fs.find("Go")->onExecute = [](SimFeature&) { return InvalidValue; };
    EXPECT_EQ(fs.runCommand("Go"), InvalidValue);
}

TEST_F(FeatureSetTest, RegisterWritesReplaceLeadingBytes)
{
    const uint8_t data[3] = {1, 2, 3};
    ASSERT_EQ(fs.setRegister("Buffer", data, 3), Ok);
    std::vector<uint8_t> bytes;
    ASSERT_EQ(fs.getRegister("Buffer", bytes), Ok);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{1, 2, 3, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    const uint8_t big[9] = {};
    EXPECT_EQ(fs.setRegister("Buffer", big, 9), BadParameter);
}

TEST_F(FeatureSetTest, WriteHookCanRefuseAndValueStays)
{
    fs.find("Width")->onWrite = [](SimFeature&, const FeatureValue& v) {
        return v.i == 32 ? InvalidValue : Ok;
    };
    EXPECT_EQ(fs.setInt("Width", 32), InvalidValue);
    int64_t v = 0;
    fs.getInt("Width", v);
    EXPECT_EQ(v, 64);
}

TEST_F(FeatureSetTest, TraceRecordsOperationsInOrder)
{
    const uint8_t data[2] = {9, 9};
    fs.setInt("Width", 32);
    fs.setEnum("Mode", "A");
    fs.setRegister("Buffer", data, 2);
    fs.runCommand("Go");
    fs.setInt("Width", 33); // refused, still recorded with its result
    auto t = trace->entries();
    ASSERT_EQ(t.size(), 5u);
    EXPECT_EQ(t[0].feature, "Width");
    EXPECT_EQ(t[0].op, "set");
    EXPECT_EQ(t[0].value, "32");
    EXPECT_EQ(t[1].value, "A");
    EXPECT_EQ(t[2].feature, "Buffer");
    EXPECT_EQ(t[2].value, "2");
    EXPECT_EQ(t[3].op, "execute");
    EXPECT_EQ(t[4].status, InvalidValue);
    EXPECT_EQ(t[0].scope, "camera");
}

TEST_F(FeatureSetTest, InterceptorFailsOperationsBeforeTheyHappen)
{
    fs.setInterceptor([](const std::string& f, const std::string& op) {
        return f == "Width" && op == "set" ? TransportError : Ok;
    });
    EXPECT_EQ(fs.setInt("Width", 32), TransportError);
    int64_t v = 0;
    EXPECT_EQ(fs.getInt("Width", v), Ok);
    EXPECT_EQ(v, 64);
}

} // namespace
