// VmOperations: what the VM's instructions do beyond their fast paths:
// arithmetic and comparison of mixed types, items of arrays and strings,
// appends, and reading and writing through references.
#pragma once

#include <cstdint>

#include "quince/Opcodes.h"
#include "quince/Value.h"
#include "values/NyxString.h"

class Variable;

namespace quince {

// 32-bit arithmetic that wraps instead of overflowing.
inline int32_t WrapAdd(int32_t a, int32_t b) { return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)); }
inline int32_t WrapSubtract(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int32_t WrapMultiply(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// a OP b for two ints on the machine's fast path (Add, Subtract, Multiply,
// Divide, Modulo); false for a divisor of 0 or below, which takes the general path.
inline bool CombineInts(Opcode op, int32_t a, int32_t b, int32_t& out) {
    switch (op) {
        case Opcode::Add: out = WrapAdd(a, b); return true;
        case Opcode::Subtract: out = WrapSubtract(a, b); return true;
        case Opcode::Multiply: out = WrapMultiply(a, b); return true;
        case Opcode::Divide:
            if (b <= 0) return false;
            out = a / b;
            return true;
        default:
            if (b <= 0) return false;
            out = a % b;
            return true;
    }
}

// a OP b for two ints and the comparisons Equal to GreaterEqual.
inline bool CompareInts(Opcode op, int32_t a, int32_t b) {
    switch (op) {
        case Opcode::Equal: return a == b;
        case Opcode::NotEqual: return a != b;
        case Opcode::Less: return a < b;
        case Opcode::LessEqual: return a <= b;
        case Opcode::Greater: return a > b;
        default: return a >= b;
    }
}

// left = left OP right for Add, Subtract, Multiply, Divide, Modulo. `left` is
// owned by the caller and replaced; `right` is only read.
bool Arithmetic(Opcode op, Value& left, const Value& right, MemoryAccount& memory, NyxString& error);
bool Negate(Value& value, NyxString& error);
// The outcome of Equal .. GreaterEqual.
bool CompareValues(Opcode op, const Value& left, const Value& right, bool& result, NyxString& error);

// The key a value gives in a map: a string's bytes, a number's or a char's
// text; false for arrays, maps and nothing.
bool MapKeyText(const Value& key, NyxString& text, NyxString& error);
// container[index] into `out` (a new value): an array's item, a string's
// char, a map's value for a key.
bool IndexValue(const Value& container, const Value& index, Value& out, NyxString& error);
// container[index] = item. An array grows when the index is at or past its end;
// a string does not. `item` is taken over.
bool SetItem(Value& container, const Value& index, Value item, MemoryAccount& memory, NyxString& error);
// The same on a Variable of the page: an array's element or a string's char.
bool SetItemOfVariable(Variable* variable, const Value& index, const Value& item, MemoryAccount& memory,
                       NyxString& error);
// root[i1][i2]...[iN] = item, for N of 2 or more: every level but the last
// must exist; the last grows as SetItem's does. `item` is taken over, the
// indices are only read.
bool SetItemAtPath(Value& root, const Value* indices, unsigned count, Value item, MemoryAccount& memory,
                   NyxString& error);
// The same on a Variable of the page, through its value.
bool SetItemAtPathOfVariable(Variable* variable, const Value* indices, unsigned count, const Value& item,
                             MemoryAccount& memory, NyxString& error);
// An item of a page variable, read without converting the whole array.
bool IndexVariable(Variable* variable, const Value& index, MemoryAccount& memory, Value& out, NyxString& error);

// target = target + item, converted to `type`; a string or array target grows
// in place. `item` is taken over.
bool AppendValue(Value& target, Value item, DeclaredType type, MemoryAccount& memory, NyxString& error);
// The same on a Variable: a string variable grows in place.
bool AppendToVariable(Variable* variable, Value item, MemoryAccount& memory, NyxString& error);

// The value behind a reference kind (RefSlot, RefVariable, BoundVariable).
bool ReadReference(const Value& reference, MemoryAccount& memory, Value& out, NyxString& error);
// Stores through a reference; `value` is taken over. A slot keeps its
// declared type, a variable its own.
bool WriteReference(const Value& reference, Value value, MemoryAccount& memory, NyxString& error);
inline bool IsReference(Kind kind) { return kind >= Kind::RefSlot; }

}  // namespace quince
