// VarDouble: a 64-bit float; integer getters truncate towards zero.
#include "values/VarDouble.h"

#include <new>

#include "values/VarConversions.h"

VarDouble::VarDouble(const NyxString& name, unsigned flags) : Variable(TypeDouble, name, flags), Value(0.0) {}

VarDouble::VarDouble(const VarDouble& other) : Variable(other), Value(other.Value) {}

VarDouble& VarDouble::operator=(const VarDouble& other) {
    Variable::operator=(other);
    Value = other.Value;
    return *this;
}

Variable* VarDouble::Clone() const { return new (std::nothrow) VarDouble(*this); }

void VarDouble::SetDoubleValue(double value) { Value = value; }
int VarDouble::GetBoolValue() const { return VarConversions::TruncateToInt32(GetDoubleValue()); }
char VarDouble::GetCharValue() const {
    return VarConversions::LowByte(VarConversions::TruncateToInt32(GetDoubleValue()));
}
long VarDouble::GetIntegerValue() const { return VarConversions::TruncateToInt32(GetDoubleValue()); }
float VarDouble::GetFloatValue() const { return VarConversions::NarrowToFloat(GetDoubleValue()); }
double VarDouble::GetDoubleValue() const { return Value; }

int VarDouble::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && IsScalarTypeId(other->GetTypeId()) ? 1 : 0;
}

int VarDouble::Assign(Variable* value) {
    if (value == nullptr || !IsScalarTypeId(value->GetTypeId())) return 0;
    SetDoubleValue(value->GetDoubleValue());
    return 1;
}

void VarDouble::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarDouble::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "double";
}

void VarDouble::AppendText(NyxString& output) const { VarConversions::AppendDouble(output, GetDoubleValue()); }
