#include "ModuleLoader.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>

namespace Hvx {
namespace Internal {

namespace {

std::string RealPath(const std::string& path)
{
    char* resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr)
        return std::string();
    std::string result(resolved);
    std::free(resolved);
    return result;
}

std::string DirectoryOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return path.substr(0, slash);
}

bool EndsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// Regular files named *.so in one folder, in name order so that the choice
// between two modules with the same ID does not depend on the file system.
std::vector<std::string> ModuleFilesIn(const std::string& folder)
{
    std::vector<std::string> files;
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr)
        return files;
    while (dirent* entry = ::readdir(dir)) {
        const std::string name(entry->d_name);
        if (!EndsWith(name, ".so"))
            continue;
        const std::string path = folder + "/" + name;
        struct stat info;
        if (::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
            files.push_back(path);
    }
    ::closedir(dir);
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

void DebugNote(const std::string& text)
{
    const char* debug = std::getenv("HVX_TL_DEBUG");
    if (debug != nullptr && *debug != '\0')
        std::fprintf(stderr, "Hvx: %s\n", text.c_str());
}

std::vector<std::string> ModuleSearchFolders()
{
    std::vector<std::string> folders;
    const char* path = std::getenv("HVX_TL_PATH");
    if (path != nullptr && *path != '\0') {
        std::string list(path);
        size_t start = 0;
        while (start <= list.size()) {
            const size_t colon = list.find(':', start);
            const size_t end = colon == std::string::npos ? list.size() : colon;
            if (end > start)
                folders.push_back(list.substr(start, end - start));
            start = end + 1;
        }
        return folders;
    }
    // The module folder sits beside the library file, wherever the library
    // was installed or built.
    Dl_info info;
    if (::dladdr(reinterpret_cast<void*>(&ModuleSearchFolders), &info) != 0 &&
        info.dli_fname != nullptr) {
        std::string library = RealPath(info.dli_fname);
        if (library.empty())
            library = info.dli_fname;
        folders.push_back(DirectoryOf(library) + "/hvx-tl");
    }
    return folders;
}

std::vector<LoadedModule> LoadModules(const std::vector<std::string>& folders)
{
    std::vector<LoadedModule> modules;
    std::set<std::string> paths;
    std::set<std::string> ids;
    for (const auto& folder : folders) {
        for (const auto& file : ModuleFilesIn(folder)) {
            const std::string path = RealPath(file);
            if (path.empty() || !paths.insert(path).second)
                continue;
            void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
            if (library == nullptr) {
                const char* error = ::dlerror();
                DebugNote("cannot load " + path + ": " + (error ? error : "?"));
                continue;
            }
            auto version = reinterpret_cast<HvxTlInterfaceVersionFunction>(
                ::dlsym(library, HVX_TL_INTERFACE_VERSION_SYMBOL));
            auto create = reinterpret_cast<HvxTlCreateModuleFunction>(
                ::dlsym(library, HVX_TL_CREATE_MODULE_SYMBOL));
            if (version == nullptr || create == nullptr) {
                DebugNote("not a transport-layer module: " + path);
                ::dlclose(library);
                continue;
            }
            if (version() != Tl::kModuleInterfaceVersion) {
                DebugNote("module interface version " + std::to_string(version()) + " instead of " +
                          std::to_string(Tl::kModuleInterfaceVersion) + ": " + path);
                ::dlclose(library);
                continue;
            }
            Tl::IModule* module = create();
            if (module == nullptr) {
                DebugNote("module creation failed: " + path);
                ::dlclose(library);
                continue;
            }
            const std::string id = module->Id();
            if (id.empty() || id.find("::") != std::string::npos || !ids.insert(id).second) {
                DebugNote("module ID \"" + id + "\" empty, malformed or taken: " + path);
                delete module;
                ::dlclose(library);
                continue;
            }
            modules.push_back(LoadedModule{path, library, module});
        }
    }
    return modules;
}

void UnloadModule(LoadedModule& loaded)
{
    delete loaded.module;
    loaded.module = nullptr;
    if (loaded.library != nullptr)
        ::dlclose(loaded.library);
    loaded.library = nullptr;
}

} // namespace Internal
} // namespace Hvx
