// VarMap: a map of the script language as a page variable. Its elements are
// variables named by their keys, kept in the order the keys came, and reached
// as a structure's are: by position or by name.
#pragma once

#include <vector>

#include "values/Variable.h"

class VarMap : public Variable {
public:
    // The most keys a map holds as a page variable.
    static constexpr unsigned kMaxElements = 1u << 20;

    explicit VarMap(const NyxString& name = NyxString(), unsigned flags = 0);
    ~VarMap() override;

    Variable* Clone() const override;
    int IsStruct() const override;
    int GetBoolValue() const override;      // not empty
    long GetIntegerValue() const override;  // the number of keys
    unsigned GetElementCount() const override;
    // Positions count from 0; null past the end, or for a key that is not there.
    Variable* GetStructElement(unsigned index) override;
    Variable* GetStructElement(const NyxString& name) override;
    // The position of a key, or GetElementCount() when it is not there.
    unsigned GetStructElementIndex(const NyxString& name) override;
    // Takes `element` (its name is the key) on success; it replaces the
    // element of the same key, or comes last.
    int AddStructElement(Variable* element, int flags) override;
    int IsCompatibleWith(const Variable* other) const override;
    int Assign(Variable* value) override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void AppendText(NyxString& output) const override;  // {key:value,...}

private:
    VarMap(const VarMap& other);
    void Clear();

    std::vector<Variable*> Elements;  // owned
};
