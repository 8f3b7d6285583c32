#include "SimWorld.h"

#include "DeviceFileStore.h"

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

namespace hvsim {

namespace {

// Internal event kind: a camera that dropped off by a fault, still listed.
constexpr int kDropped = 100;

std::string fileStamp(const std::string& path)
{
    struct stat st;
    if (::stat(path.c_str(), &st) != 0)
        return "missing";
    return std::to_string(st.st_ino) + ":" + std::to_string(st.st_size) + ":" +
           std::to_string(st.st_mtim.tv_sec) + "." + std::to_string(st.st_mtim.tv_nsec);
}

} // namespace

SimWorld::Options SimWorld::optionsFromEnvironment()
{
    Options o;
    if (const char* c = std::getenv("HVX_SIM_CONFIG"); c && *c)
        o.configPath = c;
    o.stateRoot = DeviceFileStore::defaultStateRoot();
    return o;
}

SimWorld::SimWorld(Options options) : m_options(std::move(options)) {}

SimWorld::~SimWorld()
{
    stop();
}

std::shared_ptr<SimCamera> SimWorld::makeCamera(const CameraConfig& config)
{
    return std::make_shared<SimCamera>(config, m_options.stateRoot,
                                       [this](const std::string& id) { onDisconnect(id); });
}

void SimWorld::start()
{
    if (m_running)
        return;
    SimConfig config = SimConfig::defaults();
    if (!m_options.configPath.empty()) {
        std::string error;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stamp = fileStamp(m_options.configPath);
        if (!SimConfig::load(m_options.configPath, config, &error)) {
            config = SimConfig();
            m_error = error;
            std::fprintf(stderr, "hvx-sim: %s\n", error.c_str());
        }
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& c : config.cameras) {
            m_cameras.push_back(makeCamera(c));
            m_fromConfig.insert(c.id);
        }
    }
    m_stopping = false;
    m_running = true;
    m_notifier = std::thread([this] { deliver(); });
    if (!m_options.configPath.empty())
        m_watcher = std::thread([this] { watch(); });
}

void SimWorld::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_eventMutex);
        m_stopping = true;
    }
    m_eventCv.notify_all();
    if (m_watcher.joinable())
        m_watcher.join();
    if (m_notifier.joinable())
        m_notifier.join();
    m_running = false;
}

void SimWorld::setListener(Listener listener)
{
    std::lock_guard<std::mutex> lock(m_eventMutex);
    m_listener = std::move(listener);
}

std::vector<std::shared_ptr<SimCamera>> SimWorld::cameras() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_cameras;
}

std::shared_ptr<SimCamera> SimWorld::camera(const std::string& id) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& c : m_cameras)
        if (c->id() == id)
            return c;
    return nullptr;
}

std::string SimWorld::lastError() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

Status SimWorld::addCamera(const CameraConfig& config)
{
    if (config.id.empty())
        return BadParameter;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& c : m_cameras)
            if (c->id() == config.id)
                return InvalidCall;
        m_cameras.push_back(makeCamera(config));
        m_dropped.erase(config.id);
    }
    queue(config.id, Arrived);
    return Ok;
}

Status SimWorld::removeCamera(const std::string& id)
{
    std::shared_ptr<SimCamera> gone;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto it = m_cameras.begin(); it != m_cameras.end(); ++it)
            if ((*it)->id() == id) {
                gone = *it;
                m_cameras.erase(it);
                break;
            }
        m_fromConfig.erase(id);
    }
    if (!gone)
        return NotFound;
    gone->disconnect(false);
    queue(id, Left);
    return Ok;
}

void SimWorld::reloadConfig()
{
    if (m_options.configPath.empty())
        return;
    SimConfig config;
    std::string error;
    const std::string stamp = fileStamp(m_options.configPath);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stamp = stamp;
    }
    if (stamp == "missing") {
        reconcile(SimConfig());
        return;
    }
    if (!SimConfig::load(m_options.configPath, config, &error)) {
        // Likely caught halfway through an edit: keep what runs now.
        std::lock_guard<std::mutex> lock(m_mutex);
        m_error = error;
        return;
    }
    reconcile(config);
}

void SimWorld::reconcile(const SimConfig& config)
{
    std::vector<std::shared_ptr<SimCamera>> removed;
    std::vector<std::string> added;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_error.clear();
        std::set<std::string> wanted;
        for (const auto& c : config.cameras)
            wanted.insert(c.id);
        std::map<std::string, const CameraConfig*> byId;
        for (const auto& c : config.cameras)
            byId[c.id] = &c;
        for (auto it = m_cameras.begin(); it != m_cameras.end();) {
            const std::string id = (*it)->id();
            auto listed = byId.find(id);
            // A camera whose settings changed comes back as a new device; one
            // whose faults alone changed takes them in place.
            bool changed = listed != byId.end() && m_fromConfig.count(id) &&
                           listed->second->signature != (*it)->config().signature;
            if (m_fromConfig.count(id) && listed != byId.end() && !changed)
                (*it)->setFaults(listed->second->faults);
            if (m_fromConfig.count(id) && (!wanted.count(id) || changed)) {
                removed.push_back(*it);
                m_fromConfig.erase(id);
                it = m_cameras.erase(it);
            } else {
                ++it;
            }
        }
        for (auto it = m_dropped.begin(); it != m_dropped.end();)
            it = wanted.count(*it) ? std::next(it) : m_dropped.erase(it);
        for (const auto& c : config.cameras) {
            bool present = false;
            for (const auto& cam : m_cameras)
                present = present || cam->id() == c.id;
            if (present || m_dropped.count(c.id))
                continue;
            m_cameras.push_back(makeCamera(c));
            m_fromConfig.insert(c.id);
            added.push_back(c.id);
        }
    }
    for (const auto& cam : removed) {
        cam->disconnect(false);
        queue(cam->id(), Left);
    }
    for (const auto& id : added)
        queue(id, Arrived);
}

void SimWorld::watch()
{
    std::unique_lock<std::mutex> lock(m_eventMutex);
    while (!m_stopping) {
        m_eventCv.wait_for(lock, std::chrono::milliseconds(m_options.pollMs));
        if (m_stopping)
            break;
        lock.unlock();
        std::string stamp = fileStamp(m_options.configPath);
        bool changed;
        {
            std::lock_guard<std::mutex> l(m_mutex);
            changed = stamp != m_stamp;
        }
        if (changed)
            reloadConfig();
        lock.lock();
    }
}

void SimWorld::queue(const std::string& id, Reason reason)
{
    {
        std::lock_guard<std::mutex> lock(m_eventMutex);
        m_events.emplace_back(id, reason);
    }
    m_eventCv.notify_all();
}

void SimWorld::onDisconnect(const std::string& id)
{
    // Runs inside a camera operation: only queue.
    queue(id, Reason(kDropped));
}

void SimWorld::deliver()
{
    std::unique_lock<std::mutex> lock(m_eventMutex);
    for (;;) {
        m_eventCv.wait(lock, [this] { return m_stopping || !m_events.empty(); });
        if (m_events.empty() && m_stopping)
            return;
        auto [id, reason] = m_events.front();
        m_events.pop_front();
        Listener listener = m_listener;
        lock.unlock();
        if (int(reason) == kDropped) {
            bool listed = false;
            {
                std::lock_guard<std::mutex> l(m_mutex);
                for (auto it = m_cameras.begin(); it != m_cameras.end(); ++it)
                    if ((*it)->id() == id) {
                        m_cameras.erase(it);
                        listed = true;
                        break;
                    }
                if (listed && m_fromConfig.count(id))
                    m_dropped.insert(id);
            }
            reason = Left;
            if (!listed)
                listener = nullptr;
        }
        if (listener)
            listener(id, reason);
        lock.lock();
    }
}

} // namespace hvsim
