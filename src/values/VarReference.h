// VarReference: what Duplicate makes. Every value, array and struct operation
// goes to the origin, so a change through the reference reaches it. The
// reference keeps a name and flags of its own (a procedure may rename its
// argument without renaming the caller's variable).
#pragma once

#include "values/Variable.h"

class VarReference : public Variable {
public:
    // The origin must outlive the reference; deleting the reference leaves
    // the origin alone.
    explicit VarReference(Variable* origin);
    ~VarReference() override = default;
    VarReference(const VarReference&) = delete;
    VarReference& operator=(const VarReference&) = delete;

    Variable* GetOrigin() const { return Origin; }

    Variable* Clone() const override;  // an independent copy of the origin
    void SetBoolValue(int value) override;
    void SetCharValue(char value) override;
    void SetIntegerValue(long value) override;
    void SetFloatValue(float value) override;
    void SetDoubleValue(double value) override;
    void SetHandleValue(void* value) override;
    void SetStringValue(const char* text, unsigned count) override;
    void SetStringValue(const NyxString& text) override;
    int GetBoolValue() const override;
    char GetCharValue() const override;
    long GetIntegerValue() const override;
    float GetFloatValue() const override;
    double GetDoubleValue() const override;
    void* GetHandleValue() const override;
    const char* GetStringValue() const override;
    enum_TypeId GetTypeId() const override;
    unsigned GetLength() override;

    int IsCompatibleWith(const Variable* other) const override;
    int Assign(Variable* value) override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;

    int IsArray() const override;
    int IsStruct() const override;
    Variable* Dereference() override;
    const Variable* GetArrayElementType() const override;
    unsigned GetElementCount() const override;
    Variable* GetArrayElement(unsigned index) override;
    void SetArraySize(unsigned size) override;
    void AdjustArraySize(int delta) override;
    int AddArrayElement(Variable* element) override;
    void DeleteArrayElement(unsigned index) override;
    Variable* RemoveArrayElement(unsigned index) override;
    void SwapArrayElements(unsigned a, unsigned b) override;
    Variable* GetStructElement(unsigned index) override;
    Variable* GetStructElement(const NyxString& name) override;
    unsigned GetStructElementIndex(const NyxString& name) override;
    int AddStructElement(Variable* element, int flags) override;
    NyxString GetStructName() const override;
    void SetStructName(const NyxString& name) override;
    NyxString GetHandleName() const override;
    void Dump(NyxString& output, const NyxString& prefix, int depth) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void AppendText(NyxString& output) const override;

private:
    Variable* Origin;  // never null, never itself a reference
};
