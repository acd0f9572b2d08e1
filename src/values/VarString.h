// VarString: a text value of the script language. Its numeric getters read
// the leading number of the text as strtol and strtod would.
#pragma once

#include "values/Variable.h"

class VarString : public Variable {
public:
    explicit VarString(const NyxString& name = NyxString(), unsigned flags = 0);
    ~VarString() override;

    Variable* Clone() const override;
    void SetBoolValue(int value) override;
    void SetCharValue(char value) override;
    void SetIntegerValue(long value) override;
    void SetFloatValue(float value) override;
    void SetDoubleValue(double value) override;
    void SetStringValue(const char* text, unsigned count) override;
    void SetStringValue(const NyxString& text) override;
    int GetBoolValue() const override;
    char GetCharValue() const override;
    long GetIntegerValue() const override;
    float GetFloatValue() const override;
    double GetDoubleValue() const override;
    const char* GetStringValue() const override;
    unsigned GetLength() override;
    int IsCompatibleWith(const Variable* other) const override;
    int Assign(Variable* value) override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void AppendText(NyxString& output) const override;

    // Appends without copying the whole text again. A count of
    // NyxString::kAll means up to the terminator of `text`.
    void AppendString(const char* text, unsigned count);

    VarString& operator=(const VarString& other);

protected:
    VarString(const VarString& other);

    char* Text;            // NUL-terminated, never null
    unsigned TextLength;   // bytes, terminator excluded
    unsigned TextCapacity; // bytes available, terminator excluded
};
