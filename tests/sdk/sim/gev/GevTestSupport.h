#pragma once

// Helpers of the orvex-sim-gev tests: the device as a child process, Aravis
// devices opened by unicast, and a bare GVCP host for what Aravis hides.

#include <arv.h>
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

// orvex-sim-gev serving one camera; waits for its "ready" line.
class GevProcess
{
public:
    GevProcess(const std::string& address, const std::string& camera, const std::string& state,
               const std::string& config = {})
        : address(address)
    {
        int out[2];
        if (::pipe(out) != 0)
            return;
        m_pid = ::fork();
        if (m_pid == 0) {
            ::dup2(out[1], 1);
            std::vector<const char*> args{ORVEX_SIM_GEV, "--address", address.c_str(),
                                          "--camera", camera.c_str(), "--state", state.c_str()};
            if (!config.empty()) {
                args.push_back("--config");
                args.push_back(config.c_str());
            }
            args.push_back(nullptr);
            ::execv(ORVEX_SIM_GEV, const_cast<char* const*>(args.data()));
            ::_exit(127);
        }
        ::close(out[1]);
        std::string line;
        char c;
        pollfd p{out[0], POLLIN, 0};
        while (line.find('\n') == std::string::npos && ::poll(&p, 1, 30000) > 0 &&
               ::read(out[0], &c, 1) == 1)
            line += c;
        ::close(out[0]);
        ready = line == "ready " + address + "\n";
    }
    ~GevProcess()
    {
        if (m_pid > 0)
            stop();
    }
    // Stops it as an operator would; its exit status.
    int stop()
    {
        int status = -1;
        ::kill(m_pid, SIGTERM);
        ::waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    std::string address;
    bool ready = false;

private:
    pid_t m_pid = -1;
};

inline ArvDevice* openDevice(const std::string& address)
{
    GInetAddress* host = g_inet_address_new_from_string("127.0.0.1");
    GInetAddress* device = g_inet_address_new_from_string(address.c_str());
    ArvDevice* d = arv_gv_device_new(host, device, nullptr);
    g_object_unref(host);
    g_object_unref(device);
    return d;
}

inline uint64_t registerAddress(ArvDevice* d, const std::string& node)
{
    return arv_gc_register_get_address(ARV_GC_REGISTER(arv_device_get_feature(d, node.c_str())),
                                       nullptr);
}

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

    struct Ack
    {
        bool received = false;
        uint16_t status = 0, command = 0;
        std::vector<uint8_t> payload;
    };

    void send(uint16_t command, uint16_t id, const std::vector<uint8_t>& payload)
    {
        std::vector<uint8_t> p{0x42, 0x01, uint8_t(command >> 8), uint8_t(command),
                               uint8_t(payload.size() >> 8), uint8_t(payload.size()),
                               uint8_t(id >> 8), uint8_t(id)};
        p.insert(p.end(), payload.begin(), payload.end());
        ::sendto(m_fd, p.data(), p.size(), 0, reinterpret_cast<sockaddr*>(&m_to), sizeof m_to);
    }
    // The next answer, or none within `ms`.
    Ack receive(int ms = 3000)
    {
        Ack a;
        uint8_t b[1024];
        pollfd p{m_fd, POLLIN, 0};
        if (::poll(&p, 1, ms) <= 0)
            return a;
        const ssize_t n = ::recv(m_fd, b, sizeof b, 0);
        if (n < 8)
            return a;
        a.received = true;
        a.status = uint16_t(b[0] << 8 | b[1]);
        a.command = uint16_t(b[2] << 8 | b[3]);
        a.payload.assign(b + 8, b + n);
        return a;
    }
    static std::vector<uint8_t> words(std::initializer_list<uint32_t> values)
    {
        std::vector<uint8_t> out;
        for (uint32_t v : values)
            for (int s = 24; s >= 0; s -= 8)
                out.push_back(uint8_t(v >> s));
        return out;
    }
    Ack writeReg(uint32_t address, uint32_t value, uint16_t id)
    {
        send(0x0082, id, words({address, value}));
        return receive();
    }
    // An 8-byte register (integers, enumerations) in one memory write.
    Ack writeValue(uint64_t address, int64_t value, uint16_t id)
    {
        send(0x0086, id, words({uint32_t(address), uint32_t(uint64_t(value) >> 32),
                                uint32_t(value)}));
        return receive();
    }

private:
    int m_fd = -1;
    sockaddr_in m_to{};
};
