#include "SimDevice.h"

namespace hvsim {

SimDevice::SimDevice(std::shared_ptr<SimCamera> camera)
    : m_camera(std::move(camera)), m_features(m_camera->features())
{
    for (size_t i = 0; i < m_camera->streamCount(); ++i)
        m_streams.push_back(std::make_unique<SimFeatureMapAdapter>(*m_camera->stream(i)));
}

SimDevice::~SimDevice()
{
    m_camera->close();
}

Hvx::Tl::IFeatureMap* SimDevice::StreamFeatures(uint32_t index)
{
    return index < m_streams.size() ? m_streams[index].get() : nullptr;
}

HvErrorType SimDevice::ReadMemory(uint64_t address, uint8_t* buffer, uint32_t size,
                                  uint32_t& completed)
{
    return m_camera->readMemory(address, buffer, size, &completed);
}

HvErrorType SimDevice::WriteMemory(uint64_t address, const uint8_t* buffer, uint32_t size,
                                   uint32_t& completed)
{
    return m_camera->writeMemory(address, buffer, size, &completed);
}

HvErrorType SimDevice::AcquireFrame(uint32_t, Hvx::Tl::FrameData& frame)
{
    // Frames are made on demand, so the timeout never runs out.
    SimFrame f;
    Status s = m_camera->acquireSingleImage(f);
    if (s != Ok)
        return s;
    frame.status = HvFrameStatusComplete;
    frame.width = f.width;
    frame.height = f.height;
    frame.pixelFormat = f.pixelFormat == "Mono16"   ? HvPixelFormatMono16
                        : f.pixelFormat == "Mono12" ? HvPixelFormatMono12
                                                    : HvPixelFormatMono8;
    frame.frameId = f.frameId;
    frame.timestamp = f.timestampNs;
    frame.image = std::move(f.pixels);
    return HvErrorSuccess;
}

} // namespace hvsim
