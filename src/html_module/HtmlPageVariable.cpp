// HtmlPageVariable: a page's objects as a script value.
#include "html_module/HtmlPageVariable.h"

#include <new>

#include "values/HtmlObjectList.h"

HtmlPageVariable::HtmlPageVariable(std::shared_ptr<const HtmlPageSnapshot> snapshot, const NyxString& name)
    : Variable(TypeHandle, name), Snapshot(std::move(snapshot)) {}

HtmlPageVariable* HtmlPageVariable::FromList(const HtmlObjectList& list, const NyxString& name) {
    auto snapshot = std::make_shared<HtmlPageSnapshot>();
    snapshot->FilePath = list.GetFilePath();
    const unsigned count = list.GetCount();
    snapshot->Objects.reserve(count);
    for (unsigned i = 0; i < count; ++i) {
        // A copy straight from the list: the page need not make its own objects.
        HtmlObject* copy = list.CopyEntry(static_cast<int>(i));
        if (copy == nullptr) return nullptr;
        snapshot->Objects.emplace_back(copy);
    }
    return new (std::nothrow) HtmlPageVariable(std::move(snapshot), name);
}

Variable* HtmlPageVariable::Clone() const { return new (std::nothrow) HtmlPageVariable(*this); }

void* HtmlPageVariable::GetHandleValue() const {
    return const_cast<HtmlPageSnapshot*>(Snapshot.get());  // read only, by contract
}

NyxString HtmlPageVariable::GetHandleName() const { return NyxString(kHandleName); }

int HtmlPageVariable::IsCompatibleWith(const Variable* other) const {
    return other != nullptr && other->GetTypeId() == TypeHandle && other->GetHandleName() == kHandleName ? 1 : 0;
}

void HtmlPageVariable::DumpType(NyxString& output, const NyxString& prefix, int) const {
    output += prefix;
    output += "htmlpage";
}

void HtmlPageVariable::DumpValue(NyxString& output, const NyxString& prefix) const {
    output += prefix;
    AppendText(output);
}

void HtmlPageVariable::AppendText(NyxString& output) const {
    NyxString text;
    text.Printf("[html page: %u objects]", Snapshot->GetCount());
    output += text;
}

const HtmlPageVariable* HtmlPageVariable::From(Variable* variable) {
    if (variable == nullptr) return nullptr;
    Variable* origin = variable->Dereference();
    return dynamic_cast<const HtmlPageVariable*>(origin != nullptr ? origin : variable);
}
