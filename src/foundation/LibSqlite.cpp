#include "foundation/LibSqlite.h"

#include <dlfcn.h>

#include <type_traits>

namespace {

// Null unless the library and every function are there.
const LibSqlite* Open() {
    // The run-time package's name (libsqlite3-0), not the -dev package's link.
    void* library = dlopen("libsqlite3.so.0", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    static LibSqlite functions;
    bool complete = true;
    const auto find = [&](auto& function, const char* name) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
        complete = complete && function != nullptr;
    };
#define VEXL_SQLITE_FIND(name) find(functions.name, #name);
    VEXL_SQLITE_FUNCTIONS(VEXL_SQLITE_FIND)
#undef VEXL_SQLITE_FIND
    // Kept loaded for the process, as function modules are.
    return complete ? &functions : nullptr;
}

}  // namespace

const LibSqlite* LibSqlite::Load() {
    static const LibSqlite* const functions = Open();
    return functions;
}
