#include "HvxSimControl.h"

#include <cstdlib>
#include <dlfcn.h>
#include <mutex>

namespace HvxSim {

IControl* Control(const std::string& modulePath)
{
    static std::mutex mutex;
    std::lock_guard<std::mutex> lock(mutex);
    std::string path = modulePath;
    if (path.empty()) {
        const char* env = std::getenv("HVX_SIM_MODULE");
        path = env && *env ? env : HVX_SIM_MODULE_PATH;
    }
    // The module the SDK loaded, if any; else load it now and keep it, so
    // that the SDK finds the same instance when it starts.
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        handle = ::dlopen(path.c_str(), RTLD_NOW);
    if (!handle)
        return nullptr;
    auto instance =
        reinterpret_cast<HvxSimControlFunction>(::dlsym(handle, HVX_SIM_CONTROL_SYMBOL));
    return instance ? instance() : nullptr;
}

} // namespace HvxSim
