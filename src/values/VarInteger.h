// VarInteger: a int value of the script language.
#pragma once

#include <cstdint>

#include "values/Variable.h"

// Final: code that holds a VarInteger reads and writes it without virtual calls.
class VarInteger final : public Variable {
public:
    explicit VarInteger(const NyxString& name = NyxString(), unsigned flags = 0);
    ~VarInteger() override = default;

    Variable* Clone() const override;
    void SetIntegerValue(long value) override;
    int GetBoolValue() const override;
    char GetCharValue() const override;
    long GetIntegerValue() const override;
    float GetFloatValue() const override;
    double GetDoubleValue() const override;
    void* GetHandleValue() const override;
    int IsCompatibleWith(const Variable* other) const override;
    int Assign(Variable* value) override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void AppendText(NyxString& output) const override;

    VarInteger& operator=(const VarInteger& other);

    // The variable itself when it is a VarInteger (not a duplicate of one).
    static VarInteger* Plain(Variable* variable) {
        return variable != nullptr && variable->GetOwnTypeId() == TypeInteger ? static_cast<VarInteger*>(variable)
                                                                               : nullptr;
    }

protected:
    VarInteger(const VarInteger& other);

    int32_t Value;
};
