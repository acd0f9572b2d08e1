// VarArray and its typed forms: an ordered list of variables that the array
// owns, with a model variable that gives new elements their type.
#pragma once

#include "values/Variable.h"

class VarArray : public Variable {
public:
    // The most elements an array holds: SetArraySize and AdjustArraySize
    // beyond it, and AddArrayElement on a full array, are refused. It keeps a
    // script's `a[n]` from asking for unbounded memory.
    static constexpr unsigned kMaxArrayElements = 1u << 20;
    // How deep nested arrays are written out; deeper ones appear as "[...]".
    static constexpr unsigned kMaxTextDepth = 64;

    // ElementType is cloned; the array owns its copy. A null model makes an
    // array of mixed values.
    explicit VarArray(const NyxString& name = NyxString(), unsigned flags = 0, const Variable* elementType = nullptr);
    ~VarArray() override;

    Variable* Clone() const override;
    int IsArray() const override;
    const Variable* GetArrayElementType() const override;
    unsigned GetElementCount() const override;
    Variable* GetArrayElement(unsigned index) override;
    void SetArraySize(unsigned size) override;
    void AdjustArraySize(int delta) override;
    int AddArrayElement(Variable* element) override;
    void DeleteArrayElement(unsigned index) override;
    Variable* RemoveArrayElement(unsigned index) override;
    void SwapArrayElements(unsigned a, unsigned b) override;
    int IsCompatibleWith(const Variable* other) const override;
    int Assign(Variable* value) override;
    void DumpValue(NyxString& output, const NyxString& prefix) const override;
    void DumpType(NyxString& output, const NyxString& prefix, int depth) const override;
    void AppendText(NyxString& output) const override;

    VarArray& operator=(const VarArray& other);

protected:
    VarArray(const VarArray& other);
    virtual const char* TypeName() const { return "array"; }
    Variable* MakeElement() const;  // a fresh element of the model's type
    // Copies of the elements of `source`, converted to the model's type; null
    // if one of them cannot be copied or converted.
    struct ArrayBody;
    ArrayBody* CopyElementsOf(Variable* source) const;
    static void DeleteBody(ArrayBody* body);

    struct ArrayBody {
        unsigned Reserved[2] = {0, 0};
        NyxVector<Variable*> Elements;  // owned
    };

    const Variable* ElementType;  // owned model, or null
    ArrayBody* Body;              // owned, never null
};

#define VEXL_TYPED_ARRAY(ClassName, Name)                                                          \
    class ClassName : public VarArray {                                                            \
    public:                                                                                        \
        explicit ClassName(const NyxString& name = NyxString(), unsigned flags = 0);               \
        Variable* Clone() const override;                                                          \
                                                                                                   \
    protected:                                                                                     \
        ClassName(const ClassName& other) = default;                                               \
        const char* TypeName() const override { return Name; }                                     \
    };

VEXL_TYPED_ARRAY(VarBooleanArray, "bool[]")
VEXL_TYPED_ARRAY(VarCharArray, "char[]")
VEXL_TYPED_ARRAY(VarIntegerArray, "integer[]")
VEXL_TYPED_ARRAY(VarFloatArray, "float[]")
VEXL_TYPED_ARRAY(VarDoubleArray, "double[]")
VEXL_TYPED_ARRAY(VarStringArray, "string[]")

#undef VEXL_TYPED_ARRAY
