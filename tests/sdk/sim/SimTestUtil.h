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

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
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
            s = SdkTest::Text([&](char* b, unsigned int& n) { return f.GetEnumValue(b, n); });
            return HvErrorSuccess;
        });
        return s;
    }
    // Runs a command and waits for it; the bound only keeps a broken camera
    // from hanging the test run.
    HvErrorType command(const char* name)
    {
        return with(name, [&](Hvx::Feature& f) {
            HvErrorType e = f.RunCommand();
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
            for (bool done = false; e == HvErrorSuccess;) {
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
        if (!e)
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

// Transfers in chunks of 65536 bytes, as the program makes them.
inline bool upload(Features fs, const Bytes& data, const char* selector, const char* name = nullptr)
{
    bool ok =
        !fs.openFile(selector, "Write", name) && !fs.setEnum("FileOperationSelector", "Write");
    for (size_t offset = 0; ok && offset < data.size(); offset += 65536) {
        const size_t length = std::min<size_t>(65536, data.size() - offset);
        ok = !fs.setInt("FileAccessOffset", int64_t(offset)) &&
             !fs.setInt("FileAccessLength", int64_t(length)) &&
             !fs.setRegister("FileAccessBuffer", data.data() + offset, unsigned(length)) &&
             !fs.command("FileOperationExecute");
    }
    return !fs.operation("Close") && ok;
}

inline bool download(Features fs, Bytes& out, const char* selector, const char* name = nullptr)
{
    out.clear();
    if (fs.openFile(selector, "Read", name))
        return false;
    const size_t size = size_t(fs.getInt("FileSize"));
    bool ok = !fs.setEnum("FileOperationSelector", "Read");
    Bytes buffer(65536);
    for (size_t offset = 0; ok && offset < size; offset += 65536) {
        const size_t length = std::min<size_t>(65536, size - offset);
        ok = !fs.setInt("FileAccessOffset", int64_t(offset)) &&
             !fs.setInt("FileAccessLength", int64_t(length)) &&
             !fs.command("FileOperationExecute") &&
             !fs.with("FileAccessBuffer", [&](Hvx::Feature& f) {
                 return f.GetRegister(buffer.data(), unsigned(length));
             });
        if (ok)
            out.insert(out.end(), buffer.begin(), buffer.begin() + length);
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
};

} // namespace simtest
