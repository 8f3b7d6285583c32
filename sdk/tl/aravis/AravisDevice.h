#pragma once

#include "AravisFeatureMap.h"
#include "DeviceDirectory.h"
#include "DeviceThread.h"

#include <Hvx/TransportLayerModule.h>

#include <arv.h>

#include <functional>
#include <memory>
#include <mutex>

namespace hvaravis {

// One opened camera. The Aravis device is made, used and released on the
// device's own thread; frames come through an ArvStream with a small pool of
// buffers that lives as long as the payload size stays the same.
class AravisDevice : public Hvx::Tl::IDevice
{
public:
    // Opens the device at `location`. GigE Vision devices are opened by
    // unicast; others through Aravis's list, under `aravisMutex`. A mode that
    // writes needs the control privilege: HvErrorInvalidAccess when another
    // host holds it. `closed` is called when the device is destroyed.
    static HvErrorType Open(const DeviceLocation& location, HvAccessModeType mode,
                            std::mutex& aravisMutex, std::function<void()> closed,
                            std::unique_ptr<Hvx::Tl::IDevice>& device);
    ~AravisDevice() override;

    Hvx::Tl::IFeatureMap& Features() override { return m_features; }
    uint32_t StreamCount() override { return 0; }
    Hvx::Tl::IFeatureMap* StreamFeatures(uint32_t) override { return nullptr; }
    HvErrorType ReadMemory(uint64_t address, uint8_t* buffer, uint32_t size,
                           uint32_t& completed) override;
    HvErrorType WriteMemory(uint64_t address, const uint8_t* buffer, uint32_t size,
                            uint32_t& completed) override;
    HvErrorType AcquireFrame(uint32_t timeoutMs, Hvx::Tl::FrameData& frame) override;

private:
    explicit AravisDevice(std::function<void()> closed);
    HvErrorType OpenOnThread(const DeviceLocation& location, HvAccessModeType mode,
                             std::mutex& aravisMutex);
    HvErrorType PrepareStream();
    void ReleaseStream();

    DeviceThread m_thread;
    ArvDevice* m_device = nullptr;
    AravisFeatureMap m_features;
    ArvStream* m_stream = nullptr;
    int64_t m_payload = 0;
    std::function<void()> m_closed;
};

// The SDK's frame status for an Aravis buffer status.
HvFrameStatusType FrameStatus(int bufferStatus);

} // namespace hvaravis
