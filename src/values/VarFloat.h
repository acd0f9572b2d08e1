// VarFloat: a float value of the script language.
#pragma once

#include <cstdint>

#include "values/Variable.h"

class VarFloat : public Variable {
public:
    explicit VarFloat(const NyxString& name = NyxString(), unsigned flags = 0);
    ~VarFloat() override = default;

    Variable* Clone() const override;
    void SetFloatValue(float value) override;
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

    VarFloat& operator=(const VarFloat& other);

protected:
    VarFloat(const VarFloat& other);

    float Value;
};
