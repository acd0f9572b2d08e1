// Library, arrays: count, push, pop, insert, remove, sort, reverse, indexof,
// slice. push, pop, insert, remove, sort and reverse change the array
// variable named as their first argument; positions count from 0. count and
// remove take maps too (LibMaps has the rest).
#include <algorithm>
#include <cmath>

#include "quince/Library.h"
#include "quince/VmOperations.h"

namespace quince {

namespace {

bool RequireArrayVariable(CallContext& call, Value& value, const char* function) {
    if (value.kind != Kind::Array) return call.Fail("%s needs an array variable, not %s", function, KindName(value.kind));
    if (!MakeArrayUnique(value)) return call.OutOfMemory();
    return true;
}

bool Count(CallContext& call, Value* args, unsigned, Value& result) {
    if (args[0].HoldsItems()) result = Value::MakeInt(static_cast<int32_t>(args[0].a->Items.size()));
    else if (args[0].kind == Kind::String) result = Value::MakeInt(static_cast<int32_t>(args[0].s->Length));
    else return call.Fail("count needs an array, not %s", KindName(args[0].kind));
    return true;
}

bool AddItem(CallContext& call, ArrayObject& array, const Value& value, std::size_t position) {
    Value item = Copy(value);
    if (array.Element != StaticType::Any &&
        !ConvertTo(item, DeclaredType{array.Element, StaticType::Any}, call.Memory, call.Error)) {
        Release(item);
        return false;
    }
    if (!ArrayAdmits(array, item)) {
        Release(item);
        return call.Fail("arrays nested deeper than %u levels", kMaxArrayNesting);
    }
    if (!ArrayReserve(array, array.Items.size() + 1)) {
        Release(item);
        return call.OutOfMemory();
    }
    array.Items.insert(array.Items.begin() + static_cast<std::ptrdiff_t>(position), item);
    return true;
}

// remove(m, key): takes the key out of the map and gives its value.
bool RemoveKey(CallContext& call, Value* args, Value& result) {
    NyxString key;
    if (!MapKeyText(args[1], key, call.Error)) return false;
    const std::size_t position = MapFind(*args[0].a, key.View());
    if (position == SIZE_MAX) return call.Fail("remove: the map has no key '%S'", &key);
    if (!MakeArrayUnique(args[0])) return call.OutOfMemory();
    MapRemoveAt(*args[0].a, position, result);
    return true;
}

// push(a, value...): appends the values.
bool Push(CallContext& call, Value* args, unsigned count, Value&) {
    if (!RequireArrayVariable(call, args[0], "push")) return false;
    for (unsigned i = 1; i < count; ++i) {
        if (!AddItem(call, *args[0].a, args[i], args[0].a->Items.size())) return false;
    }
    return true;
}

// pop(a): takes the last item off and gives it.
bool Pop(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireArrayVariable(call, args[0], "pop")) return false;
    std::vector<Value>& items = args[0].a->Items;
    if (items.empty()) return call.Fail("pop from an empty array");
    result = items.back();
    items.pop_back();
    return true;
}

bool Position(CallContext& call, const Value& index, std::size_t limit, std::size_t& position, const char* function) {
    if (!index.IsNumber()) return call.Fail("%s: the position must be a number, not %s", function, KindName(index.kind));
    const int32_t number = ToInt(index);
    if (number < 0 || static_cast<std::size_t>(number) > limit) {
        return call.Fail("%s: position %d out of range (count %u)", function, number, static_cast<unsigned>(limit));
    }
    position = static_cast<std::size_t>(number);
    return true;
}

// insert(a, position, value): the value goes in at position (0 to count).
bool Insert(CallContext& call, Value* args, unsigned, Value&) {
    if (!RequireArrayVariable(call, args[0], "insert")) return false;
    std::size_t position = 0;
    if (!Position(call, args[1], args[0].a->Items.size(), position, "insert")) return false;
    return AddItem(call, *args[0].a, args[2], position);
}

// remove(a, position): takes the item at position out and gives it.
bool Remove(CallContext& call, Value* args, unsigned, Value& result) {
    if (args[0].kind == Kind::Map) return RemoveKey(call, args, result);
    if (!RequireArrayVariable(call, args[0], "remove")) return false;
    std::vector<Value>& items = args[0].a->Items;
    std::size_t position = 0;
    if (items.empty()) return call.Fail("remove from an empty array");
    if (!Position(call, args[1], items.size() - 1, position, "remove")) return false;
    result = items[position];
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(position));
    return true;
}

// The order of sort: numbers (by value, NaN last) before texts (by bytes).
// It is a total order even for mixed arrays, which `<` is not.
int SortRank(const Value& value) { return value.IsNumber() ? 0 : 1; }
bool SortsBefore(const Value& a, const Value& b) {
    const int rankA = SortRank(a);
    const int rankB = SortRank(b);
    if (rankA != rankB) return rankA < rankB;
    if (rankA == 0) {
        const double x = ToDouble(a);
        const double y = ToDouble(b);
        if (std::isnan(x) || std::isnan(y)) return !std::isnan(x) && std::isnan(y);
        if (x != y) return x < y;
        return false;
    }
    NyxString left;
    NyxString right;
    return TextOf(a, left) < TextOf(b, right);
}

// sort(a): numbers ascending, then texts in byte order; equal items keep their order.
bool Sort(CallContext& call, Value* args, unsigned, Value&) {
    if (!RequireArrayVariable(call, args[0], "sort")) return false;
    std::vector<Value>& items = args[0].a->Items;
    for (const Value& item : items) {
        if (item.kind == Kind::Array) return call.Fail("sort: cannot order arrays");
    }
    std::stable_sort(items.begin(), items.end(), SortsBefore);
    return true;
}

bool Reverse(CallContext& call, Value* args, unsigned, Value&) {
    if (!RequireArrayVariable(call, args[0], "reverse")) return false;
    std::reverse(args[0].a->Items.begin(), args[0].a->Items.end());
    return true;
}

// indexof(a, value): the first position of an equal item, or -1.
bool IndexOf(CallContext& call, Value* args, unsigned, Value& result) {
    if (args[0].kind != Kind::Array) return call.Fail("indexof needs an array, not %s", KindName(args[0].kind));
    const std::vector<Value>& items = args[0].a->Items;
    int32_t found = -1;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (ValuesEqual(items[i], args[1])) {
            found = static_cast<int32_t>(i);
            break;
        }
    }
    result = Value::MakeInt(found);
    return true;
}

// slice(a, start [, count]): a new array of the items from start on.
bool Slice(CallContext& call, Value* args, unsigned count, Value& result) {
    if (args[0].kind != Kind::Array) return call.Fail("slice needs an array, not %s", KindName(args[0].kind));
    const std::vector<Value>& items = args[0].a->Items;
    const int32_t start = ToInt(args[1]);
    const int32_t length = count > 2 ? ToInt(args[2]) : INT32_MAX;
    if (start < 0 || length < 0) return call.Fail("slice: start and count must not be negative");
    ArrayObject* array = NewArray(call.Memory, args[0].a->Element);
    if (array == nullptr) return call.OutOfMemory();
    result = Value::MakeArray(array);
    array->Depth = args[0].a->Depth;
    const std::size_t first = std::min<std::size_t>(static_cast<std::size_t>(start), items.size());
    const std::size_t last = std::min<std::size_t>(items.size(), first + static_cast<std::size_t>(length));
    if (!ArrayReserve(*array, last - first)) return call.OutOfMemory();
    for (std::size_t i = first; i < last; ++i) array->Items.push_back(Copy(items[i]));
    return true;
}

}  // namespace

const BuiltinFunction kArrayFunctions[] = {
    {"count", 1, 1, StaticType::Int, BuiltinForm::Plain, Count},
    {"push", 2, kVariadic, StaticType::None, BuiltinForm::ChangesFirst, Push},
    {"pop", 1, 1, StaticType::Any, BuiltinForm::ChangesFirst, Pop},
    {"insert", 3, 3, StaticType::None, BuiltinForm::ChangesFirst, Insert},
    {"remove", 2, 2, StaticType::Any, BuiltinForm::ChangesFirst, Remove},
    {"sort", 1, 1, StaticType::None, BuiltinForm::ChangesFirst, Sort},
    {"reverse", 1, 1, StaticType::None, BuiltinForm::ChangesFirst, Reverse},
    {"indexof", 2, 2, StaticType::Int, BuiltinForm::Plain, IndexOf},
    {"slice", 2, 3, StaticType::Array, BuiltinForm::Plain, Slice},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
