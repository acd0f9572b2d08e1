// Variable: the defaults that every class of the family inherits, and the
// operations shared by all of them (text form, Duplicate, Delete).
#include "values/Variable.h"

#include "values/VarReference.h"

Variable::Variable(enum_TypeId typeId, const NyxString& name, unsigned flags)
    : TypeId(typeId), VarName(name), VarFlags(flags) {}

Variable::Variable(const Variable& other) : TypeId(other.TypeId), VarName(other.VarName), VarFlags(other.VarFlags) {}

Variable::~Variable() = default;

// The class of an object never changes, so the type id stays; the name and the
// flags are the part of Variable that an assignment carries.
Variable& Variable::operator=(const Variable& other) {
    if (this == &other) return *this;
    VarName = other.VarName;
    VarFlags = other.VarFlags;
    return *this;
}

Variable* Variable::Clone() const { return nullptr; }

void Variable::SetBoolValue(int) {}
void Variable::SetCharValue(char) {}
void Variable::SetIntegerValue(long) {}
void Variable::SetFloatValue(float) {}
void Variable::SetDoubleValue(double) {}
void Variable::SetHandleValue(void*) {}
void Variable::SetStringValue(const char*, unsigned) {}
void Variable::SetStringValue(const NyxString&) {}

int Variable::GetBoolValue() const { return 0; }
char Variable::GetCharValue() const { return 0; }
long Variable::GetIntegerValue() const { return 0; }
float Variable::GetFloatValue() const { return 0.0f; }
double Variable::GetDoubleValue() const { return 0.0; }
void* Variable::GetHandleValue() const { return nullptr; }

const char* Variable::GetStringValue() const {
    static const char kEmpty[1] = {'\0'};
    return kEmpty;
}

void Variable::SetVarName(const NyxString& name) { VarName = name; }
NyxString Variable::GetVarName() { return VarName; }
Variable::enum_TypeId Variable::GetTypeId() const { return TypeId; }
unsigned Variable::GetLength() { return 0; }

int Variable::IsCompatibleWith(const Variable*) const { return 0; }
int Variable::Assign(Variable*) { return 0; }
void Variable::DumpValue(NyxString&, const NyxString&) const {}

int Variable::IsArray() const { return 0; }
int Variable::IsStruct() const { return 0; }
Variable* Variable::Dereference() { return nullptr; }
const Variable* Variable::GetArrayElementType() const { return nullptr; }
unsigned Variable::GetElementCount() const { return 0; }
Variable* Variable::GetArrayElement(unsigned) { return nullptr; }
void Variable::SetArraySize(unsigned) {}
void Variable::AdjustArraySize(int) {}
int Variable::AddArrayElement(Variable*) { return 0; }
void Variable::DeleteArrayElement(unsigned) {}
Variable* Variable::RemoveArrayElement(unsigned) { return nullptr; }
void Variable::SwapArrayElements(unsigned, unsigned) {}
Variable* Variable::GetStructElement(unsigned) { return nullptr; }
Variable* Variable::GetStructElement(const NyxString&) { return nullptr; }
unsigned Variable::GetStructElementIndex(const NyxString&) { return 0; }
int Variable::AddStructElement(Variable*, int) { return 0; }
NyxString Variable::GetStructName() const { return NyxString(); }
void Variable::SetStructName(const NyxString&) {}
NyxString Variable::GetHandleName() const { return NyxString(); }
void Variable::Dump(NyxString&, const NyxString&, int) const {}
void Variable::DumpType(NyxString&, const NyxString&, int) const {}
void Variable::AppendText(NyxString&) const {}

NyxString Variable::GetText() const {
    NyxString text;
    AppendText(text);
    return text;
}

// A duplicate of a duplicate reads the same origin, so chains never form.
Variable* Variable::Duplicate() {
    Variable* origin = this;
    if (TypeId == TypeReference) origin = static_cast<VarReference*>(this)->GetOrigin();
    return new VarReference(origin);
}

void Variable::Delete(Variable* variable) { delete variable; }
