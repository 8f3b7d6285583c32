#pragma once

// Helpers shared by the tests of the simulated transport layer, which drive
// it as a program does: through the SDK (and the simulator's test
// controls). A fresh state folder per test, feature access by name, and the
// File Access sequence of the program's camera wrapper.

#include "../SdkTestSupport.h"
#include "HvxSimControl.h"
#include "MapFileFormat.h"

#include <Hvx/Hvx.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace simtest {

using Bytes = std::vector<uint8_t>;

// A new empty folder below the test's temporary directory.
inline std::string freshFolder(const char* tag)
{
    const char* base = std::getenv("ORVEX_TEST_TMP");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/" + tag + ".XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    const char* made = ::mkdtemp(buf.data());
    return made ? std::string(made) : std::string();
}

// Written beside and renamed, as an editor saves, so the watcher never reads
// half a file.
inline void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path + ".new") << text;
    std::rename((path + ".new").c_str(), path.c_str());
}

// Reads a text by the two-call pattern.
template <typename Get> std::string text(Get get)
{
    unsigned int n = 0;
    if (get(nullptr, n) != HvErrorSuccess)
        return "?";
    std::string s(n + 1, '\0');
    get(&s[0], n);
    s.resize(n);
    return s;
}

// A shading map whose words follow a pattern, so a round trip that mixes up
// chunks shows.
inline Bytes patternMap(uint32_t id, uint32_t width, uint32_t height, uint16_t seed)
{
    std::vector<uint16_t> words(size_t(width) * height);
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = uint16_t((i * 2654435761u + seed) >> 7);
    return hvsim::MapFileFormat::shadingMap(id, width, height, words);
}

// Feature access by name on a container, as the program's helpers do it.
class Features
{
public:
    explicit Features(Hvx::FeatureContainer& c) : m_c(c) {}

    template <typename F> HvErrorType with(const char* name, F f)
    {
        Hvx::FeaturePtr feature;
        HvErrorType e = m_c.GetFeatureByName(name, feature);
        return e ? e : f(*feature);
    }
    HvErrorType setEnum(const char* name, const char* entry)
    {
        return with(name, [&](Hvx::Feature& f) { return f.SetEnumValue(entry); });
    }
    HvErrorType setInt(const char* name, int64_t v)
    {
        return with(name, [&](Hvx::Feature& f) { return f.SetIntValue(v); });
    }
    int64_t getInt(const char* name)
    {
        int64_t v = -999;
        with(name, [&](Hvx::Feature& f) { return f.GetIntValue(v); });
        return v;
    }
    std::string getEnum(const char* name)
    {
        std::string s = "?";
        with(name, [&](Hvx::Feature& f) {
            s = text([&](char* b, unsigned int& n) { return f.GetEnumValue(b, n); });
            return HvErrorSuccess;
        });
        return s;
    }
    bool available(const char* name, const char* entry)
    {
        bool a = false;
        with(name, [&](Hvx::Feature& f) { return f.IsValueAvailable(entry, a); });
        return a;
    }
    bool writable(const char* name)
    {
        bool w = false;
        with(name, [&](Hvx::Feature& f) { return f.IsWritable(w); });
        return w;
    }
    // Runs a command and waits for it (no wait with timeout 0).
    HvErrorType command(const char* name, int timeoutMs = 2000)
    {
        return with(name, [&](Hvx::Feature& f) {
            HvErrorType e = f.RunCommand();
            const auto end =
                std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
            for (bool done = false; e == HvErrorSuccess && timeoutMs > 0;) {
                if ((e = f.IsCommandDone(done)) || done)
                    break;
                if (std::chrono::steady_clock::now() >= end)
                    return HvErrorType(HvErrorTimeout);
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            }
            return e;
        });
    }
    // Selects the operation and runs it.
    HvErrorType operation(const char* op)
    {
        HvErrorType e = setEnum("FileOperationSelector", op);
        return e ? e : command("FileOperationExecute");
    }
    HvErrorType openFile(const char* selector, const char* mode, const char* name = nullptr)
    {
        HvErrorType e = setEnum("FileSelector", selector);
        if (!e && writable("Filename"))
            e = with("Filename",
                     [&](Hvx::Feature& f) { return f.SetStringValue(name ? name : selector); });
        if (!e)
            e = setEnum("FileOpenMode", mode);
        return e ? e : operation("Open");
    }
    HvErrorType setRegister(const char* name, const uint8_t* data, unsigned int n)
    {
        return with(name, [&](Hvx::Feature& f) { return f.SetRegister(data, n); });
    }

private:
    Hvx::FeatureContainer& m_c;
};

// The program's upload sequence: selector, name, open, then with "Write"
// selected one length write (and one for a short last chunk), chunks of
// 65536 bytes, close.
inline bool upload(Features fs, const Bytes& data, const char* selector, const char* name = nullptr)
{
    if (fs.openFile(selector, "Write", name) || fs.setEnum("FileOperationSelector", "Write"))
        return false;
    const int64_t chunk = std::min<int64_t>(int64_t(data.size()), 65536);
    const bool lengthWritable = fs.writable("FileAccessLength");
    bool ok = !lengthWritable || fs.setInt("FileAccessLength", chunk) == HvErrorSuccess;
    for (int64_t offset = 0; ok && offset < int64_t(data.size());) {
        int64_t length = std::min<int64_t>(chunk, int64_t(data.size()) - offset);
        ok = !fs.setInt("FileAccessOffset", offset) &&
             !(length < chunk && lengthWritable && fs.setInt("FileAccessLength", length)) &&
             !fs.setRegister("FileAccessBuffer", data.data() + offset, unsigned(length)) &&
             !fs.command("FileOperationExecute");
        offset += length;
    }
    return !fs.operation("Close") && ok;
}

inline bool download(Features fs, Bytes& out, const char* selector, const char* name = nullptr)
{
    out.clear();
    if (fs.openFile(selector, "Read", name))
        return false;
    const int64_t size = fs.getInt("FileSize");
    const int64_t chunk = std::min<int64_t>(size, 65536);
    const bool lengthWritable = fs.writable("FileAccessLength");
    bool ok = size == 0 || (size > 0 && !fs.setEnum("FileOperationSelector", "Read") &&
                            (!lengthWritable || !fs.setInt("FileAccessLength", chunk)));
    Bytes buffer(65536);
    for (int64_t offset = 0; ok && offset < size;) {
        int64_t length = std::min(chunk, size - offset);
        ok = !fs.setInt("FileAccessOffset", offset) &&
             !(length != chunk && lengthWritable && fs.setInt("FileAccessLength", length)) &&
             !fs.command("FileOperationExecute") &&
             !fs.with("FileAccessBuffer", [&](Hvx::Feature& f) {
                 return f.GetRegister(buffer.data(), unsigned(length));
             });
        if (ok)
            out.insert(out.end(), buffer.begin(), buffer.begin() + length);
        offset += length;
    }
    return !fs.operation("Close") && ok;
}

// Each test gets factory state; a configuration file only if it writes one.
class SimSession : public ::testing::Test
{
protected:
    Hvx::HvSystem& sys = Hvx::HvSystem::GetInstance();
    std::string folder = freshFolder("sim");
    std::string configPath = folder + "/cameras.json";

    void SetUp() override
    {
        ::unsetenv("HVX_SIM_CONFIG");
        ::setenv("HVX_SIM_STATE", (folder + "/state").c_str(), 1);
    }
    void TearDown() override
    {
        while (sys.Shutdown() == HvErrorSuccess && control()->IsRunning()) {
        }
    }
    void useConfig(const std::string& camerasJson)
    {
        writeFile(configPath, R"({"cameras": [)" + camerasJson + "]}");
        ::setenv("HVX_SIM_CONFIG", configPath.c_str(), 1);
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
    Hvx::CameraPtr open(const char* id, HvAccessModeType mode = HvAccessModeFull)
    {
        Hvx::CameraPtr cam = byId(id);
        EXPECT_EQ(cam ? cam->Open(mode) : HvErrorNotFound, HvErrorSuccess) << id;
        return cam;
    }
    Bytes stored(const char* id, const char* selector, const char* name = "")
    {
        Bytes b;
        EXPECT_EQ(control()->ReadStoredFile(id, selector, name, b), 0);
        return b;
    }
    std::vector<HvxSim::TraceEntry> trace(const char* id)
    {
        std::vector<HvxSim::TraceEntry> t;
        EXPECT_EQ(control()->GetTrace(id, t), 0);
        return t;
    }
};

} // namespace simtest
