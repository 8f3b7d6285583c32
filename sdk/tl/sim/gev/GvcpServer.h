#pragma once

#include "GevDevice.h"

#include <netinet/in.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace hvsim::gev {

// The control channel of one device: UDP port 3956 on the device's address,
// plus a socket that hears broadcast discovery. Answers only hosts on
// loopback. A repeated request (same host, same request id) gets the
// answer it had, without running the command again; a write that starts a
// command which takes time is answered when the command is done, with
// pending acknowledgements meanwhile and BUSY to anything else. Wire faults
// of the camera's fault configuration apply here.
class GvcpServer
{
public:
    explicit GvcpServer(GevDevice& device);
    ~GvcpServer();
    GvcpServer(const GvcpServer&) = delete;
    GvcpServer& operator=(const GvcpServer&) = delete;

    bool bind(uint32_t ip, std::string* error);
    // Serves until `stopFd` becomes readable.
    void run(int stopFd);

private:
    using Clock = GevDevice::Clock;

    struct Answer
    {
        Peer peer;
        uint16_t id = 0;
        std::vector<uint8_t> bytes;
        Clock::time_point time;
    };
    struct InFlight
    {
        Answer answer;
        bool drop = false;
        Clock::time_point done;
        Clock::time_point nextPending;
    };

    void receive(int fd);
    void handle(int fd, const uint8_t* packet, size_t size, const Peer& peer);
    std::vector<uint8_t> execute(uint16_t command, uint16_t id, const uint8_t* payload,
                                 size_t size, const Peer& peer, std::string* executed);
    std::string wireFault(uint16_t command, const uint8_t* payload, size_t size);
    void sendPending(InFlight& f, Clock::time_point now);
    void send(const Peer& peer, const std::vector<uint8_t>& bytes);
    void tick(Clock::time_point now);
    bool present();

    GevDevice& m_device;
    int m_control = -1;
    int m_discovery = -1;
    std::map<Peer, Answer> m_answered;
    std::optional<InFlight> m_inFlight;
    std::vector<int> m_faultCounts;
    std::vector<WireFault> m_faults;
    bool m_gone = false;
};

} // namespace hvsim::gev
