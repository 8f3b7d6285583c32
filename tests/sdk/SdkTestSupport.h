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

// Hooks of the fake module that the running SDK has loaded from `path`.
struct FakeHooks
{
    void (*plug)(const char*, bool) = nullptr;
    void (*unplug)(const char*, bool) = nullptr;
    void (*setAccess)(const char*, uint32_t) = nullptr;
    void (*failInterfaceType)(bool) = nullptr;
    int (*openDevices)() = nullptr;
    void (*addInterface)(const char*) = nullptr;
    void (*removeInterface)(const char*) = nullptr;

    static FakeHooks Of(const std::string& path)
    {
        FakeHooks hooks;
        // RTLD_NOLOAD: the instance the SDK loaded, never a second copy.
        void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (library == nullptr)
            return hooks;
        hooks.plug = reinterpret_cast<void (*)(const char*, bool)>(dlsym(library, "FakeTlPlug"));
        hooks.unplug =
            reinterpret_cast<void (*)(const char*, bool)>(dlsym(library, "FakeTlUnplug"));
        hooks.setAccess =
            reinterpret_cast<void (*)(const char*, uint32_t)>(dlsym(library, "FakeTlSetAccess"));
        hooks.failInterfaceType =
            reinterpret_cast<void (*)(bool)>(dlsym(library, "FakeTlFailInterfaceType"));
        hooks.openDevices = reinterpret_cast<int (*)()>(dlsym(library, "FakeTlOpenDevices"));
        hooks.addInterface =
            reinterpret_cast<void (*)(const char*)>(dlsym(library, "FakeTlAddInterface"));
        hooks.removeInterface =
            reinterpret_cast<void (*)(const char*)>(dlsym(library, "FakeTlRemoveInterface"));
        dlclose(library); // drops only the reference taken here
        return hooks;
    }
    bool Valid() const
    {
        return plug && unplug && setAccess && failInterfaceType && openDevices && addInterface &&
               removeInterface;
    }
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

inline std::string PlainId(const Hvx::CameraPtr& camera)
{
    return Text([&](char* b, unsigned int& l) { return camera->GetID(b, l, false); });
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

// Points the module search at the given folders for the life of the object.
class ModulePath
{
public:
    explicit ModulePath(const char* folders) { setenv("HVX_TL_PATH", folders, 1); }
    ~ModulePath() { unsetenv("HVX_TL_PATH"); }
};

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

    // The writable GigE camera, opened with full access.
    Hvx::CameraPtr OpenGigE()
    {
        Hvx::CameraPtr camera = Camera("fake::CAM-GEV-1");
        if (camera) {
            EXPECT_EQ(HvErrorSuccess, camera->Open(HvAccessModeFull));
        }
        return camera;
    }

    FakeHooks hooks;
};

} // namespace SdkTest

#endif
