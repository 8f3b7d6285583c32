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

// A program linked only against the SDK lists the default cameras, opens the
// GigE one, uploads a valid map into "ShadingMap1" through the File Access
// features, shuts the SDK down, starts it again and downloads identical bytes.
TEST_F(FileAccess, ChunkedUploadSurvivesARestartOfTheSdk)
{
    std::vector<std::string> listed;
    unsigned int count = 4;
    Hvx::CameraPtr cameras[4];
    ASSERT_EQ(sys.GetCameras(cameras, count), HvErrorSuccess);
    for (const auto& c : cameras)
        listed.push_back(text([&](char* b, unsigned int& n) { return c->GetID(b, n, true); }) +
                         " " + text([&](char* b, unsigned int& n) { return c->GetModel(b, n); }));
    EXPECT_EQ(listed, (std::vector<std::string>{
                          "sim::SIM-GIGE-1001 kva640MXGE", "sim::SIM-U3V-2001 zt1280MLV",
                          "sim::SIM-GIGE-3001 gx1280C-PoE", "sim::SIM-GIGE-4001 kva640MXGE"}));

    const Bytes map = patternMap(8196, 640, 512, 42); // ten full chunks and 32 bytes
    ASSERT_EQ(control()->ClearTrace(kGige), 0);
    ASSERT_TRUE(upload(Features(*cam), map, "ShadingMap1"));
    EXPECT_EQ(stored(kGige, "ShadingMap1"), map);

    // The length is written once for the chunks and once for the short last.
    std::vector<std::string> sets, lengths;
    int buffers = 0;
    for (const auto& e : trace(kGige)) {
        if (e.op == "set" && sets.size() < 4)
            sets.push_back(e.feature + "=" + e.value);
        if (e.op == "set" && e.feature == "FileAccessLength")
            lengths.push_back(e.value);
        buffers += e.op == "set" && e.feature == "FileAccessBuffer";
    }
    EXPECT_EQ(sets, (std::vector<std::string>{"FileSelector=ShadingMap1", "Filename=ShadingMap1",
                                              "FileOpenMode=Write", "FileOperationSelector=Open"}));
    EXPECT_EQ(lengths, (std::vector<std::string>{"65536", "32"}));
    EXPECT_EQ(buffers, 11);

    cam.reset();
    ASSERT_EQ(sys.Shutdown(), HvErrorSuccess);
    EXPECT_FALSE(control()->IsRunning());
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    cam = open("sim::SIM-GIGE-1001");
    Bytes back;
    ASSERT_TRUE(download(Features(*cam), back, "ShadingMap1"));
    EXPECT_EQ(back, map);
    ASSERT_TRUE(download(Features(*cam), back, "ShadingMap0"));
    EXPECT_EQ(back, neutral(8193)) << "the neighbouring entry keeps its factory map";
}

TEST_F(FileAccess, EveryEntryStartsWithItsFactoryMapAndChunkId)
{
    const std::pair<const char*, uint32_t> entries[] = {
        {"ShadingMap0", 8193}, {"ShadingMap1", 8196}, {"ShadingMap2", 8194}, {"ShadingMap3", 2432}};
    Features fs(*cam);
    for (auto [selector, id] : entries) {
        SCOPED_TRACE(selector);
        ASSERT_EQ(fs.setEnum("FileSelector", selector), HvErrorSuccess);
        EXPECT_EQ(fs.getInt("FileChunkId"), id);
        Bytes got;
        ASSERT_TRUE(download(fs, got, selector));
        EXPECT_EQ(got, neutral(id));
    }
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
    EXPECT_FALSE(std::ifstream(folder + "/state/OX64G1001/ShadingMap0").good());

    // Closing the camera with the file open drops the changes; the entry
    // can be opened anew afterwards.
    ASSERT_EQ(cam->Close(), HvErrorSuccess);
    EXPECT_EQ(stored(kGige, "ShadingMap0"), neutral(8193));
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    ASSERT_TRUE(upload(fs, map, "ShadingMap0"));
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Success");
    EXPECT_EQ(stored(kGige, "ShadingMap0"), map);
}

TEST_F(FileAccess, OpenModesAndOperationsFollowTheEntryAndTheFileState)
{
    Features fs(*cam);
    auto operations = [&] {
        std::string names;
        for (const char* op : {"Open", "Close", "Read", "Write", "Delete"})
            if (fs.available("FileOperationSelector", op))
                names += std::string(op) + " ";
        return names;
    };
    ASSERT_EQ(fs.setEnum("FileSelector", "ShadingMap3"), HvErrorSuccess); // refuses writes
    EXPECT_EQ(fs.setEnum("FileOpenMode", "Write"), HvErrorInvalidValue);
    EXPECT_EQ(fs.setEnum("FileOpenMode", "ReadWrite"), HvErrorInvalidValue);
    EXPECT_EQ(fs.setEnum("FileOpenMode", "Read"), HvErrorSuccess);
    EXPECT_FALSE(upload(fs, patternMap(2432, 640, 512, 4), "ShadingMap3"));
    EXPECT_EQ(stored(kGige, "ShadingMap3"), neutral(2432));
    fs.setEnum("FileSelector", "ShadingMap3");
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Delete"), HvErrorSuccess);
    EXPECT_EQ(fs.command("FileOperationExecute"), HvErrorInvalidAccess);

    EXPECT_EQ(operations(), "Open Delete ");
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Write"), HvErrorInvalidValue);
    ASSERT_EQ(fs.openFile("ShadingMap2", "Read"), HvErrorSuccess);
    EXPECT_EQ(operations(), "Close Read ");
    // Offset, status and result belong to the operation selected: an offset
    // written while "Open" is selected leaves the Read at 0 and full length.
    const int64_t size = fs.getInt("FileSize");
    EXPECT_EQ(size, 32 + 2 * 640 * 512);
    fs.setInt("FileAccessOffset", size - 100);
    ASSERT_EQ(fs.operation("Read"), HvErrorSuccess);
    EXPECT_EQ(fs.getInt("FileOperationResult"), 65536);
    // A short last chunk reports its bytes; past the end is refused.
    fs.setInt("FileAccessOffset", size - 100);
    ASSERT_EQ(fs.command("FileOperationExecute"), HvErrorSuccess);
    EXPECT_EQ(fs.getInt("FileOperationResult"), 100);
    fs.setInt("FileAccessOffset", size + 1);
    EXPECT_EQ(fs.command("FileOperationExecute"), HvErrorInvalidValue);
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Failure");
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Close"), HvErrorSuccess);
    EXPECT_EQ(fs.getEnum("FileOperationStatus"), "Success") << "no Close ran yet";
    ASSERT_EQ(fs.operation("Close"), HvErrorSuccess);
    ASSERT_EQ(fs.openFile("ShadingMap2", "ReadWrite"), HvErrorSuccess);
    EXPECT_EQ(operations(), "Close Read Write ");
}

TEST_F(FileAccess, ReadWritePatchesAndDeleteRestoresTheFactoryMap)
{
    Features fs(*cam);
    const Bytes map = patternMap(8196, 640, 512, 5);
    ASSERT_TRUE(upload(fs, map, "ShadingMap1"));
    // Change two map bytes and the checksum so the file stays valid.
    Bytes expected = map;
    expected[100] ^= 0xFF;
    MapFileFormat::writeU32(expected, 8, 0);
    MapFileFormat::writeU32(expected, 8, 0u - MapFileFormat::wordSum(expected));
    ASSERT_EQ(fs.openFile("ShadingMap1", "ReadWrite"), HvErrorSuccess);
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Write"), HvErrorSuccess);
    for (int64_t off : {8, 100}) {
        fs.setInt("FileAccessOffset", off);
        fs.setInt("FileAccessLength", 4);
        fs.setRegister("FileAccessBuffer", expected.data() + off, 4);
        ASSERT_EQ(fs.command("FileOperationExecute"), HvErrorSuccess);
    }
    ASSERT_EQ(fs.operation("Close"), HvErrorSuccess);
    EXPECT_EQ(stored(kGige, "ShadingMap1"), expected);

    ASSERT_EQ(fs.operation("Delete"), HvErrorSuccess);
    EXPECT_EQ(stored(kGige, "ShadingMap1"), neutral(8196));
}

TEST_F(FileAccess, FixedLengthCameraAndEmptyFile)
{
    ASSERT_EQ(control()->AddCamera(R"({"id": "FIX-1", "fileAccessLengthWritable": false,
        "fileAccessPadding": true, "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193}]})"),
              0);
    Hvx::CameraPtr fixed = open("sim::FIX-1");
    ASSERT_TRUE(fixed);
    Features fs(*fixed);
    EXPECT_FALSE(fs.writable("FileAccessLength"));
    // The camera takes 65536 bytes for the 32 of the last chunk, zeros
    // after them, and keeps as much of a map as its header gives.
    const Bytes map = patternMap(8193, 640, 512, 8);
    ASSERT_TRUE(upload(fs, map, "ShadingMap0"));
    EXPECT_EQ(stored("FIX-1", "ShadingMap0"), map);
    Bytes back;
    ASSERT_TRUE(download(fs, back, "ShadingMap0"));
    EXPECT_EQ(back, map);

    // An empty file downloads without a chunk.
    ASSERT_EQ(
        control()->AddCamera(R"({"id": "E-1", "files": [{"selector": "E", "kind": "plain"}]})"), 0);
    Hvx::CameraPtr empty = open("sim::E-1");
    ASSERT_TRUE(empty);
    ASSERT_TRUE(download(Features(*empty), back, "E"));
    EXPECT_TRUE(back.empty());
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
