#include "foundation/LibPq.h"

#include <dlfcn.h>

#include <type_traits>

namespace {

// Null unless the library and every function are there.
const LibPq* Open() {
    // The run-time package's name (libpq5), not the -dev package's link.
    void* library = dlopen("libpq.so.5", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    static LibPq functions;
    bool complete = true;
    const auto find = [&](auto& function, const char* name) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
        complete = complete && function != nullptr;
    };
    find(functions.PQconnectdbParams, "PQconnectdbParams");
    find(functions.PQfinish, "PQfinish");
    find(functions.PQstatus, "PQstatus");
    find(functions.PQtransactionStatus, "PQtransactionStatus");
    find(functions.PQsocket, "PQsocket");
    find(functions.PQsendQueryParams, "PQsendQueryParams");
    find(functions.PQsendQueryPrepared, "PQsendQueryPrepared");
    find(functions.PQsendPrepare, "PQsendPrepare");
    find(functions.PQisBusy, "PQisBusy");
    find(functions.PQconsumeInput, "PQconsumeInput");
    find(functions.PQgetResult, "PQgetResult");
    find(functions.PQresultStatus, "PQresultStatus");
    find(functions.PQntuples, "PQntuples");
    find(functions.PQnfields, "PQnfields");
    find(functions.PQgetisnull, "PQgetisnull");
    find(functions.PQgetvalue, "PQgetvalue");
    find(functions.PQgetlength, "PQgetlength");
    find(functions.PQclear, "PQclear");
    find(functions.PQsetNoticeProcessor, "PQsetNoticeProcessor");
    // Kept loaded for the process, as function modules are.
    return complete ? &functions : nullptr;
}

}  // namespace

const LibPq* LibPq::Load() {
    static const LibPq* const functions = Open();
    return functions;
}
