#ifndef HVX_INTERNAL_CAMERASTATE_H
#define HVX_INTERNAL_CAMERASTATE_H

#include "FeatureSource.h"
#include "Hvx/SharedPointers.h"
#include "Hvx/TransportLayerModule.h"
#include "ListedEntry.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Hvx {
namespace Internal {

struct ModuleRecord;

// Everything behind one Camera object. Identity can be read at any time;
// the device part belongs to an open camera and is guarded by deviceMutex,
// which also serialises all calls on the device and its streams.
class CameraState : public ListedEntry<Tl::DeviceInfo>
{
public:
    CameraState(std::shared_ptr<ModuleRecord> module, uint64_t session,
                const std::string& extendedId, const Tl::DeviceInfo& info);

    const std::shared_ptr<ModuleRecord> module;
    const uint64_t session;
    const std::string extendedId;

    std::mutex deviceMutex;
    std::unique_ptr<Tl::IDevice> device;
    HvAccessModeType openAccess = HvAccessModeNone;
    uint64_t openCount = 0; // tells streams of an earlier opening apart
    std::vector<StreamPtr> streams;

    // An open camera stays reachable by its ID after it left, so that its
    // owner can still close it.
    bool IsOpen()
    {
        std::lock_guard<std::mutex> lock(deviceMutex);
        return device != nullptr;
    }

    bool WriteAllowed() const
    {
        return (openAccess & (HvAccessModeFull | HvAccessModeExclusive)) != 0;
    }
};

// Features of the camera itself: usable while it is open.
class CameraFeatureSource : public FeatureSource
{
public:
    explicit CameraFeatureSource(std::weak_ptr<CameraState> state);
    HvErrorType Use(const Body& body) override;

private:
    std::weak_ptr<CameraState> m_state;
};

// Features of one stream of one opening of the camera.
class StreamFeatureSource : public FeatureSource
{
public:
    StreamFeatureSource(std::weak_ptr<CameraState> state, uint32_t index, uint64_t openCount);
    HvErrorType Use(const Body& body) override;

private:
    std::weak_ptr<CameraState> m_state;
    uint32_t m_index;
    uint64_t m_openCount;
};

} // namespace Internal
} // namespace Hvx

#endif
