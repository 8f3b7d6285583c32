#pragma once

#include "DeviceFileStore.h"
#include "FileAccessEngine.h"
#include "SensorModel.h"
#include "SimCameraConfig.h"
#include "SimFeatureSet.h"
#include "SimTrace.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace hvsim {

struct SimFrame
{
    uint32_t width = 0;
    uint32_t height = 0;
    std::string pixelFormat;
    uint64_t frameId = 0;
    uint64_t timestampNs = 0;
    std::vector<uint8_t> pixels;
};

// One virtual camera: identity, open state, its feature set and streams,
// File Access over its persistent files, raw memory with the shading map
// area and mirror registers, a sensor, and the faults it was told to show.
class SimCamera
{
public:
    static constexpr uint64_t kMapArea = 0x10100000;
    static constexpr uint64_t kShadingControlRegister = 0x105FFFE0;
    static constexpr uint64_t kShadingMapSelectRegister = 0x105FFFE4;

    // `onDisconnect` runs (under the camera's lock) when the camera drops off
    // the bus by an injected fault; it must only queue work.
    SimCamera(CameraConfig config, const std::string& stateRoot,
              std::function<void(const std::string& id)> onDisconnect = {});
    ~SimCamera();

    const CameraConfig& config() const { return m_config; }
    const std::string& id() const { return m_config.id; }

    // Transport-layer type code: 1 GigE Vision, 7 USB3 Vision.
    Status interfaceType(int& code) const;
    bool fullAccessPermitted() const { return !m_config.heldByOtherApplication; }

    Status open(bool fullAccess);
    Status close();
    bool isOpen() const { return m_open; }
    bool isConnected() const { return m_connected; }

    SimFeatureSet& features() { return *m_features; }
    size_t streamCount() const { return m_streams.size(); }
    SimFeatureSet* stream(size_t i) { return i < m_streams.size() ? m_streams[i].get() : nullptr; }

    Status readMemory(uint64_t address, uint8_t* buffer, uint32_t size, uint32_t* completed);
    Status writeMemory(uint64_t address, const uint8_t* data, uint32_t size, uint32_t* completed);

    Status acquireSingleImage(SimFrame& frame);

    // Test and demonstration controls.
    SimTrace& trace() { return *m_trace; }
    void setCommandLatency(const std::string& command, int64_t ms);
    void setFaults(const FaultConfig& faults);
    FaultConfig faults() const;
    // Drops the camera off the bus: every later operation fails. `notify`
    // tells the world (a fault); an unplug the world did itself does not.
    void disconnect(bool notify = true);
    bool storedFile(const std::string& selector, const std::string& fileName,
                    std::vector<uint8_t>& bytes) const;

private:
    void buildDeviceFeatures();
    void buildStreams();
    void applyLatencies();
    Status intercept(const std::string& feature, const std::string& op) const;
    std::optional<FailOperation> operationFault(const std::string& operation, int occurrence) const;
    // Makes the image and packet parameters of a set read-only while
    // "TLParamsLocked" is set.
    void lockTLParameters(SimFeatureSet& set);
    void stopAcquisition();
    Status beforeChunk();
    void loadMapArea();
    uint32_t registerValue(uint64_t address);
    Status setRegisterValue(uint64_t address, uint32_t value);
    // The map words of the correction that is switched on, null when none
    // is (or the map is the neutral factory map).
    const std::vector<uint16_t>* activeMap();
    // The camera's settings survive the program, as a camera that stays
    // powered keeps them: kept in the state folder after every change.
    void loadSettings();
    void saveSettings();

    CameraConfig m_config;
    std::function<void(const std::string&)> m_onDisconnect;
    std::shared_ptr<std::recursive_mutex> m_lock;
    std::shared_ptr<SimTrace> m_trace;
    std::unique_ptr<SimFeatureSet> m_features;
    std::vector<std::unique_ptr<SimFeatureSet>> m_streams;
    DeviceFileStore m_store;
    std::unique_ptr<FileAccessEngine> m_fileAccess;
    std::unique_ptr<SensorModel> m_sensor;
    std::vector<uint8_t> m_mapArea;
    std::atomic<bool> m_open{false};
    std::atomic<bool> m_connected{true};
    bool m_acquiring = false;
    int m_chunks = 0;
    int64_t m_nucSelection = 0;
    uint64_t m_frameCounter = 0;
    uint64_t m_noiseSeed; // added to the frame id for the sensor's noise
    struct ActiveMap
    {
        std::string selector;
        std::string fileName;
        uint64_t revision = 0;
        bool loaded = false;
        bool neutral = true;
        std::vector<uint16_t> words;
    } m_activeMap;
    std::string m_savedSettings;
};

} // namespace hvsim
