// VarReference: a Duplicate, forwarding everything about the value to its origin.
#include "values/VarReference.h"

VarReference::VarReference(Variable* origin) : Variable(TypeReference, origin->GetVarName()), Origin(origin) {}

Variable* VarReference::Clone() const { return Origin->Clone(); }
void VarReference::SetBoolValue(int value) { Origin->SetBoolValue(value); }
void VarReference::SetCharValue(char value) { Origin->SetCharValue(value); }
void VarReference::SetIntegerValue(long value) { Origin->SetIntegerValue(value); }
void VarReference::SetFloatValue(float value) { Origin->SetFloatValue(value); }
void VarReference::SetDoubleValue(double value) { Origin->SetDoubleValue(value); }
void VarReference::SetHandleValue(void* value) { Origin->SetHandleValue(value); }
void VarReference::SetStringValue(const char* text, unsigned count) { Origin->SetStringValue(text, count); }
void VarReference::SetStringValue(const NyxString& text) { Origin->SetStringValue(text); }
int VarReference::GetBoolValue() const { return Origin->GetBoolValue(); }
char VarReference::GetCharValue() const { return Origin->GetCharValue(); }
long VarReference::GetIntegerValue() const { return Origin->GetIntegerValue(); }
float VarReference::GetFloatValue() const { return Origin->GetFloatValue(); }
double VarReference::GetDoubleValue() const { return Origin->GetDoubleValue(); }
void* VarReference::GetHandleValue() const { return Origin->GetHandleValue(); }
const char* VarReference::GetStringValue() const { return Origin->GetStringValue(); }
Variable::enum_TypeId VarReference::GetTypeId() const { return Origin->GetTypeId(); }
unsigned VarReference::GetLength() { return Origin->GetLength(); }

int VarReference::IsCompatibleWith(const Variable* other) const { return Origin->IsCompatibleWith(other); }
int VarReference::Assign(Variable* value) { return Origin->Assign(value); }
void VarReference::DumpValue(NyxString& output, const NyxString& prefix) const { Origin->DumpValue(output, prefix); }

int VarReference::IsArray() const { return Origin->IsArray(); }
int VarReference::IsStruct() const { return Origin->IsStruct(); }
Variable* VarReference::Dereference() { return Origin; }
const Variable* VarReference::GetArrayElementType() const { return Origin->GetArrayElementType(); }
unsigned VarReference::GetElementCount() const { return Origin->GetElementCount(); }
Variable* VarReference::GetArrayElement(unsigned index) { return Origin->GetArrayElement(index); }
void VarReference::SetArraySize(unsigned size) { Origin->SetArraySize(size); }
void VarReference::AdjustArraySize(int delta) { Origin->AdjustArraySize(delta); }
int VarReference::AddArrayElement(Variable* element) { return Origin->AddArrayElement(element); }
void VarReference::DeleteArrayElement(unsigned index) { Origin->DeleteArrayElement(index); }
Variable* VarReference::RemoveArrayElement(unsigned index) { return Origin->RemoveArrayElement(index); }
void VarReference::SwapArrayElements(unsigned a, unsigned b) { Origin->SwapArrayElements(a, b); }
Variable* VarReference::GetStructElement(unsigned index) { return Origin->GetStructElement(index); }
Variable* VarReference::GetStructElement(const NyxString& name) { return Origin->GetStructElement(name); }
unsigned VarReference::GetStructElementIndex(const NyxString& name) { return Origin->GetStructElementIndex(name); }
int VarReference::AddStructElement(Variable* element, int flags) { return Origin->AddStructElement(element, flags); }
NyxString VarReference::GetStructName() const { return Origin->GetStructName(); }
void VarReference::SetStructName(const NyxString& name) { Origin->SetStructName(name); }
NyxString VarReference::GetHandleName() const { return Origin->GetHandleName(); }
void VarReference::Dump(NyxString& output, const NyxString& prefix, int depth) const { Origin->Dump(output, prefix, depth); }
void VarReference::DumpType(NyxString& output, const NyxString& prefix, int depth) const {
    Origin->DumpType(output, prefix, depth);
}
void VarReference::AppendText(NyxString& output) const { Origin->AppendText(output); }
