// File Access on simulated cameras, driven the way the program drives it.

#include "MapFileFormat.h"
#include "SimCamera.h"
#include "SimTestUtil.h"

#include <gtest/gtest.h>

#include <fstream>

using namespace hvsim;
using simtest::download;
using simtest::upload;
using Bytes = std::vector<uint8_t>;

namespace {

CameraConfig gigeConfig()
{
    return SimConfig::defaults().cameras[0];
}

CameraConfig usbConfig()
{
    return SimConfig::defaults().cameras[1];
}

class FileAccessTest : public ::testing::Test
{
protected:
    std::string state = simtest::freshFolder("fa");
    std::unique_ptr<SimCamera> camera = makeCamera(gigeConfig());

    std::unique_ptr<SimCamera> makeCamera(const CameraConfig& c)
    {
        auto cam = std::make_unique<SimCamera>(c, state);
        EXPECT_EQ(cam->open(true), Ok);
        return cam;
    }

    Bytes validMap(uint16_t seed, uint32_t id = 8196) const
    {
        return MapFileFormat::shadingMap(id, 640, 512, simtest::patternWords(640, 512, seed));
    }

    Bytes stored(const std::string& selector, const std::string& name = "")
    {
        Bytes b;
        EXPECT_TRUE(camera->storedFile(selector, name, b));
        return b;
    }

    int countOps(const std::string& feature, const std::string& op)
    {
        int n = 0;
        for (const auto& e : camera->trace().entries())
            n += e.feature == feature && e.op == op;
        return n;
    }
};

TEST_F(FileAccessTest, EveryShadingMapEntryStartsWithItsNeutralFactoryMap)
{
    const std::pair<const char*, uint32_t> entries[] = {
        {"ShadingMap0", 8193}, {"ShadingMap1", 8196}, {"ShadingMap2", 8194}, {"ShadingMap3", 2432}};
    for (auto [selector, id] : entries) {
        Bytes got;
        auto r = download(camera->features(), got, selector, selector);
        ASSERT_TRUE(r.ok) << selector;
        EXPECT_EQ(got, MapFileFormat::neutralShadingMap(id, 640, 512)) << selector;
    }
}

TEST_F(FileAccessTest, FileChunkIdFollowsTheSelector)
{
    auto& fs = camera->features();
    const std::pair<const char*, int64_t> entries[] = {
        {"ShadingMap0", 8193}, {"ShadingMap1", 8196}, {"ShadingMap2", 8194}, {"ShadingMap3", 2432}};
    for (auto [selector, id] : entries) {
        ASSERT_EQ(fs.setEnum("FileSelector", selector), Ok);
        int64_t chunk = 0;
        ASSERT_EQ(fs.getInt("FileChunkId", chunk), Ok);
        EXPECT_EQ(chunk, id) << selector;
    }
}

TEST_F(FileAccessTest, ChunkedUploadRoundTripsAndPersists)
{
    const Bytes map = validMap(7); // 655392 bytes: ten full chunks and a short one
    auto up = upload(camera->features(), map, "ShadingMap1", "ShadingMap1");
    ASSERT_TRUE(up.ok);
    EXPECT_EQ(up.bytes, long(map.size()));
    EXPECT_EQ(stored("ShadingMap1"), map);

    Bytes back;
    auto down = download(camera->features(), back, "ShadingMap1", "ShadingMap1");
    ASSERT_TRUE(down.ok);
    EXPECT_EQ(back, map);

    // Other entries are untouched.
    EXPECT_EQ(stored("ShadingMap0"), MapFileFormat::neutralShadingMap(8193, 640, 512));

    // A new camera object on the same state folder (a restart) reads it back.
    camera = makeCamera(gigeConfig());
    Bytes again;
    ASSERT_TRUE(download(camera->features(), again, "ShadingMap1", "ShadingMap1").ok);
    EXPECT_EQ(again, map);
}

TEST_F(FileAccessTest, LengthIsWrittenOnceAndAgainOnlyForTheShortLastChunk)
{
    camera->trace().clear();
    ASSERT_TRUE(upload(camera->features(), validMap(1), "ShadingMap0", "ShadingMap0").ok);
    EXPECT_EQ(countOps("FileAccessLength", "set"), 2);
    EXPECT_EQ(countOps("FileAccessBuffer", "set"), 11);

    // The write sequence starts with selector, name, mode, open.
    auto t = camera->trace().entries();
    std::vector<std::string> firstSets;
    for (const auto& e : t)
        if (e.op == "set" && firstSets.size() < 4)
            firstSets.push_back(e.feature + "=" + e.value);
    EXPECT_EQ(firstSets,
              (std::vector<std::string>{"FileSelector=ShadingMap0", "Filename=ShadingMap0",
                                        "FileOpenMode=Write", "FileOperationSelector=Open"}));
}

TEST_F(FileAccessTest, WriteIsInvisibleUntilClose)
{
    auto& fs = camera->features();
    const Bytes map = validMap(3);
    fs.setEnum("FileSelector", "ShadingMap1");
    fs.setString("Filename", "ShadingMap1");
    ASSERT_EQ(fs.setEnum("FileOpenMode", "Write"), Ok);
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Open"), Ok);
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    for (size_t off = 0; off < map.size(); off += 65536) {
        size_t n = std::min<size_t>(65536, map.size() - off);
        fs.setInt("FileAccessOffset", int64_t(off));
        fs.setInt("FileAccessLength", int64_t(n));
        fs.setRegister("FileAccessBuffer", map.data() + off, n);
        fs.setEnum("FileOperationSelector", "Write");
        ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
        int64_t result = 0;
        fs.getInt("FileOperationResult", result);
        EXPECT_EQ(result, int64_t(n));
    }
    EXPECT_EQ(stored("ShadingMap1"), MapFileFormat::neutralShadingMap(8196, 640, 512));
    std::ifstream onDisk(state + "/OX64G1001/ShadingMap1");
    EXPECT_FALSE(onDisk.good()) << "nothing may reach the disk before the close";

    fs.setEnum("FileOperationSelector", "Close");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    std::string status;
    fs.getEnum("FileOperationStatus", status);
    EXPECT_EQ(status, "Success");
    EXPECT_EQ(stored("ShadingMap1"), map);
}

struct BadMap
{
    const char* what;
    Bytes file;
};

TEST_F(FileAccessTest, MalformedMapsAreRefusedAndThePreviousMapKept)
{
    const Bytes good = validMap(11);
    ASSERT_TRUE(upload(camera->features(), good, "ShadingMap1", "ShadingMap1").ok);

    Bytes flipped = good;
    flipped[1000] ^= 0x40;
    Bytes wrongSize = MapFileFormat::shadingMap(8196, 1280, 1024, {});
    Bytes userMap = MapFileFormat::userMap(640, 512, {});
    Bytes truncated(good.begin(), good.end() - 2);
    Bytes text{'h', 'e', 'l', 'l', 'o'};
    const BadMap cases[] = {{"checksum broken", flipped},
                            {"sensor size of another camera", wrongSize},
                            {"user map into a shading entry", userMap},
                            {"truncated", truncated},
                            {"not a map", text}};
    for (const auto& c : cases) {
        auto r = upload(camera->features(), c.file, "ShadingMap1", "ShadingMap1");
        EXPECT_FALSE(r.ok) << c.what << ": the close must fail";
        std::string status;
        camera->features().getEnum("FileOperationStatus", status);
        EXPECT_EQ(status, "Failure") << c.what;
        EXPECT_EQ(stored("ShadingMap1"), good) << c.what;
    }
}

TEST_F(FileAccessTest, AbandonedUploadCommitsNothing)
{
    auto& fs = camera->features();
    fs.setEnum("FileSelector", "ShadingMap0");
    fs.setEnum("FileOpenMode", "Write");
    fs.setEnum("FileOperationSelector", "Open");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    const Bytes map = validMap(2, 8193);
    fs.setRegister("FileAccessBuffer", map.data(), 65536);
    fs.setEnum("FileOperationSelector", "Write");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    ASSERT_EQ(camera->close(), Ok); // the host goes away with the file open
    EXPECT_EQ(stored("ShadingMap0"), MapFileFormat::neutralShadingMap(8193, 640, 512));
    ASSERT_EQ(camera->open(true), Ok);
    // The entry is closed again and can be opened anew.
    fs.setEnum("FileSelector", "ShadingMap0");
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Open"), Ok);
}

TEST_F(FileAccessTest, OpenModeProbeSeesPerEntryRefusals)
{
    auto& fs = camera->features();
    struct Expect
    {
        const char* selector;
        bool read, write, readWrite;
    };
    const Expect cases[] = {{"ShadingMap0", true, true, true}, {"ShadingMap3", true, false, false}};
    for (const auto& c : cases) {
        ASSERT_EQ(fs.setEnum("FileSelector", c.selector), Ok);
        EXPECT_EQ(fs.setEnum("FileOpenMode", "Read") == Ok, c.read) << c.selector;
        EXPECT_EQ(fs.setEnum("FileOpenMode", "Write") == Ok, c.write) << c.selector;
        EXPECT_EQ(fs.setEnum("FileOpenMode", "ReadWrite") == Ok, c.readWrite) << c.selector;
    }
    EXPECT_FALSE(upload(fs, validMap(4, 2432), "ShadingMap3", "ShadingMap3").ok);
    EXPECT_EQ(stored("ShadingMap3"), MapFileFormat::neutralShadingMap(2432, 640, 512));
}

TEST_F(FileAccessTest, OperationSelectorFollowsTheFileState)
{
    auto& fs = camera->features();
    fs.setEnum("FileSelector", "ShadingMap0");
    std::vector<EnumEntryInfo> entries;
    auto available = [&]() {
        fs.enumEntries("FileOperationSelector", entries);
        std::string names;
        for (const auto& e : entries)
            if (e.available)
                names += e.name + " ";
        return names;
    };
    EXPECT_EQ(available(), "Open Delete ");
    EXPECT_EQ(fs.setEnum("FileOperationSelector", "Write"), NotAvailable);
    fs.setEnum("FileOpenMode", "Read");
    fs.setEnum("FileOperationSelector", "Open");
    fs.runCommand("FileOperationExecute");
    EXPECT_EQ(available(), "Close Read ");
    fs.setEnum("FileOperationSelector", "Close");
    fs.runCommand("FileOperationExecute");
    fs.setEnum("FileOpenMode", "ReadWrite");
    fs.setEnum("FileOperationSelector", "Open");
    fs.runCommand("FileOperationExecute");
    EXPECT_EQ(available(), "Close Read Write ");
}

TEST_F(FileAccessTest, ReadWriteModePatchesTheStoredFile)
{
    auto& fs = camera->features();
    ASSERT_TRUE(upload(fs, validMap(5), "ShadingMap1", "ShadingMap1").ok);
    Bytes expected = validMap(5);
    // Change two map bytes and the checksum so the file stays valid.
    expected[100] ^= 0xFF;
    MapFileFormat::writeU32(expected, 8, 0);
    MapFileFormat::writeU32(expected, 8, 0u - MapFileFormat::wordSum(expected));

    fs.setEnum("FileOpenMode", "ReadWrite");
    fs.setEnum("FileOperationSelector", "Open");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    for (size_t off : {size_t(8), size_t(100)}) {
        fs.setInt("FileAccessOffset", int64_t(off));
        fs.setInt("FileAccessLength", 4);
        fs.setRegister("FileAccessBuffer", expected.data() + off, 4);
        fs.setEnum("FileOperationSelector", "Write");
        ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    }
    fs.setEnum("FileOperationSelector", "Close");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    EXPECT_EQ(stored("ShadingMap1"), expected);
}

TEST_F(FileAccessTest, DeleteRestoresTheFactoryMap)
{
    auto& fs = camera->features();
    ASSERT_TRUE(upload(fs, validMap(6), "ShadingMap1", "ShadingMap1").ok);
    fs.setEnum("FileSelector", "ShadingMap1");
    fs.setEnum("FileOpenMode", "Write");
    ASSERT_EQ(fs.setEnum("FileOperationSelector", "Delete"), Ok);
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    EXPECT_EQ(stored("ShadingMap1"), MapFileFormat::neutralShadingMap(8196, 640, 512));
    // An entry that refuses writes refuses deletion too.
    fs.setEnum("FileSelector", "ShadingMap3");
    fs.setEnum("FileOperationSelector", "Delete");
    EXPECT_EQ(fs.runCommand("FileOperationExecute"), InvalidAccess);
}

TEST_F(FileAccessTest, DownloadOfOddSizeReportsShortLastChunk)
{
    auto& fs = camera->features();
    fs.setEnum("FileSelector", "ShadingMap2");
    fs.setEnum("FileOpenMode", "Read");
    fs.setEnum("FileOperationSelector", "Open");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    int64_t size = 0;
    fs.getInt("FileSize", size);
    EXPECT_EQ(size, 32 + 2 * 640 * 512);
    fs.setInt("FileAccessOffset", size - 100);
    fs.setEnum("FileOperationSelector", "Read");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    int64_t result = 0;
    fs.getInt("FileOperationResult", result);
    EXPECT_EQ(result, 100);
    fs.setInt("FileAccessOffset", size + 1);
    EXPECT_EQ(fs.runCommand("FileOperationExecute"), InvalidValue);
}

TEST_F(FileAccessTest, EmptyFileDownloadsWithLengthZero)
{
    CameraConfig c = gigeConfig();
    FileEntryConfig empty;
    empty.selector = "Empty";
    c.files.push_back(empty);
    c.serial = "EMPTY1";
    camera = makeCamera(c);
    auto& fs = camera->features();
    fs.setEnum("FileSelector", "Empty");
    fs.setEnum("FileOpenMode", "Read");
    fs.setEnum("FileOperationSelector", "Open");
    ASSERT_EQ(fs.runCommand("FileOperationExecute"), Ok);
    int64_t size = -1;
    ASSERT_EQ(fs.getInt("FileSize", size), Ok);
    EXPECT_EQ(size, 0);
    // The host sizes its chunk by the file: 0.
    EXPECT_EQ(fs.setInt("FileAccessLength", 0), Ok);
    fs.setEnum("FileOperationSelector", "Close");
    EXPECT_EQ(fs.runCommand("FileOperationExecute"), Ok);
}

TEST_F(FileAccessTest, CameraWithFixedLengthTakesTheBytesOfTheLastBufferWrite)
{
    CameraConfig c = gigeConfig();
    c.fileAccessLengthWritable = false;
    c.serial = "FIXEDLEN";
    camera = makeCamera(c);
    camera->trace().clear();
    const Bytes map = validMap(8);
    ASSERT_TRUE(upload(camera->features(), map, "ShadingMap1", "ShadingMap1").ok);
    EXPECT_EQ(countOps("FileAccessLength", "set"), 0);
    EXPECT_EQ(stored("ShadingMap1"), map);
    Bytes back;
    ASSERT_TRUE(download(camera->features(), back, "ShadingMap1", "ShadingMap1").ok);
    EXPECT_EQ(back, map);
}

TEST_F(FileAccessTest, UserMapsAreKeptPerFileName)
{
    camera = makeCamera(usbConfig());
    const Bytes map1 = MapFileFormat::userMap(1280, 1024, simtest::patternWords(1280, 1024, 1));
    const Bytes map3 = MapFileFormat::userMap(1280, 1024, simtest::patternWords(1280, 1024, 3));
    auto& fs = camera->features();
    ASSERT_TRUE(upload(fs, map1, "nuc_usermap1.ge3", "Userfile").ok);
    ASSERT_TRUE(upload(fs, map3, "nuc_usermap3.ge3", "Userfile").ok);
    EXPECT_EQ(stored("Userfile", "nuc_usermap1.ge3"), map1);
    EXPECT_EQ(stored("Userfile", "nuc_usermap3.ge3"), map3);
    EXPECT_EQ(stored("Userfile", "nuc_usermap0.ge3"), MapFileFormat::neutralUserMap(1280, 1024));

    // A shading map, a map of the wrong size and a slot the camera lacks are refused.
    EXPECT_FALSE(upload(fs, MapFileFormat::neutralShadingMap(8193, 1280, 1024), "nuc_usermap1.ge3",
                        "Userfile")
                     .ok);
    EXPECT_FALSE(
        upload(fs, MapFileFormat::neutralUserMap(640, 512), "nuc_usermap1.ge3", "Userfile").ok);
    EXPECT_FALSE(upload(fs, map1, "nuc_usermap4.ge3", "Userfile").ok);
    EXPECT_EQ(stored("Userfile", "nuc_usermap1.ge3"), map1);

    // Without a file name the slot "nucControl" selects is meant.
    ASSERT_EQ(fs.setInt("nucControl", 8), Ok); // user map 3
    fs.setString("Filename", "");
    Bytes back;
    ASSERT_TRUE(download(fs, back, "", "Userfile").ok);
    EXPECT_EQ(back, map3);
}

TEST_F(FileAccessTest, NucControlAndItsNumberAreOneSetting)
{
    camera = makeCamera(usbConfig());
    auto& fs = camera->features();
    std::vector<EnumEntryInfo> entries;
    ASSERT_EQ(fs.enumEntries("NucControl", entries), Ok);
    std::vector<std::string> userMaps;
    for (const auto& e : entries)
        if (e.name.find("NucUserMap") != std::string::npos)
            userMaps.push_back(e.name + "=" + std::to_string(e.value));
    EXPECT_EQ(userMaps, (std::vector<std::string>{"NucUserMap0=5", "NucUserMap1=6", "NucUserMap2=7",
                                                  "NucUserMap3=8"}));
    ASSERT_EQ(fs.setInt("nucControl", 7), Ok);
    std::string name;
    fs.getEnum("NucControl", name);
    EXPECT_EQ(name, "NucUserMap2");
    EXPECT_EQ(fs.setInt("nucControl", 3), InvalidValue); // no entry with that value
    ASSERT_EQ(fs.setEnum("NucControl", "Off"), Ok);
    int64_t v = -1;
    fs.getInt("nucControl", v);
    EXPECT_EQ(v, 0);
    // The user map camera has no shading map entries.
    ASSERT_EQ(fs.enumEntries("FileSelector", entries), Ok);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].name, "Userfile");
}

} // namespace
