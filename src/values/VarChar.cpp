// VarChar: one signed 8-bit character; numeric getters sign-extend it.
#include "values/VarChar.h"

#include <new>

VarChar::VarChar(const NyxString& name, unsigned flags) : Variable(TypeChar, name, flags), Value(0) {}

VarChar::VarChar(const VarChar& other) : Variable(other), Value(other.Value) {}

VarChar& VarChar::operator=(const VarChar& other) {
    Variable::operator=(other);
    Value = other.Value;
    return *this;
}

Variable* VarChar::Clone() const { return new (std::nothrow) VarChar(*this); }

// The character is signed, so the byte 0xFF reads as -1 everywhere.
static long SignExtended(char c) { return static_cast<signed char>(c); }

void VarChar::SetCharValue(char value) { Value = value; }
int VarChar::GetBoolValue() const { return static_cast<int>(SignExtended(GetCharValue())); }
char VarChar::GetCharValue() const { return Value; }
long VarChar::GetIntegerValue() const { return SignExtended(GetCharValue()); }
float VarChar::GetFloatValue() const { return static_cast<float>(SignExtended(GetCharValue())); }
double VarChar::GetDoubleValue() const { return static_cast<double>(SignExtended(GetCharValue())); }

int VarChar::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && IsScalarTypeId(other->GetTypeId()) ? 1 : 0;
}

int VarChar::Assign(Variable* value) {
    if (value == nullptr || !IsScalarTypeId(value->GetTypeId())) return 0;
    SetCharValue(value->GetCharValue());
    return 1;
}

void VarChar::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarChar::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "char";
}

void VarChar::AppendText(NyxString& output) const { output.Append(GetCharValue(), 1); }
