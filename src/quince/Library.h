// Library: the built-in functions of Quince, one file per area
// (LibStrings, LibConversions, LibHtml, LibMath, LibArrays, LibTime,
// LibVariables, LibRegex, LibMaps, LibJson, LibDates). Built-in names are reserved: no procedure may take one.
#pragma once

#include <cstdint>
#include <string_view>

#include "quince/Value.h"
#include "values/NyxString.h"

namespace quince {

class Engine;

// What a built-in function is given besides its arguments.
struct CallContext {
    Engine& Owner;
    MemoryAccount& Memory;
    NyxString Error;  // set by Fail

    // Records a runtime failure; returns false for `return call.Fail(...)`.
    bool Fail(const char* format, ...);
    bool OutOfMemory();
    // A new string value; false (and the failure recorded) if memory is refused.
    bool MakeString(std::string_view text, Value& out);
};

// The arguments are borrowed (a function that changes its first argument
// changes args[0] in place, see BuiltinForm). `result` starts as None; a
// function sets it, or leaves None for "no value". False: a runtime failure,
// with call.Error set.
using BuiltinCode = bool (*)(CallContext& call, Value* args, unsigned count, Value& result);

enum class BuiltinForm : uint8_t {
    Plain,
    ChangesFirst,  // the first argument must be a variable; the function changes it (push, pop, sort)
    NameTest,      // isset(name): the argument is a bare name, tested without reading it
};

struct BuiltinFunction {
    const char* Name;
    uint8_t MinArguments;
    uint8_t MaxArguments;  // kVariadic: no upper limit
    StaticType Result;     // what the compiler may assume of the result
    BuiltinForm Form;
    BuiltinCode Code;
};
inline constexpr uint8_t kVariadic = 255;

// The built-in of that name, or null; `number` receives its index.
const BuiltinFunction* FindBuiltin(std::string_view name, unsigned* number);
const BuiltinFunction& GetBuiltin(unsigned number);

// The tables of each area, ended by an entry with a null Name.
extern const BuiltinFunction kStringFunctions[];
extern const BuiltinFunction kConversionFunctions[];
extern const BuiltinFunction kHtmlFunctions[];
extern const BuiltinFunction kMathFunctions[];
extern const BuiltinFunction kArrayFunctions[];
extern const BuiltinFunction kTimeFunctions[];
extern const BuiltinFunction kVariableFunctions[];
extern const BuiltinFunction kRegexFunctions[];
extern const BuiltinFunction kMapFunctions[];
extern const BuiltinFunction kJsonFunctions[];
extern const BuiltinFunction kDateFunctions[];

// Shared helpers of the library files.
// The text of a value as a view: a string's own bytes, else `scratch` filled.
std::string_view TextOf(const Value& value, NyxString& scratch);

}  // namespace quince
