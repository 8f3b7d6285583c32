#pragma once

#include "SimCamera.h"
#include "SimCameraConfig.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace hvsim {

// The set of cameras the simulated transport layer shows. Built from the
// file named by HVX_SIM_CONFIG (else the built-in default set), kept in
// step with that file while running, and changed by the test controls.
// List changes reach the listener on the world's own thread, never from
// inside a camera operation.
class SimWorld
{
public:
    // int-based: the world also queues an internal kind beyond these two.
    enum Reason : int
    {
        Arrived = 0,
        Left = 1,
    };
    using Listener = std::function<void(const std::string& cameraId, Reason reason)>;

    struct Options
    {
        std::string configPath; // empty: built-in default set
        std::string stateRoot;
        int pollMs = 200; // how often the configuration file is checked
    };
    static Options optionsFromEnvironment();

    explicit SimWorld(Options options);
    ~SimWorld();

    // Reads the configuration and starts watching it. A configuration file
    // that cannot be read gives no cameras; the reason is in lastError().
    void start();
    void stop();
    void setListener(Listener listener);

    std::vector<std::shared_ptr<SimCamera>> cameras() const;
    std::shared_ptr<SimCamera> camera(const std::string& id) const;
    std::string lastError() const;

    // Hot plug by hand (tests, demonstrations).
    Status addCamera(const CameraConfig& config);
    Status removeCamera(const std::string& id);
    // Brings the camera list in line with the configuration file now.
    void reloadConfig();

private:
    void watch();
    void deliver();
    void queue(const std::string& id, Reason reason);
    void onDisconnect(const std::string& id);
    void reconcile(const SimConfig& config);
    std::shared_ptr<SimCamera> makeCamera(const CameraConfig& config);

    Options m_options;
    mutable std::mutex m_mutex; // cameras, origin, config stamp, error
    std::vector<std::shared_ptr<SimCamera>> m_cameras;
    std::set<std::string> m_fromConfig; // ids that the configuration owns
    std::set<std::string> m_dropped;    // went away by a fault; back only when re-listed
    std::string m_stamp;
    std::string m_error;

    std::mutex m_eventMutex; // events and listener only
    std::condition_variable m_eventCv;
    std::deque<std::pair<std::string, Reason>> m_events;
    Listener m_listener;
    bool m_stopping = false;
    bool m_running = false;
    std::thread m_watcher;
    std::thread m_notifier;
};

} // namespace hvsim
