// Variable: a value of the script language, as the page engine and Quince
// exchange it. Each class answers the getters of the other basic types by
// converting its own value; setters of another type are ignored.
#pragma once

#include "values/NyxString.h"
#include "values/NyxVector.h"

class Variable {
public:
    enum enum_TypeId {
        TypeNone = 0,
        TypeHandle = 1,
        TypeBoolean = 2,
        TypeChar = 3,
        TypeInteger = 4,
        TypeFloat = 5,
        TypeDouble = 6,
        TypeString = 7,
        TypeArray = 8,
        TypeReference = 9,  // a Duplicate; GetTypeId answers the origin's id
        TypeMap = 10,       // keys and variables, reached as a structure's elements (VarMap)
    };

    virtual ~Variable();

    virtual Variable* Clone() const;
    virtual void SetBoolValue(int value);
    virtual void SetCharValue(char value);
    virtual void SetIntegerValue(long value);
    virtual void SetFloatValue(float value);
    virtual void SetDoubleValue(double value);
    virtual void SetHandleValue(void* value);
    virtual void SetStringValue(const char* text, unsigned count);
    virtual void SetStringValue(const NyxString& text);
    virtual int GetBoolValue() const;
    virtual char GetCharValue() const;
    virtual long GetIntegerValue() const;
    virtual float GetFloatValue() const;
    virtual double GetDoubleValue() const;
    virtual void* GetHandleValue() const;
    virtual const char* GetStringValue() const;  // never null
    virtual void SetVarName(const NyxString& name);
    virtual NyxString GetVarName();
    virtual enum_TypeId GetTypeId() const;
    virtual unsigned GetLength();

    virtual int IsCompatibleWith(const Variable* other) const;  // IsCompatible forwards here
    virtual int Assign(Variable* value);
    virtual void DumpValue(NyxString& output, const NyxString& prefix) const;

    int IsCompatible(const Variable* other) const { return IsCompatibleWith(other); }
    virtual int IsArray() const;
    virtual int IsStruct() const;
    virtual Variable* Dereference();
    virtual const Variable* GetArrayElementType() const;
    virtual unsigned GetElementCount() const;
    virtual Variable* GetArrayElement(unsigned index);
    virtual void SetArraySize(unsigned size);
    virtual void AdjustArraySize(int delta);
    virtual int AddArrayElement(Variable* element);  // takes ownership on success
    virtual void DeleteArrayElement(unsigned index);
    virtual Variable* RemoveArrayElement(unsigned index);  // caller owns the result
    virtual void SwapArrayElements(unsigned a, unsigned b);
    virtual Variable* GetStructElement(unsigned index);
    virtual Variable* GetStructElement(const NyxString& name);
    virtual unsigned GetStructElementIndex(const NyxString& name);
    virtual int AddStructElement(Variable* element, int flags);
    virtual NyxString GetStructName() const;
    virtual void SetStructName(const NyxString& name);
    virtual NyxString GetHandleName() const;
    virtual void Dump(NyxString& output, const NyxString& prefix, int depth) const;
    virtual void DumpType(NyxString& output, const NyxString& prefix, int depth) const;

    // The value as page text: an integer in decimal, a string as it is, a
    // char as its character, a bool as true or false, a double with %.15g, a
    // float with %.7g, an array as [a,b]. DumpValue differs only for strings.
    virtual void AppendText(NyxString& output) const;
    NyxString GetText() const;

    // The id this object was made with, without a virtual call: a duplicate
    // answers TypeReference here, where GetTypeId answers its origin's.
    enum_TypeId GetOwnTypeId() const { return TypeId; }

    unsigned GetVarFlags() const { return VarFlags; }
    void SetVarFlags(unsigned flags) { VarFlags = flags; }

    // A variable that reads and writes this one. It must not outlive this
    // variable; deleting it leaves this one alone.
    Variable* Duplicate();
    static void Delete(Variable* variable);

    Variable& operator=(const Variable& other);

protected:
    // The six basic value types, between which Assign converts.
    static bool IsScalarTypeId(enum_TypeId id) { return id >= TypeBoolean && id <= TypeString; }

    explicit Variable(enum_TypeId typeId, const NyxString& name = NyxString(), unsigned flags = 0);
    Variable(const Variable& other);

    enum_TypeId TypeId;
    NyxString VarName;
    unsigned VarFlags;
};
