// The camera set: default cameras, the configuration file, hot plug.

#include "SimTestUtil.h"
#include "SimWorld.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>

using namespace hvsim;

namespace {

// Collects list events; waits for them with a generous limit so a slow
// machine does not fail the test (the wait ends as soon as they arrive).
class Events
{
public:
    void operator()(const std::string& id, SimWorld::Reason reason)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back((reason == SimWorld::Arrived ? "+" : "-") + id);
        m_cv.notify_all();
    }
    std::vector<std::string> waitFor(size_t n)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cv.wait_for(lock, std::chrono::seconds(20), [&] { return m_events.size() >= n; });
        return m_events;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    std::vector<std::string> m_events;
};

std::vector<std::string> ids(const SimWorld& w)
{
    std::vector<std::string> out;
    for (const auto& c : w.cameras())
        out.push_back(c->id());
    return out;
}

void writeFile(const std::string& path, const std::string& text)
{
    // Written beside and renamed, as an editor saves, so the watcher never
    // reads half a file.
    std::ofstream(path + ".new") << text;
    std::rename((path + ".new").c_str(), path.c_str());
}

std::string cameraJson(const std::string& id)
{
    return R"({"id": ")" + id + R"(", "model": "kva640MXGE", "width": 64, "height": 32})";
}

TEST(SimWorld, DefaultSetOffersEveryPathOfTheAssistant)
{
    SimWorld::Options o;
    o.stateRoot = simtest::freshFolder("world");
    SimWorld w(o);
    w.start();
    ASSERT_EQ(ids(w), (std::vector<std::string>{"SIM-GIGE-1001", "SIM-U3V-2001", "SIM-GIGE-3001",
                                                "SIM-GIGE-4001"}));
    struct Expect
    {
        const char* model;
        const char* serial;
        uint32_t width, height;
        bool usb, full;
    };
    const Expect expect[] = {{"kva640MXGE", "OX64G1001", 640, 512, false, true},
                             {"zt1280MLV", "OX128U2001", 1280, 1024, true, true},
                             {"gx1280C-PoE", "GX12803001", 1280, 1024, false, true},
                             {"kva640MXGE", "OX64G4001", 640, 512, false, false}};
    auto cams = w.cameras();
    for (size_t i = 0; i < 4; ++i) {
        const CameraConfig& c = cams[i]->config();
        EXPECT_EQ(c.model, expect[i].model);
        EXPECT_EQ(c.serial, expect[i].serial);
        EXPECT_EQ(c.width, expect[i].width);
        EXPECT_EQ(c.height, expect[i].height);
        EXPECT_EQ(c.isUsb3(), expect[i].usb);
        EXPECT_EQ(cams[i]->fullAccessPermitted(), expect[i].full);
        EXPECT_FALSE(c.name.empty());
        EXPECT_FALSE(c.manufacturerInfo.empty());
    }
    // The GigE camera's map entries, their ids and the entry refusing writes.
    std::vector<std::string> entries;
    for (const auto& f : cams[0]->config().files)
        entries.push_back(f.selector + ":" + std::to_string(f.chunkId) + (f.writable ? "" : ":ro"));
    EXPECT_EQ(entries, (std::vector<std::string>{"ShadingMap0:8193", "ShadingMap1:8196",
                                                 "ShadingMap2:8194", "ShadingMap3:2432:ro"}));
}

TEST(SimWorld, ConfigurationFileFormat)
{
    const char* text = R"({
      "cameras": [
        {
          "id": "LAB-7",
          "transport": "USB3",
          "model": "zt2048MLV",
          "name": "Bench camera",
          "serial": "B7",
          "manufacturerInfo": "9.9",
          "width": 2048, "height": 1536,
          "pixelFormat": "Mono16",
          "hasFilename": false,
          "fileAccessLengthWritable": false,
          "files": [
            {"selector": "ShadingMap0", "kind": "shadingMap", "chunkId": 8192},
            {"selector": "Notes", "kind": "plain", "write": false, "content": "x"}
          ],
          "nucUserMaps": 2,
          "shadingControl": true,
          "streams": [{"protocol": "TCP"}],
          "userSets": 1,
          "tlParamsLocked": true,
          "faults": {
            "commandLatencyMs": {"FileOperationExecute": 2500},
            "failOperations": [{"operation": "Write", "chunk": 3, "code": -12}],
            "failFeatures": [{"feature": "Gain", "op": "any"}],
            "disconnectAfterChunks": 5,
            "failGetInterfaceType": true
          }
        }
      ]
    })";
    SimConfig config;
    std::string error;
    ASSERT_TRUE(SimConfig::parse(text, config, &error)) << error;
    ASSERT_EQ(config.cameras.size(), 1u);
    const CameraConfig& c = config.cameras[0];
    EXPECT_TRUE(c.isUsb3());
    EXPECT_EQ(c.interfaceId, "sim-usb3-0");
    EXPECT_EQ(c.width, 2048u);
    EXPECT_EQ(c.pixelFormat, "Mono16");
    EXPECT_FALSE(c.hasFilename);
    EXPECT_FALSE(c.fileAccessLengthWritable);
    ASSERT_EQ(c.files.size(), 2u);
    EXPECT_EQ(c.files[0].kind, FileKind::ShadingMap);
    EXPECT_EQ(c.files[0].chunkId, 8192);
    EXPECT_FALSE(c.files[1].writable);
    EXPECT_EQ(c.files[1].content, "x");
    EXPECT_EQ(c.nucUserMaps, 2);
    EXPECT_EQ(c.streams[0].protocol, "TCP");
    EXPECT_TRUE(c.tlParamsLocked);
    EXPECT_EQ(c.faults.commandLatencyMs.at("FileOperationExecute"), 2500);
    ASSERT_EQ(c.faults.failOperations.size(), 1u);
    EXPECT_EQ(c.faults.failOperations[0].occurrence, 3);
    EXPECT_EQ(c.faults.failOperations[0].code, -12);
    EXPECT_EQ(c.faults.failFeatures[0].op, "any");
    EXPECT_EQ(c.faults.failFeatures[0].code, -13);
    EXPECT_EQ(c.faults.disconnectAfterChunks, 5);
    EXPECT_TRUE(c.faults.failGetInterfaceType);
}

TEST(SimWorld, ConfigurationMistakesAreNamed)
{
    const std::pair<const char*, const char*> cases[] = {
        {"{", "parse"},
        {R"({"cameras": [{"model": "x"}]})", "id"},
        {R"({"cameras": [{"id": "a", "transport": "CXP"}]})", "transport"},
        {R"({"cameras": [{"id": "a", "width": 0}]})", "sensor size"},
        {R"({"cameras": [{"id": "a"}, {"id": "a"}]})", "twice"},
        {R"({"cameras": [{"id": "a", "files": [{"selector": "S", "kind": "odd"}]}]})", "kind"},
    };
    for (auto [text, word] : cases) {
        SimConfig config;
        std::string error;
        EXPECT_FALSE(SimConfig::parse(text, config, &error)) << text;
        EXPECT_NE(error.find(word), std::string::npos) << text << " -> " << error;
    }
}

TEST(SimWorld, UnreadableConfigurationGivesNoCameras)
{
    std::string dir = simtest::freshFolder("world");
    SimWorld::Options o;
    o.stateRoot = dir;
    o.configPath = dir + "/broken.json";
    writeFile(o.configPath, "{ not json");
    SimWorld w(o);
    w.start();
    EXPECT_TRUE(w.cameras().empty());
    EXPECT_FALSE(w.lastError().empty());
}

TEST(SimWorld, HotPlugThroughTheConfigurationFile)
{
    std::string dir = simtest::freshFolder("world");
    SimWorld::Options o;
    o.stateRoot = dir;
    o.configPath = dir + "/cams.json";
    o.pollMs = 20;
    writeFile(o.configPath, R"({"cameras": [)" + cameraJson("A") + "]}");
    SimWorld w(o);
    Events events;
    w.setListener(std::ref(events));
    w.start();
    ASSERT_EQ(ids(w), std::vector<std::string>{"A"});
    auto a = w.camera("A");
    ASSERT_EQ(a->open(true), Ok);

    writeFile(o.configPath, R"({"cameras": [)" + cameraJson("B") + "]}");
    auto seen = events.waitFor(2);
    EXPECT_EQ(seen, (std::vector<std::string>{"-A", "+B"}));
    EXPECT_EQ(ids(w), std::vector<std::string>{"B"});
    std::string s;
    EXPECT_EQ(a->features().getString("DeviceModelName", s), TransportError)
        << "an unplugged camera answers no more";

    // A half-saved file changes nothing.
    writeFile(o.configPath, R"({"cameras": [)");
    writeFile(o.configPath, R"({"cameras": [)" + cameraJson("B") + "," + cameraJson("C") + "]}");
    seen = events.waitFor(3);
    EXPECT_EQ(seen.back(), "+C");
    EXPECT_EQ(ids(w), (std::vector<std::string>{"B", "C"}));
    w.stop();
}

TEST(SimWorld, EditedCameraComesBackAndEditedFaultsApplyInPlace)
{
    std::string dir = simtest::freshFolder("world");
    SimWorld::Options o;
    o.stateRoot = dir;
    o.configPath = dir + "/cams.json";
    o.pollMs = 20;
    writeFile(o.configPath, R"({"cameras": [{"id": "A", "width": 64, "height": 32},
                                            {"id": "B", "width": 64, "height": 32}]})");
    SimWorld w(o);
    Events events;
    w.setListener(std::ref(events));
    w.start();
    auto b = w.camera("B");
    writeFile(o.configPath, R"({"cameras": [{"id": "A", "width": 128, "height": 32},
        {"id": "B", "width": 64, "height": 32, "faults": {"failGetInterfaceType": true}}]})");
    auto seen = events.waitFor(2);
    EXPECT_EQ(seen, (std::vector<std::string>{"-A", "+A"}));
    EXPECT_EQ(w.camera("A")->config().width, 128u);
    EXPECT_EQ(w.camera("B"), b) << "a change of faults alone keeps the device";
    int code = 0;
    EXPECT_EQ(b->interfaceType(code), TransportError);
    w.stop();
}

TEST(SimWorld, ProgrammaticHotPlugAndFaultDisconnect)
{
    SimWorld::Options o;
    o.stateRoot = simtest::freshFolder("world");
    SimWorld w(o);
    Events events;
    w.setListener(std::ref(events));
    w.start();
    CameraConfig extra;
    ASSERT_TRUE(SimConfig::parseCamera(cameraJson("X-1"), extra, nullptr));
    ASSERT_EQ(w.addCamera(extra), Ok);
    EXPECT_EQ(w.addCamera(extra), InvalidCall);
    EXPECT_EQ(w.cameras().size(), 5u);
    ASSERT_EQ(w.removeCamera("SIM-GIGE-3001"), Ok);
    EXPECT_EQ(w.removeCamera("nope"), NotFound);
    w.camera("SIM-GIGE-1001")->disconnect();
    auto seen = events.waitFor(3);
    EXPECT_EQ(seen, (std::vector<std::string>{"+X-1", "-SIM-GIGE-3001", "-SIM-GIGE-1001"}));
    EXPECT_EQ(ids(w), (std::vector<std::string>{"SIM-U3V-2001", "SIM-GIGE-4001", "X-1"}));
}

} // namespace
