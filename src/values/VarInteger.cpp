// VarInteger: a signed 32-bit integer on every platform.
#include "values/VarInteger.h"

#include <new>

#include "values/VarConversions.h"

VarInteger::VarInteger(const NyxString& name, unsigned flags) : Variable(TypeInteger, name, flags), Value(0) {}

VarInteger::VarInteger(const VarInteger& other) : Variable(other), Value(other.Value) {}

VarInteger& VarInteger::operator=(const VarInteger& other) {
    Variable::operator=(other);
    Value = other.Value;
    return *this;
}

Variable* VarInteger::Clone() const { return new (std::nothrow) VarInteger(*this); }

// A wider value keeps its low 32 bits, as arithmetic in 32 bits would have.
void VarInteger::SetIntegerValue(long value) { Value = static_cast<int32_t>(value); }
int VarInteger::GetBoolValue() const { return static_cast<int>(GetIntegerValue()); }
char VarInteger::GetCharValue() const { return VarConversions::LowByte(GetIntegerValue()); }
long VarInteger::GetIntegerValue() const { return Value; }
float VarInteger::GetFloatValue() const { return static_cast<float>(GetIntegerValue()); }
double VarInteger::GetDoubleValue() const { return static_cast<double>(GetIntegerValue()); }
void* VarInteger::GetHandleValue() const {
    return reinterpret_cast<void*>(static_cast<intptr_t>(GetIntegerValue()));
}

int VarInteger::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && IsScalarTypeId(other->GetTypeId()) ? 1 : 0;
}

int VarInteger::Assign(Variable* value) {
    if (value == nullptr || !IsScalarTypeId(value->GetTypeId())) return 0;
    SetIntegerValue(value->GetIntegerValue());
    return 1;
}

void VarInteger::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarInteger::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "int";
}

void VarInteger::AppendText(NyxString& output) const { VarConversions::AppendInteger(output, GetIntegerValue()); }
