// VariableBridge: Values to Variables and back.
#include "quince/VariableBridge.h"

#include <new>

#include "values/VarArray.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarMap.h"
#include "values/VarString.h"
#include "values/Variable.h"

namespace quince {

namespace {

StaticType ElementTypeOf(const Variable* model) {
    if (model == nullptr) return StaticType::Any;
    switch (model->GetTypeId()) {
        case Variable::TypeBoolean: return StaticType::Bool;
        case Variable::TypeChar: return StaticType::Char;
        case Variable::TypeInteger: return StaticType::Int;
        case Variable::TypeFloat: return StaticType::Float;
        case Variable::TypeDouble: return StaticType::Double;
        case Variable::TypeString: return StaticType::String;
        default: return StaticType::Any;
    }
}

bool ConvertVariable(Variable* variable, MemoryAccount& memory, Value& out, NyxString& error, unsigned depth) {
    switch (variable->GetTypeId()) {
        case Variable::TypeBoolean: out = Value::MakeBool(variable->GetBoolValue() != 0); return true;
        case Variable::TypeChar: out = Value::MakeChar(variable->GetCharValue()); return true;
        case Variable::TypeInteger: out = Value::MakeInt(static_cast<int32_t>(variable->GetIntegerValue())); return true;
        case Variable::TypeFloat: out = Value::MakeFloat(variable->GetFloatValue()); return true;
        case Variable::TypeDouble: out = Value::MakeDouble(variable->GetDoubleValue()); return true;
        case Variable::TypeString: {
            StringObject* text = NewString(memory, variable->GetStringValue(), variable->GetLength());
            if (text == nullptr) {
                error = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
                return false;
            }
            out = Value::MakeString(text);
            return true;
        }
        default: break;
    }
    if (variable->IsArray()) {
        if (depth >= kMaxArrayNesting) {
            error.Printf("arrays nested deeper than %u levels", kMaxArrayNesting);
            return false;
        }
        ArrayObject* array = NewArray(memory, ElementTypeOf(variable->GetArrayElementType()));
        if (array == nullptr) {
            error = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
            return false;
        }
        Value result = Value::MakeArray(array);
        const unsigned count = variable->GetElementCount();
        array->Items.reserve(count);
        if (!ChargeArray(*array)) {
            Release(result);
            error = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
            return false;
        }
        for (unsigned i = 0; i < count; ++i) {
            Variable* element = variable->GetArrayElement(i);
            Value item = Value::MakeInt(0);
            if (element != nullptr && !ConvertVariable(element, memory, item, error, depth + 1)) {
                Release(result);
                return false;
            }
            if (!ArrayPush(*array, item)) {
                Release(result);
                error.Printf("arrays nested deeper than %u levels", kMaxArrayNesting);
                return false;
            }
        }
        out = result;
        return true;
    }
    if (variable->GetTypeId() == Variable::TypeMap) {
        if (depth >= kMaxArrayNesting) {
            error.Printf("arrays nested deeper than %u levels", kMaxArrayNesting);
            return false;
        }
        ArrayObject* map = NewMap(memory);
        if (map == nullptr) {
            error = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
            return false;
        }
        Value result = Value::MakeMap(map);
        const unsigned count = variable->GetElementCount();
        for (unsigned i = 0; i < count; ++i) {
            Variable* element = variable->GetStructElement(i);
            if (element == nullptr) continue;
            Value item = Value::MakeNone();
            if (!ConvertVariable(element, memory, item, error, depth + 1) ||
                !MapSet(*map, element->GetVarName().View(), item, error)) {
                Release(result);
                return false;
            }
        }
        out = result;
        return true;
    }
    Variable* clone = variable->Clone();
    if (clone == nullptr) {
        const NyxString name = variable->GetVarName();
        error.Printf("the variable '%S' holds no value a script can read", &name);
        return false;
    }
    auto* foreign = new (std::nothrow) ForeignObject{1, clone};
    if (foreign == nullptr) {
        Variable::Delete(clone);
        error = "out of memory";
        return false;
    }
    out = Value::MakeNone();
    out.kind = Kind::Foreign;
    out.o = foreign;
    return true;
}

Variable* NewArrayVariable(StaticType element, const NyxString& name) {
    switch (element) {
        case StaticType::Bool: return new (std::nothrow) VarBooleanArray(name);
        case StaticType::Char: return new (std::nothrow) VarCharArray(name);
        case StaticType::Int: return new (std::nothrow) VarIntegerArray(name);
        case StaticType::Float: return new (std::nothrow) VarFloatArray(name);
        case StaticType::Double: return new (std::nothrow) VarDoubleArray(name);
        case StaticType::String: return new (std::nothrow) VarStringArray(name);
        default: return new (std::nothrow) VarArray(name);
    }
}

}  // namespace

bool ValueFromVariable(Variable* variable, MemoryAccount& memory, Value& out, NyxString& error) {
    return ConvertVariable(variable, memory, out, error, 0);
}

Variable* VariableFromValue(const Value& value, const NyxString& name) {
    Variable* result = nullptr;
    switch (value.kind) {
        case Kind::Bool:
            result = new (std::nothrow) VarBoolean(name);
            if (result != nullptr) result->SetBoolValue(value.i != 0 ? 1 : 0);
            break;
        case Kind::Char:
            result = new (std::nothrow) VarChar(name);
            if (result != nullptr) result->SetCharValue(value.c);
            break;
        case Kind::Int:
            result = new (std::nothrow) VarInteger(name);
            if (result != nullptr) result->SetIntegerValue(value.i);
            break;
        case Kind::Float:
            result = new (std::nothrow) VarFloat(name);
            if (result != nullptr) result->SetFloatValue(value.f);
            break;
        case Kind::Double:
            result = new (std::nothrow) VarDouble(name);
            if (result != nullptr) result->SetDoubleValue(value.d);
            break;
        case Kind::String:
            result = new (std::nothrow) VarString(name);
            if (result != nullptr) result->SetStringValue(value.s->Data, value.s->Length);
            break;
        case Kind::Array: {
            result = NewArrayVariable(value.a->Element, name);
            if (result == nullptr) break;
            for (const Value& item : value.a->Items) {
                Variable* element = VariableFromValue(item, NyxString());
                if (element != nullptr) result->AddArrayElement(element);
            }
            break;
        }
        case Kind::Map: {
            result = new (std::nothrow) VarMap(name);
            if (result == nullptr) break;
            const ArrayObject& map = *value.a;
            for (std::size_t i = 0; i < map.Items.size(); ++i) {
                Variable* element = VariableFromValue(map.Items[i], NyxString(MapKey(map, i)));
                if (element != nullptr && result->AddStructElement(element, 0) == 0) Variable::Delete(element);
            }
            break;
        }
        case Kind::Foreign:
            result = value.o->Owned->Clone();
            if (result != nullptr) result->SetVarName(name);
            break;
        default: break;
    }
    return result;
}

bool StoreIntoVariable(Variable* variable, const Value& value, NyxString& error) {
    if (value.kind == Kind::None) {
        error = "no value to assign";
        return false;
    }
    const Variable::enum_TypeId type = variable->GetTypeId();
    if (value.kind == Kind::Array && !variable->IsArray()) {
        const NyxString name = variable->GetVarName();
        error.Printf("cannot assign an array to the variable '%S', which is no array", &name);
        return false;
    }
    if ((value.kind == Kind::Map) != (type == Variable::TypeMap)) {
        const NyxString name = variable->GetVarName();
        error.Printf("cannot assign %s to the variable '%S'", value.kind == Kind::Map ? "a map" : KindName(value.kind), &name);
        return false;
    }
    switch (type) {
        case Variable::TypeBoolean: variable->SetBoolValue(IsTrue(value) ? 1 : 0); return true;
        case Variable::TypeChar: variable->SetCharValue(ToChar(value)); return true;
        case Variable::TypeInteger: variable->SetIntegerValue(ToInt(value)); return true;
        case Variable::TypeFloat: variable->SetFloatValue(ToFloat(value)); return true;
        case Variable::TypeDouble: variable->SetDoubleValue(ToDouble(value)); return true;
        case Variable::TypeString:
            if (value.kind == Kind::String) {
                variable->SetStringValue(value.s->Data, value.s->Length);
            } else {
                NyxString text;
                AppendText(text, value);
                variable->SetStringValue(text);
            }
            return true;
        default: break;
    }
    Variable* source = nullptr;
    bool owned = false;
    if (value.kind == Kind::Foreign) {
        source = value.o->Owned;
    } else {
        source = VariableFromValue(value, NyxString());
        owned = true;
    }
    const int assigned = source != nullptr ? variable->Assign(source) : 0;
    if (owned) Variable::Delete(source);
    if (assigned == 0) {
        const NyxString name = variable->GetVarName();
        error.Printf("cannot assign %s to the variable '%S'", KindName(value.kind), &name);
        return false;
    }
    return true;
}

}  // namespace quince
