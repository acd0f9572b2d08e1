// Library, maps: keys and values, in the order the keys came. count, len,
// contains and remove take maps as well (LibArrays, LibStrings).
#include "quince/Library.h"

namespace quince {

namespace {

bool RequireMap(CallContext& call, const Value& value, const char* function) {
    if (value.kind == Kind::Map) return true;
    return call.Fail("%s needs a map, not %s", function, KindName(value.kind));
}

// A new array of `count` items made by `item(i)`, as the result.
template <class MakeItem>
bool MakeArrayResult(CallContext& call, StaticType element, std::size_t count, MakeItem item, Value& result) {
    ArrayObject* array = NewArray(call.Memory, element);
    if (array == nullptr || !ArrayReserve(*array, count)) {
        if (array != nullptr) {
            Value dropped = Value::MakeArray(array);
            Release(dropped);
        }
        return call.OutOfMemory();
    }
    result = Value::MakeArray(array);
    for (std::size_t i = 0; i < count; ++i) array->Items.push_back(item(i));
    return true;
}

// keys(m): the keys, as a string[].
bool Keys(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireMap(call, args[0], "keys")) return false;
    const ArrayObject& map = *args[0].a;
    return MakeArrayResult(call, StaticType::String, map.Items.size(),
                           [&](std::size_t i) { return Copy(Value::MakeString(map.Map->Keys[i])); }, result);
}

// values(m): the values, as a var[].
bool Values(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireMap(call, args[0], "values")) return false;
    const ArrayObject& map = *args[0].a;
    if (!MakeArrayResult(call, StaticType::Any, map.Items.size(), [&](std::size_t i) { return Copy(map.Items[i]); }, result)) {
        return false;
    }
    result.a->Depth = map.Depth;
    return true;
}

}  // namespace

const BuiltinFunction kMapFunctions[] = {
    {"keys", 1, 1, StaticType::Array, BuiltinForm::Plain, Keys},
    {"values", 1, 1, StaticType::Array, BuiltinForm::Plain, Values},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
