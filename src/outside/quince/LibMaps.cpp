// Library, maps: keys and values, in the order the keys came. count, len,
// contains and remove take maps as well (LibArrays, LibStrings).
#include "outside/quince/Library.h"

namespace quince {

namespace {

bool RequireMap(CallContext& call, const Value& value, const char* function) {
    if (value.kind == Kind::Map) return true;
    return call.Fail("%s needs a map, not %s", function, KindName(value.kind));
}

// keys(m): the keys, as a string[].
bool Keys(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireMap(call, args[0], "keys")) return false;
    const ArrayObject& map = *args[0].a;
    ArrayObject* keys = NewArray(call.Memory, StaticType::String);
    if (keys == nullptr || !ArrayReserve(*keys, map.Items.size())) {
        if (keys != nullptr) {
            Value dropped = Value::MakeArray(keys);
            Release(dropped);
        }
        return call.OutOfMemory();
    }
    result = Value::MakeArray(keys);
    for (StringObject* key : map.Map->Keys) keys->Items.push_back(Copy(Value::MakeString(key)));
    return true;
}

// values(m): the values, as a var[].
bool Values(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireMap(call, args[0], "values")) return false;
    const ArrayObject& map = *args[0].a;
    ArrayObject* values = NewArray(call.Memory, StaticType::Any);
    if (values == nullptr || !ArrayReserve(*values, map.Items.size())) {
        if (values != nullptr) {
            Value dropped = Value::MakeArray(values);
            Release(dropped);
        }
        return call.OutOfMemory();
    }
    result = Value::MakeArray(values);
    values->Depth = map.Depth;
    for (const Value& item : map.Items) values->Items.push_back(Copy(item));
    return true;
}

}  // namespace

const BuiltinFunction kMapFunctions[] = {
    {"keys", 1, 1, StaticType::Array, BuiltinForm::Plain, Keys},
    {"values", 1, 1, StaticType::Array, BuiltinForm::Plain, Values},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
