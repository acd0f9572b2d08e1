// VarFloat: a 32-bit float; integer getters truncate towards zero.
#include "values/VarFloat.h"

#include <new>

#include "values/VarConversions.h"

VarFloat::VarFloat(const NyxString& name, unsigned flags) : Variable(TypeFloat, name, flags), Value(0.0f) {}

VarFloat::VarFloat(const VarFloat& other) : Variable(other), Value(other.Value) {}

VarFloat& VarFloat::operator=(const VarFloat& other) {
    Variable::operator=(other);
    Value = other.Value;
    return *this;
}

Variable* VarFloat::Clone() const { return new (std::nothrow) VarFloat(*this); }

void VarFloat::SetFloatValue(float value) { Value = value; }
int VarFloat::GetBoolValue() const { return VarConversions::TruncateToInt32(GetFloatValue()); }
char VarFloat::GetCharValue() const {
    return VarConversions::LowByte(VarConversions::TruncateToInt32(GetFloatValue()));
}
long VarFloat::GetIntegerValue() const { return VarConversions::TruncateToInt32(GetFloatValue()); }
float VarFloat::GetFloatValue() const { return Value; }
double VarFloat::GetDoubleValue() const { return static_cast<double>(GetFloatValue()); }

int VarFloat::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && IsScalarTypeId(other->GetTypeId()) ? 1 : 0;
}

int VarFloat::Assign(Variable* value) {
    if (value == nullptr || !IsScalarTypeId(value->GetTypeId())) return 0;
    SetFloatValue(value->GetFloatValue());
    return 1;
}

void VarFloat::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarFloat::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "float";
}

void VarFloat::AppendText(NyxString& output) const { VarConversions::AppendFloat(output, GetFloatValue()); }
