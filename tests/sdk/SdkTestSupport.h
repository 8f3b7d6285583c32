#ifndef SDKTESTSUPPORT_H
#define SDKTESTSUPPORT_H

// Helpers shared by the SDK tests: the fake module's hooks, reading texts by
// the two-call pattern, an observer that records what it is told, and the
// environment the module search reads.

#include "Hvx/Hvx.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <dlfcn.h>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace SdkTest {

// The hooks of the fake module that the running SDK has loaded from `path`.
struct FakeHooks
{
    int (*hook)(const char*, const char*, uint32_t) = nullptr;

    static FakeHooks Of(const std::string& path)
    {
        FakeHooks hooks;
        // RTLD_NOLOAD: the instance the SDK loaded, never a second copy.
        if (void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
            hooks.hook = reinterpret_cast<int (*)(const char*, const char*, uint32_t)>(
                dlsym(library, "FakeTlHook"));
            dlclose(library); // drops only the reference taken here
        }
        return hooks;
    }
    bool Valid() const { return hook != nullptr; }
    void plug(const char* id, bool tellHost) { hook("plug", id, tellHost); }
    void unplug(const char* id, bool tellHost) { hook("unplug", id, tellHost); }
    void setAccess(const char* id, uint32_t access) { hook("setAccess", id, access); }
    int openDevices() { return hook ? hook("openDevices", "", 0) : -1; }
};

// Reads a text by the two-call pattern and checks that both calls agree.
template <typename Getter> std::string Text(Getter get)
{
    unsigned int length = 12345;
    EXPECT_EQ(HvErrorSuccess, get(nullptr, length));
    std::vector<char> buffer(length + 2, '#');
    unsigned int given = length;
    EXPECT_EQ(HvErrorSuccess, get(buffer.data(), given));
    EXPECT_EQ(length, given);
    EXPECT_EQ('\0', buffer[length]);
    EXPECT_EQ('#', buffer[length + 1]); // nothing written past the NUL
    return std::string(buffer.data(), length);
}

inline std::string ExtendedId(const Hvx::CameraPtr& camera)
{
    return Text([&](char* b, unsigned int& l) { return camera->GetID(b, l, true); });
}

inline std::string RealPath(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    std::string result = resolved ? resolved : "";
    free(resolved);
    return result;
}

struct Event
{
    std::string id; // extended ID of the camera, or the interface ID
    Hvx::UpdateTriggerType reason;
    std::thread::id thread;
};

// Records every call it gets, with the calling thread.
class Recorder : public Hvx::ICameraListObserver, public Hvx::IInterfaceListObserver
{
public:
    void CameraListChanged(Hvx::CameraPtr camera, Hvx::UpdateTriggerType reason) override
    {
        Add(Event{camera ? ExtendedId(camera) : std::string("<null>"), reason,
                  std::this_thread::get_id()});
    }
    void InterfaceListChanged(Hvx::InterfacePtr interface, Hvx::UpdateTriggerType reason) override
    {
        std::string id =
            interface ? Text([&](char* b, unsigned int& l) { return interface->GetID(b, l); })
                      : std::string("<null>");
        Add(Event{id, reason, std::this_thread::get_id()});
    }

    // Waits until `count` events have come. The bound only keeps a broken
    // SDK from hanging the test run; it is not a timing requirement.
    std::vector<Event> WaitFor(size_t count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(10),
                           [&] { return m_events.size() >= count; });
        return m_events;
    }
    std::vector<Event> Events()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }

private:
    void Add(const Event& event)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_events.push_back(event);
        }
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Event> m_events;
};

using Expected = std::vector<std::pair<std::string, int>>;

// Extended ID (or interface ID) and reason of each event.
inline Expected Summary(const std::vector<Event>& events)
{
    Expected summary;
    for (const auto& event : events)
        summary.emplace_back(event.id, static_cast<int>(event.reason));
    return summary;
}

// Points the module search at the given folders for the life of the object.
class ModulePath
{
public:
    explicit ModulePath(const char* folders) { setenv("HVX_TL_PATH", folders, 1); }
    ~ModulePath() { unsetenv("HVX_TL_PATH"); }
};

#ifdef FAKE_TL_DIR
// Starts the SDK with the fake module of FAKE_TL_DIR only.
class FakeSession : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("HVX_TL_PATH", FAKE_TL_DIR, 1);
        ASSERT_EQ(HvErrorSuccess, system().Startup());
        hooks = FakeHooks::Of(std::string(FAKE_TL_DIR) + "/fake_tl.so");
        ASSERT_TRUE(hooks.Valid());
    }
    void TearDown() override
    {
        system().Shutdown();
        unsetenv("HVX_TL_PATH");
    }

    static Hvx::HvSystem& system() { return Hvx::HvSystem::GetInstance(); }

    Hvx::CameraPtr Camera(const char* id)
    {
        Hvx::CameraPtr camera;
        EXPECT_EQ(HvErrorSuccess, system().GetCameraByID(id, camera));
        return camera;
    }

    FakeHooks hooks;
};
#endif

} // namespace SdkTest

#endif
