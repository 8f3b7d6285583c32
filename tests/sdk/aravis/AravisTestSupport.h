#pragma once

// What the tests of the Aravis transport layer share: the SDK started with
// that module alone on chosen Aravis interfaces, and Aravis's own fake GigE
// Vision camera as a separate process.

#include "../SdkTestSupport.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

extern char** environ;

namespace AravisTest {

inline Hvx::HvSystem& System()
{
    return Hvx::HvSystem::GetInstance();
}

// The SDK with the Aravis module only, on the given Aravis interfaces
// ("Fake" needs no network; "GigEVision" broadcasts and belongs in a
// namespace). Discovery rounds follow each other every `pollMs`.
class Session
{
public:
    explicit Session(const char* interfaces, const char* pollMs = "200")
    {
        setenv("HVX_TL_PATH", ARAVIS_MODULE_DIR, 1);
        setenv("HVX_ARAVIS_INTERFACES", interfaces, 1);
        setenv("HVX_ARAVIS_POLL_MS", pollMs, 1);
        System().SelectModules(HvModuleSelectionOnRequest);
        m_started = System().Startup() == HvErrorSuccess;
    }
    ~Session()
    {
        System().Shutdown();
        System().SelectModules(HvModuleSelectionStandard);
    }
    bool Started() const { return m_started; }

    Hvx::CameraPtr Camera(const std::string& id)
    {
        Hvx::CameraPtr camera;
        System().GetCameraByID(id.c_str(), camera);
        return camera;
    }

private:
    bool m_started = false;
};

// Aravis's fake GigE Vision camera, a process of its own listening on one
// loopback address (which must be an address of an interface: inside the
// test's namespace, 127.0.0.1 to 127.0.0.5).
class FakeGigECamera
{
public:
    FakeGigECamera(const std::string& address, const std::string& serial,
                   const std::string& lossPerThousand = "0")
    {
        std::vector<std::string> args = {ARV_FAKE_GV_CAMERA, "-i", address, "-s", serial, "-r",
                                         lossPerThousand};
        std::vector<char*> argv;
        for (auto& arg : args)
            argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        if (posix_spawn(&m_pid, ARV_FAKE_GV_CAMERA, nullptr, nullptr, argv.data(), environ) != 0)
            m_pid = -1;
    }
    ~FakeGigECamera()
    {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
    }
    bool Running() const { return m_pid > 0; }
    // The camera stops answering, as one that hangs or loses power.
    void Freeze() { kill(m_pid, SIGSTOP); }

private:
    pid_t m_pid = -1;
};

} // namespace AravisTest
