#include "CameraState.h"

#include "SystemImpl.h"

namespace Hvx {
namespace Internal {

CameraState::CameraState(std::shared_ptr<ModuleRecord> module_, uint64_t session_,
                         const std::string& extendedId_, const Tl::DeviceInfo& info)
    : ListedEntry(info), module(std::move(module_)), session(session_), extendedId(extendedId_)
{
}

CameraFeatureSource::CameraFeatureSource(std::weak_ptr<CameraState> state)
    : m_state(std::move(state))
{
}

HvErrorType CameraFeatureSource::Use(const Body& body)
{
    const auto state = m_state.lock();
    if (!state)
        return HvErrorBadHandle;
    SessionLock session(state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    std::lock_guard<std::mutex> lock(state->deviceMutex);
    if (!state->device)
        return HvErrorDeviceNotOpen;
    return body(state->device->Features(), state->WriteAllowed());
}

StreamFeatureSource::StreamFeatureSource(std::weak_ptr<CameraState> state, uint32_t index,
                                         uint64_t openCount)
    : m_state(std::move(state)), m_index(index), m_openCount(openCount)
{
}

HvErrorType StreamFeatureSource::Use(const Body& body)
{
    const auto state = m_state.lock();
    if (!state)
        return HvErrorBadHandle;
    SessionLock session(state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    std::lock_guard<std::mutex> lock(state->deviceMutex);
    // A stream belongs to one opening of the camera.
    if (!state->device || state->openCount != m_openCount)
        return HvErrorDeviceNotOpen;
    Tl::IFeatureMap* map = state->device->StreamFeatures(m_index);
    if (map == nullptr)
        return HvErrorNotFound;
    return body(*map, state->WriteAllowed());
}

} // namespace Internal
} // namespace Hvx
