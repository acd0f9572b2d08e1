// SessionValueCodec: a Variable as a type name and a value text, and back, as
// the session store keeps it. Arrays are encoded item by item with length
// prefixes, so any bytes (and nested arrays) survive.
#pragma once

#include <string>
#include <string_view>

#include "values/NyxString.h"

class Variable;

namespace SessionValueCodec {

// How deep nested arrays are encoded and decoded; deeper values are refused.
constexpr unsigned kMaxNestingDepth = 32;

// The type name is the variable's DumpType name ("int", "string", "integer[]",
// "array", ...). Numbers are written so that they read back exactly: double
// with %.17g, float with %.9g. An array's text is its items, each as
// "<type>:<byte count>:<text>". False for a value that cannot be stored (a
// handle, an array nested too deep).
bool Encode(const Variable& variable, std::string& typeName, std::string& text);

// A new variable named `name` of the type, holding the decoded value; null
// for an unknown type or a malformed text.
Variable* Decode(std::string_view typeName, std::string_view text, const NyxString& name);

}  // namespace SessionValueCodec
