// Library, conversions: str (and string), int, double, float, bool, char,
// and typeof. A conversion follows the rules of assignment to a declared
// variable; str gives the text of any value, arrays included.
#include "quince/Library.h"

namespace quince {

namespace {

bool Str(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    return call.MakeString(TextOf(args[0], scratch), result);
}

bool ConvertArgument(CallContext& call, Value* args, Value& result, StaticType type) {
    result = Copy(args[0]);
    if (ConvertTo(result, DeclaredType{type, StaticType::Any}, call.Memory, call.Error)) return true;
    Release(result);
    return false;
}

bool Int(CallContext& call, Value* args, unsigned, Value& result) { return ConvertArgument(call, args, result, StaticType::Int); }
bool Double(CallContext& call, Value* args, unsigned, Value& result) { return ConvertArgument(call, args, result, StaticType::Double); }
bool Float(CallContext& call, Value* args, unsigned, Value& result) { return ConvertArgument(call, args, result, StaticType::Float); }
// bool(x) is the truth of x, which arrays have too (not empty).
bool Bool(CallContext&, Value* args, unsigned, Value& result) {
    result = Value::MakeBool(IsTrue(args[0]));
    return true;
}
bool Char(CallContext& call, Value* args, unsigned, Value& result) { return ConvertArgument(call, args, result, StaticType::Char); }

// typeof(value): "int", "double", "float", "bool", "char", "string", "array" or "variable".
bool TypeOf(CallContext& call, Value* args, unsigned, Value& result) { return call.MakeString(KindName(args[0].kind), result); }

}  // namespace

const BuiltinFunction kConversionFunctions[] = {
    {"str", 1, 1, StaticType::String, BuiltinForm::Plain, Str},
    {"string", 1, 1, StaticType::String, BuiltinForm::Plain, Str},
    {"int", 1, 1, StaticType::Int, BuiltinForm::Plain, Int},
    {"double", 1, 1, StaticType::Double, BuiltinForm::Plain, Double},
    {"float", 1, 1, StaticType::Float, BuiltinForm::Plain, Float},
    {"bool", 1, 1, StaticType::Bool, BuiltinForm::Plain, Bool},
    {"char", 1, 1, StaticType::Char, BuiltinForm::Plain, Char},
    {"typeof", 1, 1, StaticType::String, BuiltinForm::Plain, TypeOf},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
