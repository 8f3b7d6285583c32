// The Aravis transport layer through the SDK, on Aravis's in-process fake
// camera (no network at all): features of every type with the checks the
// module makes itself, commands and their completion and exact-length register
// access. Frames are met on the wire (TestAravisLoopback).

#include "AravisTestSupport.h"

#include <arv.h>

using namespace AravisTest;

namespace {

const char* const kFake = "aravis::Fake_1";

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

// What the module checks itself (increments, available entries, string
// lengths); range, access, unknown entries and missing features are met on
// orvex-sim-gev (TestAravisGev).
TEST_F(ProbeCamera, FeaturesOfEveryTypeWithTheirErrors)
{
    ExpectWrites(camera,
                 {
                     {"ProbeInteger", "400", HvErrorSuccess, "400"},
                     {"ProbeInteger", "402", HvErrorInvalidValue, "400"}, // off the increment of 4
                     {"ProbeFloat", "2.5", HvErrorSuccess, "2.500000"},
                     {"ProbeEnum", "Two", HvErrorSuccess, "Two"},
                     {"ProbeEnum", "Gone", HvErrorInvalidValue, "Two"}, // not available
                     {"ProbeString", "lab-7", HvErrorSuccess, "lab-7"},
                     {"ProbeString", "seventeen letters", HvErrorInvalidValue, "lab-7"},
                     {"ProbeBool", "1", HvErrorSuccess, "1"},
                     {"ProbeReadOnly", "7", HvErrorInvalidAccess, "0"},
                 });

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
