#ifndef HVX_INTERNAL_INTERFACESTATE_H
#define HVX_INTERNAL_INTERFACESTATE_H

#include "FeatureSource.h"
#include "Hvx/TransportLayerModule.h"
#include "ListedEntry.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace Hvx {
namespace Internal {

struct ModuleRecord;

class InterfaceState : public ListedEntry<Tl::InterfaceInfo>
{
public:
    InterfaceState(std::shared_ptr<ModuleRecord> module, uint64_t session,
                   const Tl::InterfaceInfo& info);

    const std::shared_ptr<ModuleRecord> module;
    const uint64_t session;

    // Serialises calls on the interface's features.
    std::mutex featureMutex;
};

class InterfaceFeatureSource : public FeatureSource
{
public:
    explicit InterfaceFeatureSource(std::weak_ptr<InterfaceState> state);
    HvErrorType Use(const Body& body) override;

private:
    std::weak_ptr<InterfaceState> m_state;
};

} // namespace Internal
} // namespace Hvx

#endif
