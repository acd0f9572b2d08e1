// Value: the compact tagged value that the Quince VM computes with (16 bytes),
// with its heap objects (strings, arrays, foreign variables) and the rules that
// convert values between types. Variables of the page are met only at the edge
// (VariableBridge.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "values/NyxString.h"

class Variable;

namespace quince {

// What a Value holds at run time. The last three kinds occur only in the
// parameter slots of a procedure: they stand for the caller's variable.
enum class Kind : uint8_t {
    None,           // no value (a procedure that returned nothing; an unset slot)
    Bool,
    Char,
    Int,            // 32-bit, arithmetic wraps
    Float,
    Double,
    String,         // StringObject*, shared copy-on-write
    Array,          // ArrayObject*, shared copy-on-write
    Map,            // ArrayObject* with keys (ArrayObject::Map), shared copy-on-write
    Foreign,        // ForeignObject*: a Variable of a kind Quince has no value for
    RefSlot,        // Value* of the caller's slot (a variable passed to a procedure)
    RefVariable,    // Variable* of a page or global variable passed by a Quince caller
    BoundVariable,  // Variable* pushed by the page (RunProcedure): always written through
};

// What the compiler knows of a value's type. Any: only the run time knows.
enum class StaticType : uint8_t { Any, Bool, Char, Int, Float, Double, String, Array, None, Map };

const char* StaticTypeName(StaticType type);

// A declared type: `int`, `string[]`, `var`... Element is Any unless Base is Array.
struct DeclaredType {
    StaticType Base = StaticType::Any;
    StaticType Element = StaticType::Any;

    bool operator==(const DeclaredType&) const = default;
    // Packs into the low 8 bits of an instruction's operand B and back.
    uint16_t Pack() const { return static_cast<uint16_t>(static_cast<unsigned>(Base) | static_cast<unsigned>(Element) << 4); }
    static DeclaredType Unpack(uint16_t bits) {
        return {static_cast<StaticType>(bits & 0x0F), static_cast<StaticType>((bits >> 4) & 0x0F)};
    }
};
NyxString DeclaredTypeName(DeclaredType type);

// The bytes that strings and arrays of one context hold; allocation beyond the
// limit fails, so a script cannot exhaust the server's memory.
struct MemoryAccount {
    std::size_t Used = 0;
    std::size_t Limit = 0;

    bool Take(std::size_t bytes) {
        if (bytes > Limit || Used > Limit - bytes) return false;
        Used += bytes;
        return true;
    }
    void Give(std::size_t bytes) { Used -= bytes < Used ? bytes : Used; }
};

struct StringObject {
    uint32_t RefCount;
    uint32_t Length;    // bytes, terminator excluded
    uint32_t Capacity;  // bytes available, terminator excluded
    MemoryAccount* Account;
    char* Data;         // NUL-terminated
};

struct Value;

// Arrays nest (an item may be an array); kMaxArrayNesting bounds the depth so
// that printing, comparing and freeing, which recurse, stay shallow.
inline constexpr uint32_t kMaxArrayNesting = 64;

// The keys of a map, beside its items: Keys[i] is the key of Items[i]
// (insertion order), and Slots an open-addressed index of positions + 1
// (0: empty), its size a power of two at least twice the count.
struct MapKeys {
    std::vector<StringObject*> Keys;  // one reference each
    std::vector<uint32_t> Slots;
};

// An array, or a map: a map is an array of its values with keys beside them,
// so that sharing, copying, nesting and memory work alike for both.
struct ArrayObject {
    uint32_t RefCount;
    uint32_t Depth;          // 1 + the deepest item array's or map's Depth (never lowered)
    StaticType Element;      // the type every item is converted to; Any for mixed arrays and maps
    std::size_t Charged;     // bytes charged to Account for the storage of Items (and Map)
    MemoryAccount* Account;
    std::vector<Value> Items;
    MapKeys* Map = nullptr;  // owned; set for a map
};

struct ForeignObject {
    uint32_t RefCount;
    Variable* Owned;  // never null
};

// Trivially copyable: whoever copies a Value that may hold an object calls
// Retain, whoever drops one calls Release. The VM does this by hand.
struct Value {
    Kind kind;
    StaticType refBase;     // RefSlot only: the declared type of the slot referred to,
    StaticType refElement;  // so that a write through the reference keeps it
    union {
        int32_t i;
        float f;
        double d;
        char c;
        StringObject* s;
        ArrayObject* a;
        ForeignObject* o;
        Value* slot;
        Variable* var;
        uint64_t bits;  // the whole payload, for copies that stay one 8-byte word
    };

    static Value MakeNone() { Value v; v.kind = Kind::None; v.refBase = StaticType::Any; v.refElement = StaticType::Any; v.d = 0; return v; }
    static Value MakeInt(int32_t x) { Value v = MakeNone(); v.kind = Kind::Int; v.i = x; return v; }
    static Value MakeBool(bool x) { Value v = MakeNone(); v.kind = Kind::Bool; v.i = x ? 1 : 0; return v; }
    static Value MakeChar(char x) { Value v = MakeNone(); v.kind = Kind::Char; v.c = x; return v; }
    static Value MakeFloat(float x) { Value v = MakeNone(); v.kind = Kind::Float; v.f = x; return v; }
    static Value MakeDouble(double x) { Value v = MakeNone(); v.kind = Kind::Double; v.d = x; return v; }
    static Value MakeString(StringObject* x) { Value v = MakeNone(); v.kind = Kind::String; v.s = x; return v; }
    static Value MakeArray(ArrayObject* x) { Value v = MakeNone(); v.kind = Kind::Array; v.a = x; return v; }
    static Value MakeMap(ArrayObject* x) { Value v = MakeNone(); v.kind = Kind::Map; v.a = x; return v; }

    bool HoldsObject() const {
        return kind == Kind::String || kind == Kind::Array || kind == Kind::Map || kind == Kind::Foreign;
    }
    bool HoldsItems() const { return kind == Kind::Array || kind == Kind::Map; }
    bool IsNumber() const { return kind >= Kind::Bool && kind <= Kind::Double; }
};
static_assert(sizeof(Value) == 16, "Value is meant to stay two words");

// --- Reference counting ----------------------------------------------------
void FreeObject(Value& value);
inline void Retain(const Value& value) {
    switch (value.kind) {
        case Kind::String: ++value.s->RefCount; break;
        case Kind::Array:
        case Kind::Map: ++value.a->RefCount; break;
        case Kind::Foreign: ++value.o->RefCount; break;
        default: break;
    }
}
inline void Release(Value& value) {
    if (value.HoldsObject()) {
        uint32_t* count = value.kind == Kind::String ? &value.s->RefCount
                          : value.HoldsItems()       ? &value.a->RefCount
                                                     : &value.o->RefCount;
        if (--*count == 0) FreeObject(value);
    }
    value.kind = Kind::None;
}
inline Value Copy(const Value& value) {
    Retain(value);
    return value;
}

// --- Strings ---------------------------------------------------------------
// Null when the account refuses the bytes.
StringObject* NewString(MemoryAccount& account, const char* text, std::size_t length);
// Makes `value` (a string) the only holder of its text, so that it can change
// in place; false if the copy is refused.
bool MakeStringUnique(Value& value);
// Appends to a string value in place (copying first if shared); amortised
// growth keeps a run of appends linear. False if the account refuses.
bool AppendToString(Value& value, const char* text, std::size_t length);
inline std::string_view StringView(const Value& value) { return {value.s->Data, value.s->Length}; }

// --- Arrays ----------------------------------------------------------------
ArrayObject* NewArray(MemoryAccount& account, StaticType element);
bool MakeArrayUnique(Value& value);
// Charges the account for the array's present storage; false if refused.
bool ChargeArray(ArrayObject& array);
// Makes room for `count` items, charging the account before anything is
// allocated; false if refused.
bool ArrayReserve(ArrayObject& array, std::size_t count);
// Whether `item` may go into `array` without passing kMaxArrayNesting; notes
// its depth when it may.
bool ArrayAdmits(ArrayObject& array, const Value& item);
// Appends (takes over `item`, released on failure); false if the account
// refuses or the nesting would grow too deep.
bool ArrayPush(ArrayObject& array, Value item);

// --- Maps ------------------------------------------------------------------
// Maps from string keys to values of any type, in the order the keys came.
ArrayObject* NewMap(MemoryAccount& account);
// The position of `key`, or SIZE_MAX.
std::size_t MapFind(const ArrayObject& map, std::string_view key);
// map[key] = item: replaces the value of a key there is, else appends the
// pair. `item` is taken over (released on failure); false with `error` set if
// the account refuses or the nesting would grow too deep.
bool MapSet(ArrayObject& map, std::string_view key, Value item, NyxString& error);
// Removes the pair at `position`, giving its value to `item`.
void MapRemoveAt(ArrayObject& map, std::size_t position, Value& item);
inline std::string_view MapKey(const ArrayObject& map, std::size_t position) {
    const StringObject* key = map.Map->Keys[position];
    return {key->Data, key->Length};
}
// Makes `value` (a map) its keys' only holder too; false if refused.
bool CopyMapKeys(const ArrayObject& source, ArrayObject& copy);
void FreeMapKeys(ArrayObject& map);
// The bytes the keys' storage takes, for the account.
std::size_t MapKeysCharge(const ArrayObject& map);

// --- Text --------------------------------------------------------------------
// The text of a value: an integer in decimal, a string as it is, a char as its
// character, a bool as true or false, a double with %.15g, a float with %.7g,
// an array as its items' texts between [ and ] separated by ",", a map as
// {key:value,...}.
void AppendText(NyxString& output, const Value& value);
// Arrays are written out (by AppendText and AppendDump) only while the text
// they add stays within this many bytes, per thread; the VM sets it just past
// its memory limit, so that whoever keeps a text cut there fails on it.
void SetTextBound(std::size_t bytes);
// Like AppendText, but a string (also inside an array) in double quotes.
void AppendDump(NyxString& output, const Value& value);
const char* KindName(Kind kind);

// --- Conversions -------------------------------------------------------------
// Truthiness: a bool itself, numbers and chars not 0, strings and arrays not empty.
bool IsTrue(const Value& value);
int32_t ToInt(const Value& value);
double ToDouble(const Value& value);
float ToFloat(const Value& value);
char ToChar(const Value& value);

// Converts `value` in place to the declared type; a value that is already of
// that type is left alone. Fails (value untouched) for an array into a scalar
// and a scalar into an array, or when the account refuses memory; `error`
// then says why.
bool ConvertTo(Value& value, DeclaredType type, MemoryAccount& account, NyxString& error);
// The zero of a declared type: 0, 0.0, false, '\0', "", an empty array.
bool DefaultValue(DeclaredType type, MemoryAccount& account, Value& out);
Kind KindOf(StaticType type);
StaticType StaticTypeOf(Kind kind);

// Equality and order. Strings compare as text; a string against another value
// compares with that value's text; numbers compare as numbers. Order of arrays
// is an error: Compare returns false and sets `error`.
bool ValuesEqual(const Value& a, const Value& b);
bool Compare(const Value& a, const Value& b, int& order, NyxString& error);

}  // namespace quince
