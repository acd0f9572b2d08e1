// VarArray: an owned list of variables with an optional model for new
// elements; the typed arrays differ only in their model and type name.
#include "values/VarArray.h"

#include <new>
#include <utility>

#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

// Nesting level of AppendText on this thread; bounds the recursion.
thread_local unsigned textDepth = 0;

}  // namespace

VarArray::VarArray(const NyxString& name, unsigned flags, const Variable* elementType)
    : Variable(TypeArray, name, flags),
      ElementType(elementType != nullptr ? elementType->Clone() : nullptr),
      Body(new ArrayBody) {}

VarArray::VarArray(const VarArray& other)
    : Variable(other),
      ElementType(other.ElementType != nullptr ? other.ElementType->Clone() : nullptr),
      Body(new ArrayBody) {
    const NyxVector<Variable*>& source = other.Body->Elements;
    for (unsigned i = 0; i < source.Size(); ++i) {
        Variable* copy = source[i]->Clone();
        if (copy != nullptr) Body->Elements.PushBack(copy);
    }
}

VarArray::~VarArray() {
    DeleteBody(Body);
    delete ElementType;
}

void VarArray::DeleteBody(ArrayBody* body) {
    if (body == nullptr) return;
    NyxVector<Variable*>& elements = body->Elements;
    for (unsigned i = 0; i < elements.Size(); ++i) delete elements[i];
    elements.Clear(true);
    delete body;
}

VarArray& VarArray::operator=(const VarArray& other) {
    if (this == &other) return *this;
    Variable::operator=(other);
    VarArray copy(other);
    std::swap(ElementType, copy.ElementType);
    std::swap(Body, copy.Body);
    return *this;
}

Variable* VarArray::Clone() const { return new (std::nothrow) VarArray(*this); }

// A mixed array has no model; its new elements are empty strings, whose
// numbers read 0 and whose text is empty.
Variable* VarArray::MakeElement() const {
    if (ElementType != nullptr) return ElementType->Clone();
    return new (std::nothrow) VarString();
}

int VarArray::IsArray() const { return 1; }
const Variable* VarArray::GetArrayElementType() const { return ElementType; }
unsigned VarArray::GetElementCount() const { return Body->Elements.Size(); }

Variable* VarArray::GetArrayElement(unsigned index) {
    if (index >= Body->Elements.Size()) return nullptr;
    return Body->Elements[index];
}

void VarArray::SetArraySize(unsigned size) {
    if (size > kMaxArrayElements) return;
    NyxVector<Variable*>& elements = Body->Elements;
    while (elements.Size() > size) {
        const unsigned last = elements.Size() - 1;
        delete elements[last];
        elements.Remove(last);
    }
    while (elements.Size() < size) {
        Variable* element = MakeElement();
        if (element == nullptr) return;
        elements.PushBack(element);
    }
}

void VarArray::AdjustArraySize(int delta) {
    const long long size = static_cast<long long>(GetElementCount()) + delta;
    SetArraySize(size < 0 ? 0u : size > kMaxArrayElements ? kMaxArrayElements + 1u : static_cast<unsigned>(size));
}

// A duplicate is stored as a copy of its origin, since it must not outlive
// it; a value of another type than the model is stored converted.
int VarArray::AddArrayElement(Variable* element) {
    if (element == nullptr || element == this || GetElementCount() >= kMaxArrayElements) return 0;
    Variable* stored = element;
    const bool isReference = element->Dereference() != nullptr;
    const bool needsConversion = ElementType != nullptr && element->GetTypeId() != ElementType->GetTypeId();
    if (isReference || needsConversion) {
        stored = ElementType != nullptr ? MakeElement() : element->Clone();
        if (stored == nullptr) return 0;
        if (ElementType != nullptr && stored->Assign(element) == 0) {
            delete stored;
            return 0;
        }
    }
    Body->Elements.PushBack(stored);
    if (stored != element) delete element;
    return 1;
}

void VarArray::DeleteArrayElement(unsigned index) {
    if (index >= Body->Elements.Size()) return;
    delete Body->Elements[index];
    Body->Elements.Remove(index);
}

Variable* VarArray::RemoveArrayElement(unsigned index) {
    if (index >= Body->Elements.Size()) return nullptr;
    Variable* element = Body->Elements[index];
    Body->Elements.Remove(index);
    return element;
}

void VarArray::SwapArrayElements(unsigned a, unsigned b) {
    NyxVector<Variable*>& elements = Body->Elements;
    if (a >= elements.Size() || b >= elements.Size() || a == b) return;
    std::swap(elements[a], elements[b]);
}

int VarArray::IsCompatibleWith(const Variable* other) const {
    if (other == nullptr || !other->IsArray()) return 0;
    const Variable* otherType = other->GetArrayElementType();
    if (ElementType == nullptr || otherType == nullptr) return 1;
    return ElementType->IsCompatibleWith(otherType);
}

VarArray::ArrayBody* VarArray::CopyElementsOf(Variable* source) const {
    ArrayBody* body = new (std::nothrow) ArrayBody;
    if (body == nullptr) return nullptr;
    const unsigned count = source->GetElementCount();
    for (unsigned i = 0; i < count; ++i) {
        Variable* from = source->GetArrayElement(i);
        Variable* copy = nullptr;
        if (from != nullptr) copy = ElementType != nullptr ? MakeElement() : from->Clone();
        if (copy != nullptr && ElementType != nullptr && copy->Assign(from) == 0) {
            delete copy;
            copy = nullptr;
        }
        if (copy == nullptr) {
            DeleteBody(body);
            return nullptr;
        }
        body->Elements.PushBack(copy);
    }
    return body;
}

// The elements are copied before the old ones go, so `value` may be one of
// them. Either every element converts, or nothing changes.
int VarArray::Assign(Variable* value) {
    if (value == nullptr || !value->IsArray()) return 0;
    Variable* source = value->Dereference() != nullptr ? value->Dereference() : value;
    if (source == this) return 1;
    ArrayBody* body = CopyElementsOf(source);
    if (body == nullptr) return 0;
    std::swap(Body, body);
    DeleteBody(body);
    return 1;
}

void VarArray::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarArray::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += TypeName();
}

void VarArray::AppendText(NyxString& output) const {
    if (textDepth >= kMaxTextDepth) {
        output += "[...]";
        return;
    }
    ++textDepth;
    output.Append('[', 1);
    const NyxVector<Variable*>& elements = Body->Elements;
    for (unsigned i = 0; i < elements.Size(); ++i) {
        if (i > 0) output.Append(',', 1);
        elements[i]->AppendText(output);
    }
    output.Append(']', 1);
    --textDepth;
}

#define VEXL_TYPED_ARRAY_BODY(ClassName, ElementClass)                                             \
    ClassName::ClassName(const NyxString& name, unsigned flags) : VarArray(name, flags, nullptr) { \
        ElementType = new ElementClass();                                                          \
    }                                                                                              \
    Variable* ClassName::Clone() const { return new (std::nothrow) ClassName(*this); }

VEXL_TYPED_ARRAY_BODY(VarBooleanArray, VarBoolean)
VEXL_TYPED_ARRAY_BODY(VarCharArray, VarChar)
VEXL_TYPED_ARRAY_BODY(VarIntegerArray, VarInteger)
VEXL_TYPED_ARRAY_BODY(VarFloatArray, VarFloat)
VEXL_TYPED_ARRAY_BODY(VarDoubleArray, VarDouble)
VEXL_TYPED_ARRAY_BODY(VarStringArray, VarString)

#undef VEXL_TYPED_ARRAY_BODY
