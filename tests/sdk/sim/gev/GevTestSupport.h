#pragma once

// Helpers of the tests on the GigE Vision wire: programs run as child
// processes (orvex-sim-gev, Aravis's fake camera) and a bare GVCP host for
// what Aravis hides.

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

// The test's own folder (tests run through tests/support/isolated).
inline std::string testDir(const std::string& name)
{
    const char* tmp = std::getenv("ORVEX_TEST_TMP");
    std::string dir = std::string(tmp ? tmp : "/tmp") + "/" + name;
    std::system(("mkdir -p '" + dir + "'").c_str());
    return dir;
}

inline std::string writeConfig(const std::string& name, const std::string& json)
{
    const std::string path = testDir(name) + "/cameras.json";
    std::ofstream(path) << json;
    return path;
}

// A program run as a child process. With a `readyLine`, its standard output
// is read until that line comes (30 s at most); `ready` tells whether it did.
class ChildProcess
{
public:
    explicit ChildProcess(std::vector<std::string> args, const std::string& readyLine = {})
    {
        // Everything the child needs is built before the fork: other threads
        // may hold the allocator's lock.
        std::vector<char*> argv;
        for (auto& arg : args)
            argv.push_back(&arg[0]);
        argv.push_back(nullptr);
        int out[2];
        if (::pipe(out) != 0)
            return;
        m_pid = ::fork();
        if (m_pid == 0) {
            if (!readyLine.empty())
                ::dup2(out[1], 1);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(out[1]);
        std::string line;
        char c;
        pollfd p{out[0], POLLIN, 0};
        while (!readyLine.empty() && line.find('\n') == std::string::npos &&
               ::poll(&p, 1, 30000) > 0 && ::read(out[0], &c, 1) == 1)
            line += c;
        ::close(out[0]);
        ready = m_pid > 0 && (readyLine.empty() || line == readyLine + "\n");
    }
    ~ChildProcess() { stop(SIGKILL); }
    // Stops it as an operator would; its exit status.
    int stop(int signal = SIGTERM)
    {
        int status = -1;
        if (m_pid <= 0) // never kill(-1): that signals every process of the user
            return -1;
        ::kill(m_pid, signal);
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    // It stops answering, as a device that hangs or loses power.
    void freeze()
    {
        if (m_pid > 0)
            ::kill(m_pid, SIGSTOP);
    }

    bool ready = false;

private:
    pid_t m_pid = -1;
};

// orvex-sim-gev serving one camera of `config` (without one, of the default
// set).
struct GevProcess : ChildProcess
{
    GevProcess(const std::string& address, const std::string& camera, const std::string& state,
               const std::string& config = {})
        : ChildProcess({ORVEX_SIM_GEV, "--address", address, "--camera", camera, "--state", state,
                        "--config", config},
                       "ready " + address),
          address(address)
    {
    }

    std::string address;
};

// A host speaking GVCP itself, from its own port on 127.0.0.1.
class RawHost
{
public:
    explicit RawHost(const std::string& device)
    {
        m_fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(m_fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
        m_to.sin_family = AF_INET;
        m_to.sin_port = htons(3956);
        ::inet_pton(AF_INET, device.c_str(), &m_to.sin_addr);
    }
    ~RawHost() { ::close(m_fd); }

    // WRITEREG of one register; the status of the answer (-1: none within 3 s).
    int writeReg(uint32_t address, uint32_t value, uint16_t id)
    {
        std::vector<uint8_t> p{0x42, 0x01, 0x00, 0x82, 0x00, 0x08, uint8_t(id >> 8), uint8_t(id)};
        for (uint32_t word : {address, value})
            for (int s = 24; s >= 0; s -= 8)
                p.push_back(uint8_t(word >> s));
        ::sendto(m_fd, p.data(), p.size(), 0, reinterpret_cast<sockaddr*>(&m_to), sizeof m_to);
        uint8_t b[64];
        pollfd poll{m_fd, POLLIN, 0};
        if (::poll(&poll, 1, 3000) <= 0 || ::recv(m_fd, b, sizeof b, 0) < 8)
            return -1;
        return b[0] << 8 | b[1];
    }

private:
    int m_fd = -1;
    sockaddr_in m_to{};
};
