#include "HandleRegistry.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

namespace Hvx {
namespace Internal {

namespace {

std::mutex& RegistryMutex()
{
    static std::mutex mutex;
    return mutex;
}

std::map<HvHandle, std::weak_ptr<FeatureContainer>>& Registry()
{
    static std::map<HvHandle, std::weak_ptr<FeatureContainer>> registry;
    return registry;
}

} // namespace

HvHandle NewHandle()
{
    // Starts well away from 0 so that a null or small integer is never valid.
    static std::atomic<uintptr_t> next{0x10000};
    return reinterpret_cast<HvHandle>(next.fetch_add(0x10));
}

void RegisterHandle(HvHandle handle, const FeatureContainerPtr& container)
{
    std::lock_guard<std::mutex> lock(RegistryMutex());
    Registry()[handle] = container;
}

void ForgetHandle(HvHandle handle)
{
    std::lock_guard<std::mutex> lock(RegistryMutex());
    Registry().erase(handle);
}

FeatureContainerPtr LookUpHandle(HvHandle handle)
{
    std::lock_guard<std::mutex> lock(RegistryMutex());
    const auto it = Registry().find(handle);
    return it == Registry().end() ? nullptr : it->second.lock();
}

} // namespace Internal
} // namespace Hvx
