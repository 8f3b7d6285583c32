#pragma once

#include "SimCamera.h"
#include "SimFeatureMapAdapter.h"

#include <Hvx/TransportLayerModule.h>

#include <memory>

namespace hvsim {

// An opened simulated camera as the SDK core holds it; destroying it
// closes the camera.
class SimDevice : public Hvx::Tl::IDevice
{
public:
    explicit SimDevice(std::shared_ptr<SimCamera> camera);
    ~SimDevice() override;

    Hvx::Tl::IFeatureMap& Features() override { return m_features; }
    uint32_t StreamCount() override { return uint32_t(m_streams.size()); }
    Hvx::Tl::IFeatureMap* StreamFeatures(uint32_t index) override;
    HvErrorType ReadMemory(uint64_t address, uint8_t* buffer, uint32_t size,
                           uint32_t& completed) override;
    HvErrorType WriteMemory(uint64_t address, const uint8_t* buffer, uint32_t size,
                            uint32_t& completed) override;
    HvErrorType AcquireFrame(uint32_t timeoutMs, Hvx::Tl::FrameData& frame) override;

private:
    std::shared_ptr<SimCamera> m_camera;
    SimFeatureMapAdapter m_features;
    std::vector<std::unique_ptr<SimFeatureMapAdapter>> m_streams;
};

} // namespace hvsim
