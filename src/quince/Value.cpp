// Value: heap objects, reference counts, text forms and conversions.
#include "quince/Value.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "values/VarConversions.h"
#include "values/Variable.h"

namespace quince {

const char* StaticTypeName(StaticType type) {
    switch (type) {
        case StaticType::Any: return "var";
        case StaticType::Bool: return "bool";
        case StaticType::Char: return "char";
        case StaticType::Int: return "int";
        case StaticType::Float: return "float";
        case StaticType::Double: return "double";
        case StaticType::String: return "string";
        case StaticType::Array: return "array";
        case StaticType::Map: return "map";
        case StaticType::None: return "nothing";
    }
    return "var";
}

NyxString DeclaredTypeName(DeclaredType type) {
    if (type.Base != StaticType::Array) return StaticTypeName(type.Base);
    if (type.Element == StaticType::Any) return "var[]";
    NyxString name = StaticTypeName(type.Element);
    name += "[]";
    return name;
}

const char* KindName(Kind kind) {
    switch (kind) {
        case Kind::None: return "nothing";
        case Kind::Bool: return "bool";
        case Kind::Char: return "char";
        case Kind::Int: return "int";
        case Kind::Float: return "float";
        case Kind::Double: return "double";
        case Kind::String: return "string";
        case Kind::Array: return "array";
        case Kind::Map: return "map";
        case Kind::Foreign: return "variable";
        default: return "reference";
    }
}

Kind KindOf(StaticType type) {
    switch (type) {
        case StaticType::Bool: return Kind::Bool;
        case StaticType::Char: return Kind::Char;
        case StaticType::Int: return Kind::Int;
        case StaticType::Float: return Kind::Float;
        case StaticType::Double: return Kind::Double;
        case StaticType::String: return Kind::String;
        case StaticType::Array: return Kind::Array;
        case StaticType::Map: return Kind::Map;
        default: return Kind::None;
    }
}

StaticType StaticTypeOf(Kind kind) {
    switch (kind) {
        case Kind::Bool: return StaticType::Bool;
        case Kind::Char: return StaticType::Char;
        case Kind::Int: return StaticType::Int;
        case Kind::Float: return StaticType::Float;
        case Kind::Double: return StaticType::Double;
        case Kind::String: return StaticType::String;
        case Kind::Array: return StaticType::Array;
        case Kind::Map: return StaticType::Map;
        default: return StaticType::Any;
    }
}

// --- Objects -----------------------------------------------------------------

static std::size_t StringCharge(uint32_t capacity) { return sizeof(StringObject) + capacity + 1; }

void FreeObject(Value& value) {
    switch (value.kind) {
        case Kind::String: {
            StringObject* text = value.s;
            text->Account->Give(StringCharge(text->Capacity));
            std::free(text->Data);
            delete text;
            break;
        }
        case Kind::Array:
        case Kind::Map: {
            ArrayObject* array = value.a;
            for (Value& item : array->Items) Release(item);
            if (array->Map != nullptr) FreeMapKeys(*array);
            array->Account->Give(array->Charged);
            delete array;
            break;
        }
        case Kind::Foreign:
            Variable::Delete(value.o->Owned);
            delete value.o;
            break;
        default: break;
    }
}

static StringObject* AllocateString(MemoryAccount& account, std::size_t length, std::size_t capacity) {
    if (capacity >= 0xFFFFFFF0u || length > capacity) return nullptr;
    if (!account.Take(StringCharge(static_cast<uint32_t>(capacity)))) return nullptr;
    char* data = static_cast<char*>(std::malloc(capacity + 1));
    StringObject* text = data != nullptr ? new (std::nothrow) StringObject : nullptr;
    if (text == nullptr) {
        std::free(data);
        account.Give(StringCharge(static_cast<uint32_t>(capacity)));
        return nullptr;
    }
    text->RefCount = 1;
    text->Length = static_cast<uint32_t>(length);
    text->Capacity = static_cast<uint32_t>(capacity);
    text->Account = &account;
    text->Data = data;
    data[length] = '\0';
    return text;
}

StringObject* NewString(MemoryAccount& account, const char* text, std::size_t length) {
    StringObject* result = AllocateString(account, length, length);
    if (result != nullptr && length > 0) std::memcpy(result->Data, text, length);
    return result;
}

bool MakeStringUnique(Value& value) {
    if (value.s->RefCount == 1) return true;
    StringObject* copy = NewString(*value.s->Account, value.s->Data, value.s->Length);
    if (copy == nullptr) return false;
    --value.s->RefCount;
    value.s = copy;
    return true;
}

bool AppendToString(Value& value, const char* text, std::size_t length) {
    StringObject* target = value.s;
    const std::size_t needed = static_cast<std::size_t>(target->Length) + length;
    if (target->RefCount == 1 && needed <= target->Capacity) {
        std::memcpy(target->Data + target->Length, text, length);
        target->Length = static_cast<uint32_t>(needed);
        target->Data[needed] = '\0';
        return true;
    }
    // Doubling keeps a run of appends linear in the final length.
    std::size_t capacity = static_cast<std::size_t>(target->Capacity) * 2;
    if (capacity < needed) capacity = needed;
    if (capacity < 16) capacity = 16;
    MemoryAccount& account = *target->Account;
    if (target->RefCount == 1) {
        if (capacity >= 0xFFFFFFF0u) capacity = needed;
        if (needed >= 0xFFFFFFF0u) return false;
        const std::size_t extra = capacity - target->Capacity;
        if (!account.Take(extra)) {
            capacity = needed;  // try without the reserve before giving up
            if (!account.Take(capacity - target->Capacity)) return false;
        }
        char* data = static_cast<char*>(std::realloc(target->Data, capacity + 1));
        if (data == nullptr) {
            account.Give(capacity - target->Capacity);
            return false;
        }
        target->Data = data;
        target->Capacity = static_cast<uint32_t>(capacity);
        std::memcpy(data + target->Length, text, length);
        target->Length = static_cast<uint32_t>(needed);
        data[needed] = '\0';
        return true;
    }
    StringObject* copy = AllocateString(account, needed, capacity);
    if (copy == nullptr) copy = AllocateString(account, needed, needed);
    if (copy == nullptr) return false;
    std::memcpy(copy->Data, target->Data, target->Length);
    std::memcpy(copy->Data + target->Length, text, length);
    --target->RefCount;
    value.s = copy;
    return true;
}

ArrayObject* NewArray(MemoryAccount& account, StaticType element) {
    if (!account.Take(sizeof(ArrayObject))) return nullptr;
    auto* array = new (std::nothrow) ArrayObject;
    if (array == nullptr) {
        account.Give(sizeof(ArrayObject));
        return nullptr;
    }
    array->RefCount = 1;
    array->Depth = 1;
    array->Element = element;
    array->Charged = sizeof(ArrayObject);
    array->Account = &account;
    return array;
}

bool ChargeArray(ArrayObject& array) {
    std::size_t wanted = sizeof(ArrayObject) + array.Items.capacity() * sizeof(Value);
    if (array.Map != nullptr) wanted += MapKeysCharge(array);
    if (wanted > array.Charged) {
        if (!array.Account->Take(wanted - array.Charged)) return false;
    } else {
        array.Account->Give(array.Charged - wanted);
    }
    array.Charged = wanted;
    return true;
}

bool MakeArrayUnique(Value& value) {
    ArrayObject* source = value.a;
    if (source->RefCount == 1) return true;
    ArrayObject* copy = NewArray(*source->Account, source->Element);
    if (copy == nullptr) return false;
    copy->Depth = source->Depth;
    copy->Items.reserve(source->Items.size());
    if ((source->Map != nullptr && !CopyMapKeys(*source, *copy)) || !ChargeArray(*copy)) {
        Value dropped = value;
        dropped.a = copy;
        Release(dropped);
        return false;
    }
    for (const Value& item : source->Items) copy->Items.push_back(Copy(item));
    --source->RefCount;
    value.a = copy;
    return true;
}

bool ArrayAdmits(ArrayObject& array, const Value& item) {
    if (!item.HoldsItems()) return true;
    if (item.a->Depth + 1 > kMaxArrayNesting) return false;
    if (item.a->Depth + 1 > array.Depth) array.Depth = item.a->Depth + 1;
    return true;
}

bool ArrayReserve(ArrayObject& array, std::size_t count) {
    const std::size_t capacity = array.Items.capacity();
    if (count <= capacity) return true;
    MemoryAccount& account = *array.Account;
    const std::size_t room = account.Limit > account.Used ? (account.Limit - account.Used) / sizeof(Value) : 0;
    if (count - capacity > room) return false;
    std::size_t wanted = capacity * 2 > count ? capacity * 2 : count;
    if (wanted < 8) wanted = 8;
    // Near the limit, all the room that is left: growing by the count asked
    // would copy the whole array at every push.
    if (wanted - capacity > room) wanted = capacity + room;
    array.Items.reserve(wanted);
    return ChargeArray(array);
}

bool ArrayPush(ArrayObject& array, Value item) {
    if (!ArrayAdmits(array, item) || !ArrayReserve(array, array.Items.size() + 1)) {
        Release(item);
        return false;
    }
    array.Items.push_back(item);
    return true;
}

// --- Text --------------------------------------------------------------------

// A string in double quotes, with `"` and `\` escaped so that the quotes
// that close it are the only bare ones. Line ends stay as they are: pages
// show dumps of form text.
static void AppendQuoted(NyxString& output, std::string_view text) {
    output.Append('"');
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '"' && text[i] != '\\') continue;
        const char* escape = text[i] == '"' ? "\\\"" : "\\\\";
        output.AppendBytes(text.data() + plain, i - plain);
        output.Append(escape);
        plain = i + 1;
    }
    output.AppendBytes(text.data() + plain, text.size() - plain);
    output.Append('"');
}

namespace {
thread_local std::size_t TextBound = SIZE_MAX;
}

void SetTextBound(std::size_t bytes) { TextBound = bytes; }

static void AppendTextTo(NyxString& output, const Value& value, bool quoteStrings, std::size_t end) {
    switch (value.kind) {
        case Kind::Int: VarConversions::AppendInteger(output, value.i); break;
        case Kind::Bool: output.Append(value.i != 0 ? "true" : "false"); break;
        case Kind::Char: output.Append(value.c); break;
        case Kind::Double: VarConversions::AppendDouble(output, value.d); break;
        case Kind::Float: VarConversions::AppendFloat(output, value.f); break;
        case Kind::String:
            if (quoteStrings) AppendQuoted(output, StringView(value));
            else output.AppendBytes(value.s->Data, value.s->Length);
            break;
        case Kind::Array: {
            output.Append('[');
            bool first = true;
            for (const Value& item : value.a->Items) {
                // An array that shares itself ([a, a], many times) is small
                // but writes out exponentially.
                if (output.GetSize() > end) break;
                if (!first) output.Append(',');
                first = false;
                AppendTextTo(output, item, quoteStrings, end);
            }
            output.Append(']');
            break;
        }
        case Kind::Map: {
            output.Append('{');
            const ArrayObject& map = *value.a;
            for (std::size_t i = 0; i < map.Items.size(); ++i) {
                if (output.GetSize() > end) break;
                if (i != 0) output.Append(',');
                if (quoteStrings) AppendQuoted(output, MapKey(map, i));
                else output.AppendBytes(map.Map->Keys[i]->Data, map.Map->Keys[i]->Length);
                output.Append(':');
                AppendTextTo(output, map.Items[i], quoteStrings, end);
            }
            output.Append('}');
            break;
        }
        case Kind::Foreign:
            if (quoteStrings) value.o->Owned->DumpValue(output, NyxString());
            else value.o->Owned->AppendText(output);
            break;
        default: break;
    }
}

// Where a text appended to `output` is cut: TextBound bytes past its end now.
static std::size_t TextEnd(const NyxString& output) {
    const std::size_t size = output.GetSize();
    return TextBound > SIZE_MAX - size ? SIZE_MAX : size + TextBound;
}

void AppendText(NyxString& output, const Value& value) { AppendTextTo(output, value, false, TextEnd(output)); }
void AppendDump(NyxString& output, const Value& value) { AppendTextTo(output, value, true, TextEnd(output)); }

// --- Conversions -------------------------------------------------------------

bool IsTrue(const Value& value) {
    switch (value.kind) {
        case Kind::Bool:
        case Kind::Int: return value.i != 0;
        case Kind::Char: return value.c != 0;
        case Kind::Float: return value.f != 0.0f;
        case Kind::Double: return value.d != 0.0;
        case Kind::String: return value.s->Length != 0;
        case Kind::Array:
        case Kind::Map: return !value.a->Items.empty();
        case Kind::Foreign: return value.o->Owned->GetIntegerValue() != 0;
        default: return false;
    }
}

int32_t ToInt(const Value& value) {
    switch (value.kind) {
        case Kind::Bool:
        case Kind::Int: return value.i;
        case Kind::Char: return static_cast<signed char>(value.c);
        case Kind::Float: return VarConversions::TruncateToInt32(value.f);
        case Kind::Double: return VarConversions::TruncateToInt32(value.d);
        case Kind::String: return VarConversions::ParseInteger(value.s->Data);
        case Kind::Array:
        case Kind::Map: return static_cast<int32_t>(value.a->Items.size());
        case Kind::Foreign: return static_cast<int32_t>(value.o->Owned->GetIntegerValue());
        default: return 0;
    }
}

double ToDouble(const Value& value) {
    switch (value.kind) {
        case Kind::Bool:
        case Kind::Int: return value.i;
        case Kind::Char: return static_cast<signed char>(value.c);
        case Kind::Float: return value.f;
        case Kind::Double: return value.d;
        case Kind::String: return VarConversions::ParseDouble(value.s->Data);
        case Kind::Foreign: return value.o->Owned->GetDoubleValue();
        default: return ToInt(value);
    }
}

float ToFloat(const Value& value) {
    if (value.kind == Kind::Float) return value.f;
    return VarConversions::NarrowToFloat(ToDouble(value));
}

char ToChar(const Value& value) {
    switch (value.kind) {
        case Kind::Char: return value.c;
        case Kind::String: return value.s->Length > 0 ? value.s->Data[0] : '\0';
        default: return VarConversions::LowByte(ToInt(value));
    }
}

static bool MakeText(const Value& value, MemoryAccount& account, Value& out) {
    NyxString text;
    AppendText(text, value);
    StringObject* object = NewString(account, text.GetString(), text.GetSize());
    if (object == nullptr) return false;
    out = Value::MakeString(object);
    return true;
}

bool ConvertTo(Value& value, DeclaredType type, MemoryAccount& account, NyxString& error) {
    if (value.kind == Kind::None) {
        error = "no value to assign";
        return false;
    }
    if (type.Base == StaticType::Any) return true;
    const Kind wanted = KindOf(type.Base);
    if (type.Base == StaticType::Array) {
        if (value.kind != Kind::Array) {
            const NyxString typeName = DeclaredTypeName(type);
            error.Printf("cannot use %s as %S", KindName(value.kind), &typeName);
            return false;
        }
        if (value.a->Element == type.Element) return true;
        if (type.Element == StaticType::Any) {
            // A `var[]` holds a general array: its items may change type, so
            // a typed array (the literal [1] is an int[]) loses its type here.
            if (!MakeArrayUnique(value)) {
                error = "out of memory for strings and arrays";
                return false;
            }
            value.a->Element = StaticType::Any;
            return true;
        }
        ArrayObject* converted = NewArray(account, type.Element);
        if (converted == nullptr) {
            error = "out of memory for strings and arrays";
            return false;
        }
        Value result = Value::MakeArray(converted);
        for (const Value& item : value.a->Items) {
            Value element = Copy(item);
            if (!ConvertTo(element, {type.Element, StaticType::Any}, account, error) ||
                !ArrayPush(*converted, element)) {
                if (error.IsEmpty()) error = "out of memory for strings and arrays";
                Release(result);
                return false;
            }
        }
        Release(value);
        value = result;
        return true;
    }
    if (value.kind == wanted) return true;
    if (value.HoldsItems() || type.Base == StaticType::Map) {
        error.Printf("cannot use %s as %s", value.kind == Kind::Array ? "an array" : KindName(value.kind),
                     StaticTypeName(type.Base));
        return false;
    }
    Value result = Value::MakeNone();
    switch (type.Base) {
        case StaticType::Bool: result = Value::MakeBool(IsTrue(value)); break;
        case StaticType::Char: result = Value::MakeChar(ToChar(value)); break;
        case StaticType::Int: result = Value::MakeInt(ToInt(value)); break;
        case StaticType::Float: result = Value::MakeFloat(ToFloat(value)); break;
        case StaticType::Double: result = Value::MakeDouble(ToDouble(value)); break;
        case StaticType::String:
            if (!MakeText(value, account, result)) {
                error = "out of memory for strings and arrays";
                return false;
            }
            break;
        default: return true;
    }
    Release(value);
    value = result;
    return true;
}

bool DefaultValue(DeclaredType type, MemoryAccount& account, Value& out) {
    switch (type.Base) {
        case StaticType::Bool: out = Value::MakeBool(false); return true;
        case StaticType::Char: out = Value::MakeChar('\0'); return true;
        case StaticType::Float: out = Value::MakeFloat(0.0f); return true;
        case StaticType::Double: out = Value::MakeDouble(0.0); return true;
        case StaticType::String: {
            StringObject* text = NewString(account, "", 0);
            if (text == nullptr) return false;
            out = Value::MakeString(text);
            return true;
        }
        case StaticType::Array: {
            ArrayObject* array = NewArray(account, type.Element);
            if (array == nullptr) return false;
            out = Value::MakeArray(array);
            return true;
        }
        case StaticType::Map: {
            ArrayObject* map = NewMap(account);
            if (map == nullptr) return false;
            out = Value::MakeMap(map);
            return true;
        }
        default: out = Value::MakeInt(0); return true;  // int, and var without a value
    }
}

// --- Comparison --------------------------------------------------------------

static bool IsIntegral(Kind kind) { return kind == Kind::Bool || kind == Kind::Char || kind == Kind::Int; }

static int CompareText(const Value& a, const Value& b) {
    NyxString left;
    NyxString right;
    std::string_view x;
    std::string_view y;
    if (a.kind == Kind::String) x = StringView(a);
    else { AppendText(left, a); x = left.View(); }
    if (b.kind == Kind::String) y = StringView(b);
    else { AppendText(right, b); y = right.View(); }
    const int order = x.compare(y);
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

bool ValuesEqual(const Value& a, const Value& b) {
    if (a.kind == Kind::None || b.kind == Kind::None) return a.kind == b.kind;
    if (IsIntegral(a.kind) && IsIntegral(b.kind)) return ToInt(a) == ToInt(b);
    if (a.IsNumber() && b.IsNumber()) return ToDouble(a) == ToDouble(b);
    if (a.kind == Kind::Array || b.kind == Kind::Array) {
        if (a.kind != b.kind) return false;
        if (a.a == b.a) return true;
        if (a.a->Items.size() != b.a->Items.size()) return false;
        for (std::size_t i = 0; i < a.a->Items.size(); ++i) {
            if (!ValuesEqual(a.a->Items[i], b.a->Items[i])) return false;
        }
        return true;
    }
    if (a.kind == Kind::Map || b.kind == Kind::Map) {
        // The same keys with equal values, in any order.
        if (a.kind != b.kind) return false;
        if (a.a == b.a) return true;
        if (a.a->Items.size() != b.a->Items.size()) return false;
        for (std::size_t i = 0; i < a.a->Items.size(); ++i) {
            const std::size_t other = MapFind(*b.a, MapKey(*a.a, i));
            if (other == SIZE_MAX || !ValuesEqual(a.a->Items[i], b.a->Items[other])) return false;
        }
        return true;
    }
    return CompareText(a, b) == 0;
}

bool Compare(const Value& a, const Value& b, int& order, NyxString& error) {
    if (a.HoldsItems() || b.HoldsItems() || a.kind == Kind::None || b.kind == Kind::None) {
        error.Printf("cannot order %s and %s", KindName(a.kind), KindName(b.kind));
        return false;
    }
    if (IsIntegral(a.kind) && IsIntegral(b.kind)) {
        const int32_t x = ToInt(a);
        const int32_t y = ToInt(b);
        order = x < y ? -1 : (x > y ? 1 : 0);
        return true;
    }
    if (a.IsNumber() && b.IsNumber()) {
        const double x = ToDouble(a);
        const double y = ToDouble(b);
        // A NaN is unordered: it is neither less nor greater, and not equal either.
        order = x < y ? -1 : (x > y ? 1 : (x == y ? 0 : 2));
        return true;
    }
    order = CompareText(a, b);
    return true;
}

}  // namespace quince
