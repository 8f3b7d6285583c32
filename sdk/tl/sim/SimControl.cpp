// The test controls the module exports (see include/HvxSimControl.h).

#include "HvxSimControl.h"
#include "SimModule.h"

namespace hvsim {

namespace {

class SimControl : public HvxSim::IControl
{
public:
    bool IsRunning() override { return SimModule::currentWorld() != nullptr; }

    std::vector<std::string> CameraIds() override
    {
        std::vector<std::string> ids;
        if (auto world = SimModule::currentWorld())
            for (const auto& c : world->cameras())
                ids.push_back(c->id());
        return ids;
    }

    int AddCamera(const std::string& cameraJson) override
    {
        auto world = SimModule::currentWorld();
        if (!world)
            return NotStarted;
        CameraConfig config;
        if (!SimConfig::parseCamera(cameraJson, config, nullptr))
            return BadParameter;
        return world->addCamera(config);
    }

    int RemoveCamera(const std::string& cameraId) override
    {
        auto world = SimModule::currentWorld();
        return world ? world->removeCamera(cameraId) : NotStarted;
    }

    int ReloadConfig() override
    {
        auto world = SimModule::currentWorld();
        if (!world)
            return NotStarted;
        world->reloadConfig();
        return Ok;
    }

    int SetFaults(const std::string& cameraId, const std::string& faultsJson) override
    {
        return withCamera(cameraId, [&](SimCamera& c) {
            FaultConfig faults;
            if (!SimConfig::parseFaults(faultsJson, faults, nullptr))
                return BadParameter;
            c.setFaults(faults);
            return Ok;
        });
    }

    int ClearFaults(const std::string& cameraId) override
    {
        return withCamera(cameraId, [](SimCamera& c) {
            c.setFaults(FaultConfig());
            return Ok;
        });
    }

    int SetCommandLatency(const std::string& cameraId, const std::string& command,
                          int64_t milliseconds) override
    {
        return withCamera(cameraId, [&](SimCamera& c) {
            c.setCommandLatency(command, milliseconds);
            return Ok;
        });
    }

    int Disconnect(const std::string& cameraId) override
    {
        return withCamera(cameraId, [](SimCamera& c) {
            c.disconnect();
            return Ok;
        });
    }

    int GetTrace(const std::string& cameraId, std::vector<HvxSim::TraceEntry>& entries) override
    {
        return withCamera(cameraId, [&](SimCamera& c) {
            entries.clear();
            for (const auto& e : c.trace().entries())
                entries.push_back(HvxSim::TraceEntry{e.scope, e.feature, e.op, e.value, e.status});
            return Ok;
        });
    }

    int ClearTrace(const std::string& cameraId) override
    {
        return withCamera(cameraId, [](SimCamera& c) {
            c.trace().clear();
            return Ok;
        });
    }

    int ReadStoredFile(const std::string& cameraId, const std::string& selector,
                       const std::string& fileName, std::vector<uint8_t>& bytes) override
    {
        return withCamera(cameraId, [&](SimCamera& c) {
            return c.storedFile(selector, fileName, bytes) ? Ok : NotFound;
        });
    }

private:
    template <typename F> int withCamera(const std::string& id, F f)
    {
        auto world = SimModule::currentWorld();
        if (!world)
            return NotStarted;
        std::shared_ptr<SimCamera> camera = world->camera(id);
        if (!camera)
            return NotFound;
        return f(*camera);
    }
};

} // namespace

} // namespace hvsim

extern "C" __attribute__((visibility("default"))) HvxSim::IControl* HvxSimControlInstance(void)
{
    static hvsim::SimControl control;
    return &control;
}
