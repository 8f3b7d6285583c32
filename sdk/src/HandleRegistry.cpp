#include "HandleRegistry.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>

namespace Hvx {
namespace Internal {

namespace {

// Never destroyed: containers may die during static destruction (a program
// that exits without Shutdown) and must still be able to leave the registry.
std::mutex& RegistryMutex()
{
    static auto* mutex = new std::mutex;
    return *mutex;
}

std::map<HvHandle, std::weak_ptr<FeatureContainer>>& Registry()
{
    static auto* registry = new std::map<HvHandle, std::weak_ptr<FeatureContainer>>;
    return *registry;
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
