// FunctionModule: what a native function module and the engine agree on.
// A module is a shared library that exports
//     extern "C" int QuinceModuleInit(QuinceContext* context);
// which the engine calls once after loading; it registers its functions with
// QuinceContext::RegisterFunction. Modules stay loaded for the life of the context.
#pragma once

#include <cstdint>

#include "values/NyxString.h"

class QuinceContext;
class Variable;

struct FunctionModuleCall {
    QuinceContext* Context;
    void* Reserved;
    uint32_t Flags;
    NyxString Name;
};

// A native function callable from Quince by name. The arguments are borrowed
// for the call (an argument that names a variable reads and writes it).
// Returns a new Variable that the engine takes over, or null: with `error`
// set for a runtime failure, with `error` empty for "no value".
using QuinceNativeFunction = Variable* (*)(QuinceContext* context, Variable** arguments, unsigned count,
                                           NyxString& error);

// The name of the entry point a module exports.
inline constexpr const char* kQuinceModuleInitName = "QuinceModuleInit";
using QuinceModuleInitFunction = int (*)(QuinceContext* context);
