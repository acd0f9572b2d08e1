// VarBoolean: a bool held as a 32-bit integer, not normalised.
#include "values/VarBoolean.h"

#include <new>

#include "values/VarConversions.h"

VarBoolean::VarBoolean(const NyxString& name, unsigned flags) : Variable(TypeBoolean, name, flags), Value(0) {}

VarBoolean::VarBoolean(const VarBoolean& other) : Variable(other), Value(other.Value) {}

VarBoolean& VarBoolean::operator=(const VarBoolean& other) {
    Variable::operator=(other);
    Value = other.Value;
    return *this;
}

Variable* VarBoolean::Clone() const { return new (std::nothrow) VarBoolean(*this); }

void VarBoolean::SetBoolValue(int value) { Value = value; }
int VarBoolean::GetBoolValue() const { return Value; }
char VarBoolean::GetCharValue() const { return VarConversions::LowByte(GetBoolValue()); }
long VarBoolean::GetIntegerValue() const { return GetBoolValue(); }
float VarBoolean::GetFloatValue() const { return static_cast<float>(GetBoolValue()); }
double VarBoolean::GetDoubleValue() const { return static_cast<double>(GetBoolValue()); }

int VarBoolean::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && IsScalarTypeId(other->GetTypeId()) ? 1 : 0;
}

int VarBoolean::Assign(Variable* value) {
    if (value == nullptr || !IsScalarTypeId(value->GetTypeId())) return 0;
    SetBoolValue(value->GetBoolValue());
    return 1;
}

void VarBoolean::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarBoolean::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "bool";
}

void VarBoolean::AppendText(NyxString& output) const { output += GetBoolValue() != 0 ? "true" : "false"; }
