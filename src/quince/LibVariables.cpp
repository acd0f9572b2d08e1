// Library, variables: isset(name) tests a name without reading it;
// exists("name"), getvar("name") and setvar("name", value) reach the
// context's variables by a name made at run time (also names such as "a.b"
// that a script cannot spell); dump(value) shows a value with its strings quoted.
#include "quince/Engine.h"
#include "quince/Library.h"
#include "quince/VariableBridge.h"

namespace quince {

namespace {

// Compiled inline (the VM's IsSet); never called.
bool IsSet(CallContext& call, Value*, unsigned, Value&) { return call.Fail("isset takes a name"); }

bool Exists(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    result = Value::MakeBool(call.Owner.FindContextVariable(TextOf(args[0], scratch)) != nullptr);
    return true;
}

bool GetVar(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    const std::string_view name = TextOf(args[0], scratch);
    Variable* variable = call.Owner.FindContextVariable(name);
    if (variable == nullptr) return call.Fail("unknown name '%s'", std::string(name).c_str());
    return ValueFromVariable(variable, call.Memory, result, call.Error);
}

// setvar(name, value): assigns the variable, or makes a page variable of the value's type.
bool SetVar(CallContext& call, Value* args, unsigned, Value&) {
    NyxString scratch;
    const NyxString name(TextOf(args[0], scratch));
    if (Variable* variable = call.Owner.FindContextVariable(name.View())) {
        return StoreIntoVariable(variable, args[1], call.Error);
    }
    Variable* made = VariableFromValue(args[1], name);
    if (made == nullptr) return call.Fail("no value to assign to '%s'", name.GetString());
    call.Owner.AddVariable(made, 2);
    return true;
}

bool Dump(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString text;
    AppendDump(text, args[0]);
    return call.MakeString(text.View(), result);
}

}  // namespace

const BuiltinFunction kVariableFunctions[] = {
    {"isset", 1, 1, StaticType::Bool, BuiltinForm::NameTest, IsSet},
    {"exists", 1, 1, StaticType::Bool, BuiltinForm::Plain, Exists},
    {"getvar", 1, 1, StaticType::Any, BuiltinForm::Plain, GetVar},
    {"setvar", 2, 2, StaticType::None, BuiltinForm::Plain, SetVar},
    {"dump", 1, 1, StaticType::String, BuiltinForm::Plain, Dump},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
