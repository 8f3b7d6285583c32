#ifndef HVX_INTERNAL_MODULELOADER_H
#define HVX_INTERNAL_MODULELOADER_H

#include "Hvx/TransportLayerModule.h"

#include <string>
#include <vector>

namespace Hvx {
namespace Internal {

// A module file opened with dlopen and its module object.
struct LoadedModule
{
    std::string path; // real path
    void* library = nullptr;
    Tl::IModule* module = nullptr;
};

// Folders searched for modules: those of HVX_TL_PATH, else "hvx-tl" beside
// the library that holds this code.
std::vector<std::string> ModuleSearchFolders();

// Loads every module of the folders, each real path and each module ID once
// (the first one found wins). Modules are created but not started.
std::vector<LoadedModule> LoadModules(const std::vector<std::string>& folders);

// Deletes the module object and closes the library.
void UnloadModule(LoadedModule& loaded);

// Reasons for skipping files go to stderr when HVX_TL_DEBUG is set; a
// missing module is otherwise silent, as a camera-less machine is normal.
void DebugNote(const std::string& text);

} // namespace Internal
} // namespace Hvx

#endif
