// The simulated transport layer as a program sees it: only through the SDK
// (and the simulator's test controls).

#include "HvxSimControl.h"
#include "MapFileFormat.h"
#include "SimTestUtil.h"

#include <Hvx/Hvx.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <thread>

using Bytes = std::vector<uint8_t>;

namespace {

std::string cameraText(const Hvx::CameraPtr& cam, bool extended)
{
    unsigned int n = 0;
    if (cam->GetID(nullptr, n, extended) != HvErrorSuccess)
        return {};
    std::string s(n + 1, '\0');
    cam->GetID(&s[0], n, extended);
    s.resize(n);
    return s;
}

std::string modelOf(const Hvx::CameraPtr& cam)
{
    unsigned int n = 0;
    cam->GetModel(nullptr, n);
    std::string s(n + 1, '\0');
    cam->GetModel(&s[0], n);
    s.resize(n);
    return s;
}

std::vector<Hvx::CameraPtr> cameras()
{
    unsigned int count = 0;
    Hvx::HvSystem::GetInstance().GetCameras(nullptr, count);
    std::vector<Hvx::CameraPtr> list(count);
    if (count)
        Hvx::HvSystem::GetInstance().GetCameras(list.data(), count);
    list.resize(count);
    return list;
}

// Feature access by name on a container, as the program's helpers do it.
class Features
{
public:
    explicit Features(Hvx::FeatureContainer& c) : m_c(c) {}

    HvErrorType setEnum(const char* name, const char* entry)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        return e ? e : f->SetEnumValue(entry);
    }
    HvErrorType setInt(const char* name, int64_t v)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        return e ? e : f->SetIntValue(v);
    }
    HvErrorType getInt(const char* name, int64_t& v)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        return e ? e : f->GetIntValue(v);
    }
    HvErrorType setString(const char* name, const char* v)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        return e ? e : f->SetStringValue(v);
    }
    std::string getEnum(const char* name)
    {
        Hvx::FeaturePtr f;
        unsigned int n = 0;
        if (m_c.GetFeatureByName(name, f) || f->GetEnumValue(nullptr, n))
            return "?";
        std::string s(n + 1, '\0');
        f->GetEnumValue(&s[0], n);
        s.resize(n);
        return s;
    }
    bool writable(const char* name)
    {
        Hvx::FeaturePtr f;
        bool w = false;
        return m_c.GetFeatureByName(name, f) == HvErrorSuccess &&
               f->IsWritable(w) == HvErrorSuccess && w;
    }
    // Runs a command and waits for it (no wait with timeout 0).
    HvErrorType command(const char* name, int timeoutMs)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        if (e || (e = f->RunCommand()) || timeoutMs == 0)
            return e;
        auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            bool done = false;
            if ((e = f->IsCommandDone(done)))
                return e;
            if (done)
                return HvErrorSuccess;
            if (std::chrono::steady_clock::now() >= end)
                return HvErrorTimeout;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    HvErrorType setRegister(const char* name, const uint8_t* data, unsigned int n)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        return e ? e : f->SetRegister(data, n);
    }
    HvErrorType getRegister(const char* name, uint8_t* data, unsigned int n)
    {
        Hvx::FeaturePtr f;
        HvErrorType e = m_c.GetFeatureByName(name, f);
        return e ? e : f->GetRegister(data, n);
    }

private:
    Hvx::FeatureContainer& m_c;
};

// The program's upload sequence: selector, name, open (not waited for),
// one length write (and one for a short last chunk), chunks of 65536 bytes.
bool upload(Features fs, const Bytes& data, const char* name, const char* selector)
{
    if (fs.setEnum("FileSelector", selector) || fs.setString("Filename", name) ||
        fs.setEnum("FileOpenMode", "Write") || fs.setEnum("FileOperationSelector", "Open") ||
        fs.command("FileOperationExecute", 0))
        return false;
    const int64_t chunk = std::min<int64_t>(int64_t(data.size()), 65536);
    const bool lengthWritable = fs.writable("FileAccessLength");
    bool ok = !lengthWritable || fs.setInt("FileAccessLength", chunk) == HvErrorSuccess;
    for (int64_t offset = 0; ok && offset < int64_t(data.size());) {
        int64_t length = std::min<int64_t>(chunk, int64_t(data.size()) - offset);
        ok = !fs.setInt("FileAccessOffset", offset) &&
             !(length < chunk && lengthWritable && fs.setInt("FileAccessLength", length)) &&
             !fs.setRegister("FileAccessBuffer", data.data() + offset, unsigned(length)) &&
             !fs.setEnum("FileOperationSelector", "Write") &&
             !fs.command("FileOperationExecute", 2000);
        offset += length;
    }
    bool closed = !fs.setEnum("FileOperationSelector", "Close") &&
                  !fs.command("FileOperationExecute", 180000);
    return ok && closed;
}

bool download(Features fs, Bytes& out, const char* name, const char* selector)
{
    out.clear();
    int64_t size = -1;
    if (fs.setEnum("FileSelector", selector) || fs.setString("Filename", name) ||
        fs.setEnum("FileOpenMode", "Read") || fs.setEnum("FileOperationSelector", "Open") ||
        fs.command("FileOperationExecute", 2000) || fs.getInt("FileSize", size))
        return false;
    const int64_t chunk = std::min<int64_t>(size, 65536);
    bool ok = chunk == 0 || !fs.setInt("FileAccessLength", chunk);
    Bytes buffer(65536);
    for (int64_t offset = 0; ok && offset < size;) {
        int64_t length = std::min(chunk, size - offset);
        ok = !fs.setInt("FileAccessOffset", offset) &&
             !(length != chunk && fs.setInt("FileAccessLength", length)) &&
             !fs.setEnum("FileOperationSelector", "Read") &&
             !fs.command("FileOperationExecute", 2000) &&
             !fs.getRegister("FileAccessBuffer", buffer.data(), unsigned(length));
        if (ok)
            out.insert(out.end(), buffer.begin(), buffer.begin() + length);
        offset += length;
    }
    bool closed = !fs.setEnum("FileOperationSelector", "Close") &&
                  !fs.command("FileOperationExecute", 180000);
    return ok && closed;
}

class Observer : public Hvx::ICameraListObserver
{
public:
    void CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType reason) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(std::to_string(int(reason)) + ":" + cameraText(camera, false));
        m_thread = std::this_thread::get_id();
        m_cv.notify_all();
    }
    std::vector<std::string> waitFor(size_t n)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_cv.wait_for(lock, std::chrono::seconds(20), [&] { return m_events.size() >= n; });
        return m_events;
    }
    std::thread::id thread()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_thread;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    std::vector<std::string> m_events;
    std::thread::id m_thread;
};

class ThroughSdk : public ::testing::Test
{
protected:
    Hvx::HvSystem& sys = Hvx::HvSystem::GetInstance();

    void SetUp() override
    {
        ::unsetenv("HVX_SIM_CONFIG");
        // Every test starts from factory state.
        ::setenv("HVX_SIM_STATE", simtest::freshFolder("sdk").c_str(), 1);
    }
    void TearDown() override
    {
        while (sys.Shutdown() == HvErrorSuccess && control()->IsRunning()) {
        }
    }
    static HvxSim::IControl* control()
    {
        HvxSim::IControl* c = HvxSim::Control();
        EXPECT_NE(c, nullptr);
        return c;
    }
    Hvx::CameraPtr byId(const char* id)
    {
        Hvx::CameraPtr cam;
        EXPECT_EQ(sys.GetCameraByID(id, cam), HvErrorSuccess) << id;
        return cam;
    }
};

// A program linked only against the SDK lists the default cameras, opens the
// GigE one, uploads a valid map into "ShadingMap1" through the File Access
// features, shuts the SDK down, starts it again and downloads identical bytes.
TEST_F(ThroughSdk, UploadSurvivesARestartOfTheSdk)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    std::vector<std::string> listed;
    for (const auto& c : cameras())
        listed.push_back(cameraText(c, true) + " " + modelOf(c));
    EXPECT_EQ(listed, (std::vector<std::string>{
                          "sim::SIM-GIGE-1001 kva640MXGE", "sim::SIM-U3V-2001 zt1280MLV",
                          "sim::SIM-GIGE-3001 gx1280C-PoE", "sim::SIM-GIGE-4001 kva640MXGE"}));

    const Bytes map =
        hvsim::MapFileFormat::shadingMap(8196, 640, 512, simtest::patternWords(640, 512, 42));
    {
        Hvx::CameraPtr cam = byId("sim::SIM-GIGE-1001");
        ASSERT_TRUE(cam);
        ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
        ASSERT_TRUE(upload(Features(*cam), map, "ShadingMap1", "ShadingMap1"));
        Bytes stored;
        ASSERT_EQ(control()->ReadStoredFile("SIM-GIGE-1001", "ShadingMap1", "", stored), 0);
        EXPECT_EQ(stored, map);
    }
    ASSERT_EQ(sys.Shutdown(), HvErrorSuccess);
    EXPECT_FALSE(control()->IsRunning());

    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = byId("sim::SIM-GIGE-1001");
    ASSERT_TRUE(cam);
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    Bytes back;
    ASSERT_TRUE(download(Features(*cam), back, "ShadingMap1", "ShadingMap1"));
    EXPECT_EQ(back, map);
    // The neighbouring entry still holds its factory map.
    ASSERT_TRUE(download(Features(*cam), back, "ShadingMap0", "ShadingMap0"));
    EXPECT_EQ(back, hvsim::MapFileFormat::neutralShadingMap(8193, 640, 512));
}

TEST_F(ThroughSdk, TraceShowsTheWritesOfAnUpload)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = byId("sim::SIM-GIGE-1001");
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    ASSERT_EQ(control()->ClearTrace("SIM-GIGE-1001"), 0);
    const Bytes map = hvsim::MapFileFormat::neutralShadingMap(8193, 640, 512);
    ASSERT_TRUE(upload(Features(*cam), map, "ShadingMap0", "ShadingMap0"));
    std::vector<HvxSim::TraceEntry> trace;
    ASSERT_EQ(control()->GetTrace("SIM-GIGE-1001", trace), 0);
    std::vector<std::string> lengths, offsets;
    for (const auto& e : trace) {
        if (e.feature == "FileAccessLength" && e.op == "set")
            lengths.push_back(e.value);
        if (e.feature == "FileAccessOffset" && e.op == "set")
            offsets.push_back(e.value);
    }
    // 655392 bytes: the length once for the chunks, once for the last 32.
    EXPECT_EQ(lengths, (std::vector<std::string>{"65536", "32"}));
    ASSERT_EQ(offsets.size(), 11u);
    EXPECT_EQ(offsets[1], "65536");
    EXPECT_EQ(offsets.back(), "655360");
}

TEST_F(ThroughSdk, MalformedMapIsRefusedThroughTheSdk)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = byId("sim::SIM-GIGE-1001");
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    Bytes bad = hvsim::MapFileFormat::shadingMap(8196, 640, 512, {});
    bad[500] = 1; // checksum no longer holds
    EXPECT_FALSE(upload(Features(*cam), bad, "ShadingMap1", "ShadingMap1"));
    EXPECT_EQ(Features(*cam).getEnum("FileOperationStatus"), "Failure");
    Bytes stored;
    control()->ReadStoredFile("SIM-GIGE-1001", "ShadingMap1", "", stored);
    EXPECT_EQ(stored, hvsim::MapFileFormat::neutralShadingMap(8196, 640, 512));
}

TEST_F(ThroughSdk, AccessOfTheHeldCameraAndTransportTypes)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    HvAccessModeType access = 0;
    ASSERT_EQ(byId("sim::SIM-GIGE-4001")->GetPermittedAccess(access), HvErrorSuccess);
    EXPECT_EQ(access & 9u, 0u);
    EXPECT_EQ(byId("sim::SIM-GIGE-4001")->Open(HvAccessModeFull), HvErrorInvalidAccess);
    ASSERT_EQ(byId("sim::SIM-GIGE-1001")->GetPermittedAccess(access), HvErrorSuccess);
    EXPECT_NE(access & 9u, 0u);
    HvTransportLayerType type = 0;
    ASSERT_EQ(byId("sim::SIM-U3V-2001")->GetInterfaceType(type), HvErrorSuccess);
    EXPECT_EQ(type, 7u);
    ASSERT_EQ(byId("sim::SIM-GIGE-1001")->GetInterfaceType(type), HvErrorSuccess);
    EXPECT_EQ(type, 1u);
}

TEST_F(ThroughSdk, HotPlugReachesObservers)
{
    auto observer = std::make_shared<Observer>();
    ASSERT_EQ(sys.RegisterCameraListObserver(observer), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(control()->AddCamera(R"({"id": "HOT-1", "model": "kva640MXGE",
                                       "width": 64, "height": 32})"),
              0);
    auto events = observer->waitFor(1);
    ASSERT_EQ(events, std::vector<std::string>{"0:HOT-1"});
    EXPECT_NE(observer->thread(), std::this_thread::get_id());
    Hvx::CameraPtr hot = byId("sim::HOT-1");
    ASSERT_EQ(hot->Open(HvAccessModeFull), HvErrorSuccess);
    events = observer->waitFor(2);
    EXPECT_EQ(events.back(), "3:HOT-1");
    ASSERT_EQ(control()->RemoveCamera("HOT-1"), 0);
    events = observer->waitFor(3);
    EXPECT_EQ(events.back(), "1:HOT-1");
    EXPECT_EQ(cameras().size(), 4u);
    sys.UnregisterCameraListObserver(observer);
}

TEST_F(ThroughSdk, HotPlugThroughTheConfigurationFile)
{
    const std::string dir = simtest::freshFolder("cfg");
    const std::string path = dir + "/cameras.json";
    std::ofstream(path) << R"({"cameras": [{"id": "CFG-1", "model": "kva640MXGE",
                                            "width": 64, "height": 32}]})";
    ::setenv("HVX_SIM_CONFIG", path.c_str(), 1);
    auto observer = std::make_shared<Observer>();
    ASSERT_EQ(sys.RegisterCameraListObserver(observer), HvErrorSuccess);
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(cameras().size(), 1u);
    std::ofstream(path + ".new") << R"({"cameras": [{"id": "CFG-2", "transport": "USB3",
                                                     "width": 64, "height": 32}]})";
    std::rename((path + ".new").c_str(), path.c_str());
    auto events = observer->waitFor(2);
    EXPECT_EQ(events, (std::vector<std::string>{"1:CFG-1", "0:CFG-2"}));
    sys.UnregisterCameraListObserver(observer);
}

TEST_F(ThroughSdk, FaultsFromTheControls)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    EXPECT_EQ(control()->SetFaults("SIM-GIGE-1001", R"({"failGetInterfaceType": true,
                                                        "disconnectAfterChunks": 2})"),
              0);
    EXPECT_EQ(control()->SetFaults("NOPE", "{}"), -3);
    EXPECT_EQ(control()->SetFaults("SIM-GIGE-1001", "{oops"), -7);
    Hvx::CameraPtr cam = byId("sim::SIM-GIGE-1001");
    HvTransportLayerType type = 0;
    EXPECT_NE(cam->GetInterfaceType(type), HvErrorSuccess);

    auto observer = std::make_shared<Observer>();
    ASSERT_EQ(sys.RegisterCameraListObserver(observer), HvErrorSuccess);
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    const Bytes map = hvsim::MapFileFormat::neutralShadingMap(8196, 640, 512);
    EXPECT_FALSE(upload(Features(*cam), map, "ShadingMap1", "ShadingMap1"));
    auto events = observer->waitFor(2);
    EXPECT_EQ(events.back(), "1:SIM-GIGE-1001");
    sys.UnregisterCameraListObserver(observer);

    // Latency: the command runs, its completion comes later.
    Hvx::CameraPtr usb = byId("sim::SIM-U3V-2001");
    ASSERT_EQ(control()->SetCommandLatency("SIM-U3V-2001", "UserSetSave", -1), 0);
    ASSERT_EQ(usb->Open(HvAccessModeFull), HvErrorSuccess);
    Features fs(*usb);
    ASSERT_EQ(fs.setEnum("UserSetSelector", "UserSet1"), HvErrorSuccess);
    EXPECT_EQ(fs.command("UserSetSave", 50), HvErrorTimeout);
}

TEST_F(ThroughSdk, BooleanAndUntypedFeatures)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    ASSERT_EQ(control()->AddCamera(R"({"id": "T-1", "width": 16, "height": 8,
                                       "untypedFeatures": ["SimUntypedFeature"]})"),
              0);
    Hvx::CameraPtr cam = byId("sim::T-1");
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    Hvx::FeaturePtr f;
    ASSERT_EQ(cam->GetFeatureByName("ReverseX", f), HvErrorSuccess);
    HvFeatureDataType type = 99;
    f->GetDataType(type);
    EXPECT_EQ(type, 5u);
    bool value = false;
    ASSERT_EQ(f->SetBoolValue(true), HvErrorSuccess);
    ASSERT_EQ(f->GetBoolValue(value), HvErrorSuccess);
    EXPECT_TRUE(value);

    ASSERT_EQ(cam->GetFeatureByName("SimUntypedFeature", f), HvErrorSuccess);
    f->GetDataType(type);
    EXPECT_EQ(type, 0u);
    int64_t i = 0;
    EXPECT_NE(f->GetIntValue(i), HvErrorSuccess);
    EXPECT_NE(f->SetStringValue("x"), HvErrorSuccess);
}

TEST_F(ThroughSdk, StreamsAndFrames)
{
    ASSERT_EQ(sys.Startup(), HvErrorSuccess);
    Hvx::CameraPtr cam = byId("sim::SIM-GIGE-1001");
    ASSERT_EQ(cam->Open(HvAccessModeFull), HvErrorSuccess);
    unsigned int count = 0;
    ASSERT_EQ(cam->GetStreams(nullptr, count), HvErrorSuccess);
    ASSERT_EQ(count, 1u);
    std::vector<Hvx::StreamPtr> streams(count);
    ASSERT_EQ(cam->GetStreams(streams.data(), count), HvErrorSuccess);
    Features sf(*streams[0]);
    EXPECT_EQ(sf.getEnum("GVSPProtocol"), "UDP");
    EXPECT_EQ(sf.command("GVSPAdjustPacketSize", 5000), HvErrorSuccess);
    int64_t size = 0;
    sf.getInt("GVSPPacketSize", size);
    EXPECT_EQ(size, 8164);

    Hvx::FramePtr frame;
    ASSERT_EQ(cam->AcquireSingleImage(frame, 1000), HvErrorSuccess);
    ASSERT_TRUE(frame);
    HvFrameStatusType status = -9;
    uint32_t w = 0, h = 0;
    HvPixelFormatType format = 0;
    frame->GetReceiveStatus(status);
    frame->GetWidth(w);
    frame->GetHeight(h);
    frame->GetPixelFormat(format);
    EXPECT_EQ(status, HvFrameStatusComplete);
    EXPECT_EQ(w, 640u);
    EXPECT_EQ(h, 512u);
    EXPECT_EQ(format, uint32_t(HvPixelFormatMono8));

    uint8_t reg[4] = {};
    unsigned int done = 0;
    Features(*cam).setInt("Shading_MapSelect", 3);
    ASSERT_EQ(cam->ReadMemory(0x105FFFE4, reg, 4, &done), HvErrorSuccess);
    EXPECT_EQ(Bytes(reg, reg + 4), (Bytes{0, 0, 0, 3}));
}

} // namespace
