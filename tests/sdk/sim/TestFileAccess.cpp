// File Access on simulated cameras through the SDK, driven the way the
// program drives it; the camera's stored files are read through the test
// controls.

#include "SimTestUtil.h"

using namespace simtest;
using hvsim::MapFileFormat;

namespace {

const char* const kGige = "SIM-GIGE-1001";

class FileAccess : public SimSession
{
protected:
    void SetUp() override
    {
        SimSession::SetUp();
        ASSERT_EQ(sys.Startup(), HvErrorSuccess);
        cam = open("sim::SIM-GIGE-1001");
        ASSERT_TRUE(cam);
    }
    Bytes neutral(uint32_t id) const { return MapFileFormat::neutralShadingMap(id, 640, 512); }

    Hvx::CameraPtr cam;
};

// A map uploaded through the File Access features is the camera's after a
// restart of the SDK; the neighbouring entry keeps its factory map.
TEST_F(FileAccess, ChunkedUploadSurvivesARestartOfTheSdk)
{
    const Bytes map = patternMap(8196, 640, 512, 42); // ten full chunks and 32 bytes
    ASSERT_TRUE(upload(Features(*cam), map, "ShadingMap1"));
    cam.reset();
    ASSERT_EQ(sys.Shutdown(), HvErrorSuccess);
    EXPECT_FALSE(control()->IsRunning());
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    cam = open("sim::SIM-GIGE-1001");
    Bytes back;
    ASSERT_TRUE(download(Features(*cam), back, "ShadingMap1"));
    EXPECT_EQ(back, map);
    ASSERT_TRUE(download(Features(*cam), back, "ShadingMap0"));
    EXPECT_EQ(back, neutral(8193));
}

TEST_F(FileAccess, MalformedMapsAreRefusedAndThePreviousMapKept)
{
    const Bytes good = patternMap(8196, 640, 512, 11);
    ASSERT_TRUE(upload(Features(*cam), good, "ShadingMap1"));
    Bytes flipped = good;
    flipped[1000] ^= 0x40;
    const std::pair<const char*, Bytes> cases[] = {
        {"checksum broken", flipped},
        {"sensor size of another camera", MapFileFormat::shadingMap(8196, 1280, 1024, {})},
        {"user map into a shading entry", MapFileFormat::userMap(640, 512, {})},
        {"truncated", Bytes(good.begin(), good.end() - 2)},
        {"not a map", Bytes{'h', 'e', 'l', 'l', 'o'}}};
    for (const auto& [what, file] : cases) {
        SCOPED_TRACE(what);
        EXPECT_FALSE(upload(Features(*cam), file, "ShadingMap1")) << "the close must fail";
        EXPECT_EQ(Features(*cam).getEnum("FileOperationStatus"), "Failure");
        EXPECT_EQ(stored(kGige, "ShadingMap1"), good);
    }
}

TEST_F(FileAccess, WritesReachTheCameraOnlyAtAGoodClose)
{
    Features fs(*cam);
    const Bytes map = patternMap(8193, 640, 512, 3);
    ASSERT_EQ(fs.openFile("ShadingMap0", "Write"), HvErrorSuccess);
    for (size_t off = 0; off < map.size(); off += 65536) {
        const size_t n = std::min<size_t>(65536, map.size() - off);
        fs.setInt("FileAccessOffset", int64_t(off));
        fs.setInt("FileAccessLength", int64_t(n));
        fs.setRegister("FileAccessBuffer", map.data() + off, unsigned(n));
        ASSERT_EQ(fs.operation("Write"), HvErrorSuccess);
        EXPECT_EQ(fs.getInt("FileOperationResult"), int64_t(n));
    }
    EXPECT_EQ(stored(kGige, "ShadingMap0"), neutral(8193));

    // Closing the camera with the file open drops the changes; the entry
    // can be opened anew afterwards.
    ASSERT_EQ(cam->Close(), HvErrorSuccess);
    EXPECT_EQ(stored(kGige, "ShadingMap0"), neutral(8193));
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    ASSERT_TRUE(upload(fs, map, "ShadingMap0"));
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Success");
    EXPECT_EQ(stored(kGige, "ShadingMap0"), map);
}

// A read-only entry takes no write and no Delete; a read past the end of a
// file is refused.
TEST_F(FileAccess, ReadOnlyEntriesAndReadsPastTheEnd)
{
    Features fs(*cam);
    ASSERT_EQ(fs.setEnum("FileSelector", "ShadingMap3"), HvErrorSuccess);
    EXPECT_EQ(fs.setEnum("FileOpenMode", "Write"), HvErrorInvalidValue);
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Delete"), HvErrorSuccess);
    EXPECT_EQ(fs.command("FileOperationExecute"), HvErrorInvalidAccess);
    EXPECT_EQ(stored(kGige, "ShadingMap3"), neutral(2432));
    ASSERT_EQ(fs.openFile("ShadingMap2", "Read"), HvErrorSuccess);
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Read"), HvErrorSuccess);
    fs.setInt("FileAccessOffset", fs.getInt("FileSize") + 1);
    EXPECT_EQ(fs.command("FileOperationExecute"), HvErrorInvalidValue);
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Failure");
}

TEST_F(FileAccess, UserMapsAreKeptPerFileNameAndSlot)
{
    Hvx::CameraPtr usb = open("sim::SIM-U3V-2001");
    ASSERT_TRUE(usb);
    Features fs(*usb);
    const Bytes map1 = MapFileFormat::userMap(1280, 1024, std::vector<uint16_t>(1280 * 1024, 1));
    const Bytes map3 = MapFileFormat::userMap(1280, 1024, std::vector<uint16_t>(1280 * 1024, 3));
    ASSERT_TRUE(upload(fs, map1, "Userfile", "nuc_usermap1.ge3"));
    ASSERT_TRUE(upload(fs, map3, "Userfile", "nuc_usermap3.ge3"));
    EXPECT_EQ(stored("SIM-U3V-2001", "Userfile", "nuc_usermap1.ge3"), map1);
    EXPECT_EQ(stored("SIM-U3V-2001", "Userfile", "nuc_usermap3.ge3"), map3);
    EXPECT_EQ(stored("SIM-U3V-2001", "Userfile", "nuc_usermap0.ge3"),
              MapFileFormat::neutralUserMap(1280, 1024));

    // A shading map, a map of the wrong size and a slot the camera lacks.
    EXPECT_FALSE(upload(fs, MapFileFormat::neutralShadingMap(8193, 1280, 1024), "Userfile",
                        "nuc_usermap1.ge3"));
    EXPECT_FALSE(
        upload(fs, MapFileFormat::neutralUserMap(640, 512), "Userfile", "nuc_usermap1.ge3"));
    EXPECT_FALSE(upload(fs, map1, "Userfile", "nuc_usermap4.ge3"));
    EXPECT_EQ(stored("SIM-U3V-2001", "Userfile", "nuc_usermap1.ge3"), map1);

    // "NucControl" and "nucControl" are one setting; without a file name
    // the slot it selects is meant.
    ASSERT_EQ(fs.setInt("nucControl", 8), HvErrorSuccess);
    EXPECT_EQ(fs.getEnum("NucControl"), "NucUserMap3");
    EXPECT_EQ(fs.setInt("nucControl", 3), HvErrorInvalidValue);
    Bytes back;
    ASSERT_TRUE(download(fs, back, "Userfile", ""));
    EXPECT_EQ(back, map3);
    ASSERT_EQ(fs.setEnum("NucControl", "Off"), HvErrorSuccess);
    EXPECT_EQ(fs.getInt("nucControl"), 0);
}

} // namespace
