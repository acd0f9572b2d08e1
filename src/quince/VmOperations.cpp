// VmOperations: the general forms of the VM's operations on values.
#include "quince/VmOperations.h"

#include <vector>

#include <cmath>
#include <cstring>
#include <limits>

#include "quince/VariableBridge.h"
#include "values/VarString.h"
#include "values/Variable.h"

namespace quince {

namespace {

const char* kOutOfMemory = "out of memory for strings and arrays (QuinceConfig MaxMemory)";

const char* OperatorText(Opcode op) {
    switch (op) {
        case Opcode::Add: return "+";
        case Opcode::Subtract: return "-";
        case Opcode::Multiply: return "*";
        case Opcode::Divide: return "/";
        case Opcode::Modulo: return "%";
        default: return "?";
    }
}

bool IsIntegral(Kind kind) { return kind == Kind::Bool || kind == Kind::Char || kind == Kind::Int; }

bool IntegerArithmetic(Opcode op, int32_t a, int32_t b, int32_t& out, NyxString& error) {
    switch (op) {
        case Opcode::Add: out = WrapAdd(a, b); return true;
        case Opcode::Subtract: out = WrapSubtract(a, b); return true;
        case Opcode::Multiply: out = WrapMultiply(a, b); return true;
        case Opcode::Divide:
            if (b == 0) { error = "division by zero"; return false; }
            out = b == -1 ? WrapSubtract(0, a) : a / b;
            return true;
        case Opcode::Modulo:
            if (b == 0) { error = "division by zero"; return false; }
            out = b == -1 ? 0 : a % b;
            return true;
        default: return false;
    }
}

// A NaN that arithmetic makes (0.0/0 has its sign bit set on most machines)
// is the plain one, so that every NaN prints as "nan", as double("nan") does.
double DoubleArithmetic(Opcode op, double a, double b) {
    double result = 0;
    switch (op) {
        case Opcode::Add: result = a + b; break;
        case Opcode::Subtract: result = a - b; break;
        case Opcode::Multiply: result = a * b; break;
        case Opcode::Divide: result = a / b; break;
        default: result = std::fmod(a, b); break;
    }
    return std::isnan(result) ? std::numeric_limits<double>::quiet_NaN() : result;
}

bool JoinTexts(Value& left, const Value& right, MemoryAccount& memory, NyxString& error) {
    NyxString scratch;
    std::string_view tail;
    if (right.kind == Kind::String) tail = StringView(right);
    else { AppendText(scratch, right); tail = scratch.View(); }
    if (left.kind == Kind::String) {
        if (!AppendToString(left, tail.data(), tail.size())) { error = kOutOfMemory; return false; }
        return true;
    }
    NyxString head;
    AppendText(head, left);
    StringObject* joined = NewString(memory, head.GetString(), head.GetSize());
    Value result = joined != nullptr ? Value::MakeString(joined) : Value::MakeNone();
    if (joined == nullptr || !AppendToString(result, tail.data(), tail.size())) {
        Release(result);
        error = kOutOfMemory;
        return false;
    }
    Release(left);
    left = result;
    return true;
}

bool JoinArrays(Value& left, const Value& right, NyxString& error) {
    if (!MakeArrayUnique(left)) { error = kOutOfMemory; return false; }
    ArrayObject& target = *left.a;
    const std::size_t count = right.a->Items.size();  // right may be left itself
    if (!ArrayReserve(target, target.Items.size() + count)) { error = kOutOfMemory; return false; }
    for (std::size_t i = 0; i < count; ++i) {
        Value item = Copy(right.a->Items[i]);
        if (target.Element != StaticType::Any && !ConvertTo(item, {target.Element, StaticType::Any}, *target.Account, error)) {
            Release(item);
            return false;
        }
        if (!ArrayPush(target, item)) { error = kOutOfMemory; return false; }
    }
    return true;
}

bool IndexPosition(const Value& index, std::size_t count, std::size_t& position, bool allowGrowth, NyxString& error) {
    if (!index.IsNumber()) {
        error.Printf("an index must be a number, not %s", KindName(index.kind));
        return false;
    }
    const int32_t number = ToInt(index);
    if (number < 0 || (!allowGrowth && static_cast<std::size_t>(number) >= count)) {
        error.Printf("index %d out of range (count %u)", number, static_cast<unsigned>(count));
        return false;
    }
    position = static_cast<std::size_t>(number);
    return true;
}

}  // namespace

bool Arithmetic(Opcode op, Value& left, const Value& right, MemoryAccount& memory, NyxString& error) {
    if (op == Opcode::Add) {
        if (left.kind == Kind::String || right.kind == Kind::String) return JoinTexts(left, right, memory, error);
        if (left.kind == Kind::Array && right.kind == Kind::Array) return JoinArrays(left, right, error);
    }
    if (!left.IsNumber() || !right.IsNumber()) {
        error.Printf("'%s' needs numbers, not %s and %s", OperatorText(op), KindName(left.kind), KindName(right.kind));
        return false;
    }
    if (IsIntegral(left.kind) && IsIntegral(right.kind)) {
        int32_t result = 0;
        if (!IntegerArithmetic(op, ToInt(left), ToInt(right), result, error)) return false;
        left = Value::MakeInt(result);
        return true;
    }
    if (left.kind == Kind::Double || right.kind == Kind::Double) {
        left = Value::MakeDouble(DoubleArithmetic(op, ToDouble(left), ToDouble(right)));
        return true;
    }
    // A float with a float or an integer stays a float.
    left = Value::MakeFloat(static_cast<float>(DoubleArithmetic(op, ToFloat(left), ToFloat(right))));
    return true;
}

bool Negate(Value& value, NyxString& error) {
    switch (value.kind) {
        case Kind::Bool:
        case Kind::Char:
        case Kind::Int: value = Value::MakeInt(WrapSubtract(0, ToInt(value))); return true;
        case Kind::Float: if (!std::isnan(value.f)) value.f = -value.f; return true;  // NaN stays "nan"
        case Kind::Double: if (!std::isnan(value.d)) value.d = -value.d; return true;
        default:
            error.Printf("'-' needs a number, not %s", KindName(value.kind));
            return false;
    }
}

bool CompareValues(Opcode op, const Value& left, const Value& right, bool& result, NyxString& error) {
    if (op == Opcode::Equal || op == Opcode::NotEqual) {
        result = ValuesEqual(left, right) == (op == Opcode::Equal);
        return true;
    }
    int order = 0;
    if (!Compare(left, right, order, error)) return false;
    switch (op) {
        case Opcode::Less: result = order == -1; break;
        case Opcode::LessEqual: result = order == -1 || order == 0; break;
        case Opcode::Greater: result = order == 1; break;
        default: result = order == 1 || order == 0; break;
    }
    return true;
}

bool MapKeyText(const Value& key, NyxString& text, NyxString& error) {
    if (key.HoldsItems() || key.kind == Kind::None || key.kind == Kind::Foreign) {
        error.Printf("a map's key is a string or a number, not %s", KindName(key.kind));
        return false;
    }
    AppendText(text, key);
    return true;
}

bool IndexValue(const Value& container, const Value& index, Value& out, NyxString& error) {
    std::size_t position = 0;
    switch (container.kind) {
        case Kind::Map: {
            NyxString key;
            if (!MapKeyText(index, key, error)) return false;
            position = MapFind(*container.a, key.View());
            if (position == SIZE_MAX) {
                error.Printf("the map has no key '%S'", &key);
                return false;
            }
            out = Copy(container.a->Items[position]);
            return true;
        }
        case Kind::Array:
            if (!IndexPosition(index, container.a->Items.size(), position, false, error)) return false;
            out = Copy(container.a->Items[position]);
            return true;
        case Kind::String:
            if (!IndexPosition(index, container.s->Length, position, false, error)) return false;
            out = Value::MakeChar(container.s->Data[position]);
            return true;
        default:
            error.Printf("cannot take an item of %s", KindName(container.kind));
            return false;
    }
}

bool SetItem(Value& container, const Value& index, Value item, MemoryAccount& memory, NyxString& error) {
    std::size_t position = 0;
    if (container.kind == Kind::String) {
        if (!IndexPosition(index, container.s->Length, position, false, error)) { Release(item); return false; }
        if (item.kind == Kind::Array) {
            Release(item);
            error = "cannot store an array in a string";
            return false;
        }
        if (!MakeStringUnique(container)) { Release(item); error = kOutOfMemory; return false; }
        container.s->Data[position] = ToChar(item);
        Release(item);
        return true;
    }
    if (container.kind == Kind::Map) {
        NyxString key;
        if (!MapKeyText(index, key, error)) { Release(item); return false; }
        if (!MakeArrayUnique(container)) { Release(item); error = kOutOfMemory; return false; }
        return MapSet(*container.a, key.View(), item, error);
    }
    if (container.kind != Kind::Array) {
        Release(item);
        error.Printf("cannot set an item of %s", KindName(container.kind));
        return false;
    }
    if (!IndexPosition(index, container.a->Items.size(), position, true, error)) { Release(item); return false; }
    if (!MakeArrayUnique(container)) { Release(item); error = kOutOfMemory; return false; }
    ArrayObject& array = *container.a;
    const DeclaredType element{array.Element, StaticType::Any};
    if (array.Element != StaticType::Any && !ConvertTo(item, element, memory, error)) { Release(item); return false; }
    if (!ArrayAdmits(array, item)) {
        Release(item);
        error.Printf("arrays nested deeper than %u levels", kMaxArrayNesting);
        return false;
    }
    if (position >= array.Items.size()) {
        // Growing by assignment: the items in between get the element type's default.
        if (!ArrayReserve(array, position + 1)) { Release(item); error = kOutOfMemory; return false; }
        while (array.Items.size() < position) {
            Value filler = Value::MakeNone();
            if (!DefaultValue(element, memory, filler)) { Release(item); error = kOutOfMemory; return false; }
            array.Items.push_back(filler);
        }
        array.Items.push_back(item);
        return true;
    }
    Release(array.Items[position]);
    array.Items[position] = item;
    return true;
}

bool SetItemAtPath(Value& root, const Value* indices, unsigned count, Value item, MemoryAccount& memory,
                   NyxString& error) {
    // The levels above the last one, made unique on the way down (each may be shared).
    std::vector<ArrayObject*> levels;
    levels.reserve(count);
    const uint32_t itemDepth = item.HoldsItems() ? item.a->Depth : 0;
    if (count + itemDepth > kMaxArrayNesting) {
        Release(item);
        error.Printf("arrays nested deeper than %u levels", kMaxArrayNesting);
        return false;
    }
    Value* current = &root;
    for (unsigned level = 0; level + 1 < count; ++level) {
        if (!current->HoldsItems()) {
            Release(item);
            error.Printf("cannot set an item of %s", KindName(current->kind));
            return false;
        }
        std::size_t position = 0;
        if (current->kind == Kind::Map) {
            NyxString key;
            if (!MapKeyText(indices[level], key, error)) { Release(item); return false; }
            position = MapFind(*current->a, key.View());
            if (position == SIZE_MAX) {
                Release(item);
                error.Printf("the map has no key '%S'", &key);
                return false;
            }
        } else if (!IndexPosition(indices[level], current->a->Items.size(), position, false, error)) {
            Release(item);
            return false;
        }
        if (!MakeArrayUnique(*current)) { Release(item); error = kOutOfMemory; return false; }
        levels.push_back(current->a);
        current = &current->a->Items[position];
    }
    if (!SetItem(*current, indices[count - 1], item, memory, error)) return false;
    // Each level now holds one level more than the one below it.
    uint32_t below = current->HoldsItems() ? current->a->Depth : 0;
    for (auto level = levels.rbegin(); level != levels.rend(); ++level) {
        if ((*level)->Depth < below + 1) (*level)->Depth = below + 1;
        below = (*level)->Depth;
    }
    return true;
}

bool SetItemAtPathOfVariable(Variable* variable, const Value* indices, unsigned count, const Value& item,
                             MemoryAccount& memory, NyxString& error) {
    Value whole = Value::MakeNone();
    if (!ValueFromVariable(variable, memory, whole, error)) return false;
    Value copy = item;
    Retain(copy);
    const bool ok = SetItemAtPath(whole, indices, count, copy, memory, error) && StoreIntoVariable(variable, whole, error);
    Release(whole);
    return ok;
}

bool SetItemOfVariable(Variable* variable, const Value& index, const Value& item, MemoryAccount& memory,
                       NyxString& error) {
    std::size_t position = 0;
    if (variable->IsArray()) {
        if (!IndexPosition(index, variable->GetElementCount(), position, true, error)) return false;
        if (position >= variable->GetElementCount()) {
            variable->SetArraySize(static_cast<unsigned>(position + 1));
            if (position >= variable->GetElementCount()) { error = kOutOfMemory; return false; }
        }
        Variable* element = variable->GetArrayElement(static_cast<unsigned>(position));
        if (element == nullptr) { error = "the array has no element there"; return false; }
        return StoreIntoVariable(element, item, error);
    }
    if (variable->GetTypeId() == Variable::TypeMap) {
        NyxString key;
        if (!MapKeyText(index, key, error)) return false;
        Variable* element = variable->GetStructElement(key);
        if (element != nullptr) return StoreIntoVariable(element, item, error);
        element = VariableFromValue(item, key);
        if (element == nullptr) { error = "no value to assign"; return false; }
        if (variable->AddStructElement(element, 0) == 0) {
            Variable::Delete(element);
            error = kOutOfMemory;
            return false;
        }
        return true;
    }
    if (variable->GetTypeId() == Variable::TypeString) {
        if (!IndexPosition(index, variable->GetLength(), position, false, error)) return false;
        NyxString text(variable->GetStringValue(), variable->GetLength());
        std::string changed = text.ToStd();
        changed[position] = ToChar(item);
        variable->SetStringValue(changed.data(), static_cast<unsigned>(changed.size()));
        return true;
    }
    const NyxString name = variable->GetVarName();
    error.Printf("cannot set an item of '%S', which is neither an array nor a string", &name);
    (void)memory;
    return false;
}

bool IndexVariable(Variable* variable, const Value& index, MemoryAccount& memory, Value& out, NyxString& error) {
    std::size_t position = 0;
    if (variable->IsArray()) {
        if (!IndexPosition(index, variable->GetElementCount(), position, false, error)) return false;
        Variable* element = variable->GetArrayElement(static_cast<unsigned>(position));
        if (element == nullptr) { error = "the array has no element there"; return false; }
        return ValueFromVariable(element, memory, out, error);
    }
    if (variable->GetTypeId() == Variable::TypeString) {
        if (!IndexPosition(index, variable->GetLength(), position, false, error)) return false;
        out = Value::MakeChar(variable->GetStringValue()[position]);
        return true;
    }
    if (variable->GetTypeId() == Variable::TypeMap) {
        NyxString key;
        if (!MapKeyText(index, key, error)) return false;
        Variable* element = variable->GetStructElement(key);
        if (element == nullptr) {
            error.Printf("the map has no key '%S'", &key);
            return false;
        }
        return ValueFromVariable(element, memory, out, error);
    }
    Value whole = Value::MakeNone();
    if (!ValueFromVariable(variable, memory, whole, error)) return false;
    const bool ok = IndexValue(whole, index, out, error);
    Release(whole);
    return ok;
}

bool AppendValue(Value& target, Value item, DeclaredType type, MemoryAccount& memory, NyxString& error) {
    if (target.kind == Kind::Int && item.kind == Kind::Int) {
        target.i = WrapAdd(target.i, item.i);
        return true;
    }
    if (target.kind == Kind::String) {
        bool ok = true;
        if (item.kind == Kind::String) {
            ok = AppendToString(target, item.s->Data, item.s->Length);
        } else {
            NyxString text;
            AppendText(text, item);
            ok = AppendToString(target, text.GetString(), text.GetSize());
        }
        Release(item);
        if (!ok) error = kOutOfMemory;
        return ok;
    }
    if (target.kind == Kind::None) {
        Release(item);
        error = "the variable has no value yet";
        return false;
    }
    Value sum = Copy(target);
    const bool ok = Arithmetic(Opcode::Add, sum, item, memory, error) && ConvertTo(sum, type, memory, error);
    Release(item);
    if (!ok) {
        Release(sum);
        return false;
    }
    Release(target);
    target = sum;
    return true;
}

bool AppendToVariable(Variable* variable, Value item, MemoryAccount& memory, NyxString& error) {
    Variable* origin = variable->Dereference() != nullptr ? variable->Dereference() : variable;
    if (auto* text = dynamic_cast<VarString*>(origin)) {
        if (item.kind == Kind::String) {
            text->AppendString(item.s->Data, item.s->Length);
        } else {
            NyxString scratch;
            AppendText(scratch, item);
            text->AppendString(scratch.GetString(), scratch.GetSize());
        }
        Release(item);
        return true;
    }
    Value current = Value::MakeNone();
    if (!ValueFromVariable(variable, memory, current, error)) {
        Release(item);
        return false;
    }
    const bool ok = Arithmetic(Opcode::Add, current, item, memory, error) && StoreIntoVariable(variable, current, error);
    Release(item);
    Release(current);
    return ok;
}

bool ReadReference(const Value& reference, MemoryAccount& memory, Value& out, NyxString& error) {
    if (reference.kind == Kind::RefSlot) {
        out = Copy(*reference.slot);
        return true;
    }
    if (reference.kind == Kind::RefVariable || reference.kind == Kind::BoundVariable) {
        return ValueFromVariable(reference.var, memory, out, error);
    }
    out = Copy(reference);
    return true;
}

bool WriteReference(const Value& reference, Value value, MemoryAccount& memory, NyxString& error) {
    if (reference.kind == Kind::RefSlot) {
        if (!ConvertTo(value, DeclaredType{reference.refBase, reference.refElement}, memory, error)) {
            Release(value);
            return false;
        }
        Release(*reference.slot);
        *reference.slot = value;
        return true;
    }
    const bool ok = StoreIntoVariable(reference.var, value, error);
    Release(value);
    return ok;
}

}  // namespace quince
