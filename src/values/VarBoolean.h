// VarBoolean: a bool value of the script language.
#pragma once

#include <cstdint>

#include "values/Variable.h"

class VarBoolean : public Variable {
public:
    explicit VarBoolean(const NyxString& name = NyxString(), unsigned flags = 0);
    ~VarBoolean() override = default;

    Variable* Clone() const override;
    void SetBoolValue(int value) override;
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

    VarBoolean& operator=(const VarBoolean& other);

protected:
    VarBoolean(const VarBoolean& other);

    int Value;
};
