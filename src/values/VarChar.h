// VarChar: a char value of the script language.
#pragma once

#include <cstdint>

#include "values/Variable.h"

class VarChar : public Variable {
public:
    explicit VarChar(const NyxString& name = NyxString(), unsigned flags = 0);
    ~VarChar() override = default;

    Variable* Clone() const override;
    void SetCharValue(char value) override;
    int GetBoolValue() const override;
    char GetCharValue() const override;
    long GetIntegerValue() const override;
    float GetFloatValue() const override;
    double GetDoubleValue() const override;
    int IsCompatibleWith(const Variable* other) const override;
    int Assign(Variable* value) override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void AppendText(NyxString& output) const override;

    VarChar& operator=(const VarChar& other);

protected:
    VarChar(const VarChar& other);

    char Value;
};
