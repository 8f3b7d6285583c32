// orvex-sim-gev: one simulated camera served as a GigE Vision device on a
// loopback address, for Aravis's tools and the Aravis transport layer.

#include "GevDevice.h"
#include "GevLog.h"
#include "GvcpServer.h"
#include "SimWorld.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/signalfd.h>
#include <unistd.h>

using namespace hvsim;

namespace {

const char kUsage[] =
    "usage: orvex-sim-gev --address 127.0.0.N --camera ID [--config FILE] [--state DIR]\n"
    "Serves one simulated camera as a GigE Vision device on a loopback address.\n"
    "  --address  the device's address, in 127.0.0.0/8\n"
    "  --camera   the camera's id in the configuration (default set without one)\n"
    "  --config   camera configuration file (else HVX_SIM_CONFIG, else the default set)\n"
    "  --state    folder of the cameras' stored files (else HVX_SIM_STATE, else\n"
    "             $XDG_DATA_HOME/orvex-sim)\n"
    "Prints \"ready <address>\" once it answers; stops on SIGINT or SIGTERM.\n";

int usage(const char* error)
{
    std::fprintf(stderr, "orvex-sim-gev: %s\n%s", error, kUsage);
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    std::string address, cameraId, config, state;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (i + 1 >= argc)
            return usage(("missing value of " + arg).c_str());
        const std::string value = argv[++i];
        if (arg == "--address")
            address = value;
        else if (arg == "--camera")
            cameraId = value;
        else if (arg == "--config")
            config = value;
        else if (arg == "--state")
            state = value;
        else
            return usage(("unknown option " + arg).c_str());
    }
    in_addr ip{};
    if (address.empty() || cameraId.empty())
        return usage("--address and --camera are required");
    if (::inet_pton(AF_INET, address.c_str(), &ip) != 1 || (ntohl(ip.s_addr) >> 24) != 127)
        return usage(("address " + address + " is not in 127.0.0.0/8").c_str());
    gev::setLogPrefix(("orvex-sim-gev " + address).c_str());

    // Signals arrive through a descriptor the control loop polls; blocked
    // before any thread starts, so every thread leaves them to it.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const int stopFd = ::signalfd(-1, &signals, SFD_CLOEXEC);

    SimWorld::Options options = SimWorld::optionsFromEnvironment();
    if (!config.empty())
        options.configPath = config;
    if (!state.empty())
        options.stateRoot = state;
    SimWorld world(options);
    world.start();
    if (!world.lastError().empty()) {
        gev::log("configuration %s: %s", options.configPath.c_str(), world.lastError().c_str());
        return 1;
    }
    std::shared_ptr<SimCamera> camera = world.camera(cameraId);
    if (!camera) {
        gev::log("no camera \"%s\" in %s", cameraId.c_str(),
                 options.configPath.empty() ? "the default set" : options.configPath.c_str());
        return 1;
    }
    // A camera another application holds opens for reading only; on the
    // wire that application keeps the control privilege.
    if (camera->open(camera->fullAccessPermitted()) != Ok) {
        gev::log("camera \"%s\" cannot be opened", cameraId.c_str());
        return 1;
    }

    int status = 0;
    {
        gev::GevDevice device(camera, ntohl(ip.s_addr));
        gev::GvcpServer server(device);
        std::string error;
        if (!device.streamReady() || !server.bind(ntohl(ip.s_addr), &error)) {
            gev::log("cannot serve on %s:3956: %s", address.c_str(),
                     error.empty() ? "no stream socket" : error.c_str());
            status = 1;
        } else {
            gev::log("serving camera %s (%s %s, %ux%u %s, %s transport in its configuration)",
                     cameraId.c_str(), camera->config().vendor.c_str(),
                     camera->config().model.c_str(), camera->config().width,
                     camera->config().height, camera->config().pixelFormat.c_str(),
                     camera->config().transport.c_str());
            std::printf("ready %s\n", address.c_str());
            std::fflush(stdout);
            server.run(stopFd);
            gev::log("stopping");
        }
    }
    camera->close();
    world.stop();
    ::close(stopFd);
    return status;
}
