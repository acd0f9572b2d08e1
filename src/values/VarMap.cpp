#include "values/VarMap.h"

#include <new>
#include <utility>

namespace {

// Nesting level of AppendText on this thread; bounds the recursion.
thread_local unsigned textDepth = 0;
constexpr unsigned kMaxTextDepth = 64;

}  // namespace

VarMap::VarMap(const NyxString& name, unsigned flags) : Variable(TypeMap, name, flags) {}

VarMap::VarMap(const VarMap& other) : Variable(other) {
    Elements.reserve(other.Elements.size());
    for (const Variable* element : other.Elements) {
        Variable* copy = element->Clone();
        if (copy != nullptr) Elements.push_back(copy);
    }
}

VarMap::~VarMap() { Clear(); }

void VarMap::Clear() {
    for (Variable* element : Elements) Variable::Delete(element);
    Elements.clear();
}

Variable* VarMap::Clone() const { return new (std::nothrow) VarMap(*this); }
int VarMap::IsStruct() const { return 1; }
int VarMap::GetBoolValue() const { return Elements.empty() ? 0 : 1; }
long VarMap::GetIntegerValue() const { return static_cast<long>(Elements.size()); }
unsigned VarMap::GetElementCount() const { return static_cast<unsigned>(Elements.size()); }

Variable* VarMap::GetStructElement(unsigned index) { return index < Elements.size() ? Elements[index] : nullptr; }

Variable* VarMap::GetStructElement(const NyxString& name) {
    const unsigned index = GetStructElementIndex(name);
    return index < Elements.size() ? Elements[index] : nullptr;
}

unsigned VarMap::GetStructElementIndex(const NyxString& name) {
    for (std::size_t i = 0; i < Elements.size(); ++i) {
        if (Elements[i]->GetVarName() == name) return static_cast<unsigned>(i);
    }
    return static_cast<unsigned>(Elements.size());
}

int VarMap::AddStructElement(Variable* element, int) {
    if (element == nullptr) return 0;
    const unsigned index = GetStructElementIndex(element->GetVarName());
    if (index < Elements.size()) {
        Variable::Delete(Elements[index]);
        Elements[index] = element;
        return 1;
    }
    if (Elements.size() >= kMaxElements) return 0;
    Elements.push_back(element);
    return 1;
}

int VarMap::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && other->GetTypeId() == TypeMap ? 1 : 0;
}

int VarMap::Assign(Variable* value) {
    if (value == nullptr || value->GetTypeId() != TypeMap) return 0;
    Variable* source = value->Dereference() != nullptr ? value->Dereference() : value;
    if (source == this) return 1;
    VarMap copy(*static_cast<VarMap*>(source));
    std::swap(Elements, copy.Elements);
    return 1;
}

void VarMap::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void VarMap::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "map";
}

void VarMap::AppendText(NyxString& output) const {
    if (textDepth >= kMaxTextDepth) {
        output += "{...}";
        return;
    }
    ++textDepth;
    output.Append('{', 1);
    for (std::size_t i = 0; i < Elements.size(); ++i) {
        if (i > 0) output.Append(',', 1);
        output += Elements[i]->GetVarName();
        output.Append(':', 1);
        Elements[i]->AppendText(output);
    }
    output.Append('}', 1);
    --textDepth;
}
