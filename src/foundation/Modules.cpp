// Modules on POSIX: dlopen with every symbol bound at load time, so that a
// module missing a symbol fails to load instead of failing in the middle of a
// page, and kept local, so that modules do not see each other's names.
#include "foundation/Modules.h"

#include <dlfcn.h>

#include "foundation/NativePath.h"
#include "foundation/Paths.h"

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

NyxString GetLibraryFolder() {
    static const NyxString folder = [] {
        Dl_info info{};
        if (dladdr(reinterpret_cast<void*>(&GetLibraryFolder), &info) == 0 || info.dli_fname == nullptr)
            return NyxString();
        const NyxString file(info.dli_fname);
        const unsigned slash = file.FindLast("/");
        // The loader names it as the run path found it ("bin/../lib"); tidy
        // it for messages.
        return slash == NyxString::kAll ? NyxString() : CompletePath(file.GetSubstring(0, slash));
    }();
    return folder;
}
