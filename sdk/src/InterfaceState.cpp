#include "InterfaceState.h"

#include "SystemImpl.h"

namespace Hvx {
namespace Internal {

InterfaceState::InterfaceState(std::shared_ptr<ModuleRecord> module_, uint64_t session_,
                               const Tl::InterfaceInfo& info)
    : ListedEntry(info), module(std::move(module_)), session(session_)
{
}

InterfaceFeatureSource::InterfaceFeatureSource(std::weak_ptr<InterfaceState> state)
    : m_state(std::move(state))
{
}

HvErrorType InterfaceFeatureSource::Use(const Body& body)
{
    const auto state = m_state.lock();
    if (!state)
        return HvErrorBadHandle;
    SessionLock session(state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    std::lock_guard<std::mutex> lock(state->featureMutex);
    Tl::IFeatureMap* map = state->module->loaded.module->InterfaceFeatures(state->Info().id);
    if (map == nullptr)
        return HvErrorNotFound;
    return body(*map, true);
}

} // namespace Internal
} // namespace Hvx
