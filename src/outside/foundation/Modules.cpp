// Modules on POSIX: dlopen with every symbol bound at load time, so that a
// module missing a symbol fails to load instead of failing in the middle of a
// page, and kept local, so that modules do not see each other's names.
#include "outside/foundation/Modules.h"

#include <dlfcn.h>

#include "outside/foundation/NativePath.h"

void* ModuleOpen(const NyxString& path) {
    // An empty path would give dlopen(NULL): the running program itself.
    if (!IsNativePath(path)) return nullptr;
    return dlopen(path.GetString(), RTLD_NOW | RTLD_LOCAL);
}

void* ModuleSymbol(void* handle, const char* name) {
    if (handle == nullptr || name == nullptr) return nullptr;
    return dlsym(handle, name);
}

void ModuleClose(void* handle) {
    if (handle != nullptr) dlclose(handle);
}
