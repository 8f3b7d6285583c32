#ifndef HVX_INTERNAL_CAMERASTATE_H
#define HVX_INTERNAL_CAMERASTATE_H

#include "FeatureSource.h"
#include "Hvx/SharedPointers.h"
#include "Hvx/TransportLayerModule.h"

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
class CameraState
{
public:
    CameraState(std::shared_ptr<ModuleRecord> module, uint64_t session,
                const std::string& extendedId, const Tl::DeviceInfo& info);

    const std::shared_ptr<ModuleRecord> module;
    const uint64_t session;
    const std::string extendedId;

    Tl::DeviceInfo Info() const;
    void SetInfo(const Tl::DeviceInfo& info);
    bool Present() const;
    void SetPresent(bool present);

    std::mutex deviceMutex;
    std::unique_ptr<Tl::IDevice> device;
    HvAccessModeType openAccess = HvAccessModeNone;
    uint64_t openCount = 0; // tells streams of an earlier opening apart
    std::vector<StreamPtr> streams;

    bool WriteAllowed() const
    {
        return (openAccess & (HvAccessModeFull | HvAccessModeExclusive)) != 0;
    }

private:
    mutable std::mutex m_infoMutex;
    Tl::DeviceInfo m_info;
    bool m_present;
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
