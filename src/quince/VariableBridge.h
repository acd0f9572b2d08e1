// VariableBridge: the edge between the VM's Values and the Variables of the
// page. Values are converted here and nowhere else.
#pragma once

#include "quince/Value.h"
#include "values/NyxString.h"

class Variable;

namespace quince {

// The variable's value. Scalars and strings become their Value kind, arrays
// become arrays (items converted in turn); any other variable becomes a
// Foreign value that holds a clone. False (with `error`) if that cannot be.
bool ValueFromVariable(Variable* variable, MemoryAccount& memory, Value& out, NyxString& error);

// A new Variable of the value's type with that name (typed arrays for typed
// array values); null for no value.
Variable* VariableFromValue(const Value& value, const NyxString& name);

// Writes the value into an existing variable, which keeps its type: the value
// is converted to it, as an assignment to a declared variable converts.
bool StoreIntoVariable(Variable* variable, const Value& value, NyxString& error);

}  // namespace quince
