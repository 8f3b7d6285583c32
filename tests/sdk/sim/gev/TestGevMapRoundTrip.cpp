// Files moved to and from orvex-sim-gev through Aravis's C library, File
// Access done the standard GenICam way; the camera's stored file is compared
// byte for byte. Address 127.0.0.31.

#include "GevTestSupport.h"

#include "DeviceFileStore.h"
#include "MapFileFormat.h"

#include <random>

using hvsim::DeviceFileStore;
using hvsim::MapFileFormat;
using Bytes = std::vector<uint8_t>;

namespace {

class MapRoundTrip : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const std::string config = writeConfig("maps", R"({"cameras": [{"id": "MAP-1",
            "width": 1280, "height": 1024, "pixelFormat": "Mono12",
            "files": [{"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8193},
                      {"selector": "Notes", "kind": "plain"}])" + faults + "]}");
        gev = std::make_unique<GevProcess>("127.0.0.31", "MAP-1", state, config);
        ASSERT_TRUE(gev->ready);
        d = openDevice(gev->address);
        ASSERT_TRUE(d);
        gint64 min = 0;
        arv_device_get_integer_feature_bounds(d, "FileAccessLength", &min, &chunk, &e);
        buffer = ARV_GC_REGISTER(arv_device_get_feature(d, "FileAccessBuffer"));
        ASSERT_TRUE(e == nullptr && buffer && chunk > 1);
    }
    void TearDown() override
    {
        if (d)
            g_object_unref(d);
        g_clear_error(&e);
        EXPECT_EQ(0, gev->stop());
    }

    // One operation: selected before its offset and length, executed, and
    // judged by FileOperationStatus (and FileOperationResult when counted).
    bool operation(const char* op, gint64 offset = -1, gint64 length = 0)
    {
        arv_device_set_string_feature_value(d, "FileOperationSelector", op, &e);
        if (offset >= 0) {
            arv_device_set_integer_feature_value(d, "FileAccessOffset", offset, &e);
            arv_device_set_integer_feature_value(d, "FileAccessLength", length, &e);
        }
        arv_device_execute_command(d, "FileOperationExecute", &e);
        const bool executed = !e;
        g_clear_error(&e);
        const char* status = arv_device_get_string_feature_value(d, "FileOperationStatus", &e);
        const bool ok = executed && !e && status && std::string(status) == "Success" &&
                        (offset < 0 ||
                         arv_device_get_integer_feature_value(d, "FileOperationResult", &e) ==
                             length);
        g_clear_error(&e);
        return ok;
    }
    bool open(const char* selector, const char* mode)
    {
        arv_device_set_string_feature_value(d, "FileSelector", selector, &e);
        arv_device_set_string_feature_value(d, "FileOpenMode", mode, &e);
        return operation("Open");
    }
    bool upload(const char* selector, const Bytes& bytes)
    {
        bool ok = open(selector, "Write");
        for (size_t at = 0; ok && at < bytes.size(); at += size_t(chunk)) {
            const gint64 n = std::min<gint64>(chunk, gint64(bytes.size() - at));
            arv_gc_register_set(buffer, bytes.data() + at, guint64(n), &e);
            ok = operation("Write", gint64(at), n);
        }
        return operation("Close") && ok;
    }
    Bytes download(const char* selector)
    {
        Bytes out, block(arv_gc_register_get_length(buffer, nullptr));
        open(selector, "Read");
        const gint64 size = arv_device_get_integer_feature_value(d, "FileSize", &e);
        for (gint64 at = 0; at < size; at += chunk) {
            const gint64 n = std::min(chunk, size - at);
            if (!operation("Read", at, n))
                break;
            arv_gc_register_get(buffer, block.data(), block.size(), &e);
            out.insert(out.end(), block.begin(), block.begin() + n);
        }
        operation("Close");
        return out;
    }
    Bytes stored(const std::string& key)
    {
        Bytes bytes;
        DeviceFileStore(state + "/" + DeviceFileStore::safeName("MAP-1")).load(key, bytes);
        return bytes;
    }

    std::string faults = "}";
    std::string state = testDir("maps-state");
    std::unique_ptr<GevProcess> gev;
    ArvDevice* d = nullptr;
    ArvGcRegister* buffer = nullptr;
    GError* e = nullptr;
    gint64 chunk = 0;
};

Bytes randomBytes(size_t n, unsigned seed)
{
    std::mt19937 rng(seed);
    Bytes b(n);
    for (auto& x : b)
        x = uint8_t(rng());
    return b;
}

} // namespace

TEST_F(MapRoundTrip, FilesOfEverySizeAroundAChunkArriveWhole)
{
    for (gint64 size : {gint64(0), gint64(1), chunk - 1, chunk, chunk + 1}) {
        SCOPED_TRACE(size);
        const Bytes bytes = randomBytes(size_t(size), unsigned(size));
        ASSERT_TRUE(upload("Notes", bytes));
        EXPECT_EQ(bytes, stored("Notes"));
        EXPECT_EQ(bytes, download("Notes"));
    }
}

TEST_F(MapRoundTrip, AFullMapIsStoredAndABadOneRefusedWithTheOldKept)
{
    std::vector<uint16_t> words(1280 * 1024);
    std::mt19937 rng(7);
    for (auto& w : words)
        w = uint16_t(rng());
    const Bytes map = MapFileFormat::shadingMap(8193, 1280, 1024, words);
    ASSERT_TRUE(upload("ShadingMap0", map));
    EXPECT_EQ(map, stored("ShadingMap0"));
    EXPECT_EQ(map, download("ShadingMap0"));

    Bytes bad = MapFileFormat::shadingMap(8193, 1280, 1024, std::vector<uint16_t>(1280 * 1024));
    bad[100] ^= 1; // the checksum no longer holds
    EXPECT_FALSE(upload("ShadingMap0", bad));
    EXPECT_EQ(map, stored("ShadingMap0"));
    EXPECT_EQ(map, download("ShadingMap0"));
}

// A camera that drops off the bus mid-upload stops answering on the wire,
// after exactly the chunks it was told to let through, and keeps its file.
class DroppingCamera : public MapRoundTrip
{
public:
    DroppingCamera() { faults = R"(, "faults": {"disconnectAfterChunks": 3}})"; }
};

TEST_F(DroppingCamera, StopsAnsweringMidUploadAndKeepsItsFile)
{
    const Bytes before = stored("ShadingMap0");
    ASSERT_TRUE(open("ShadingMap0", "Write"));
    const Bytes map = MapFileFormat::neutralShadingMap(8193, 1280, 1024);
    int chunks = 0;
    for (size_t at = 0; at < map.size(); at += size_t(chunk), ++chunks) {
        arv_gc_register_set(buffer, map.data() + at, guint64(chunk), &e);
        if (!operation("Write", gint64(at), chunk))
            break;
    }
    EXPECT_EQ(3, chunks);
    EXPECT_EQ(before, stored("ShadingMap0"));
    RawHost host(gev->address);
    host.send(0x0080, 1, RawHost::words({0x0A00}));
    EXPECT_FALSE(host.receive(500).received);
}
