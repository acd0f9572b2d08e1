// HtmlTagParamList: the parameters of a tag; GetTagParamValues.
#include "values/HtmlTagParamList.h"

#include <cstdlib>
#include <cstring>

#include "values/HtmlObject.h"

namespace {

void DeleteCharArray(void* entry) { delete[] static_cast<char*>(entry); }

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        unsigned char x = static_cast<unsigned char>(a[i]);
        unsigned char y = static_cast<unsigned char>(b[i]);
        if (x == y) continue;
        if (x >= 'A' && x <= 'Z') x += 32;
        if (y >= 'A' && y <= 'Z') y += 32;
        if (x != y) return false;
    }
    return true;
}

// Items of a list value are separated by commas, semicolons and blanks.
bool IsItemSeparator(char c) { return c == ',' || c == ';' || c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

}  // namespace

void HtmlTagParamList::DeleteParam(void* entry) { delete static_cast<HtmlTagParam*>(entry); }

HtmlTagParamList::HtmlTagParamList(const HtmlTagParamList& other) : NodeList(DeleteParam) {
    for (unsigned i = 1; i <= other.GetCount(); ++i) {
        NodeList::AddEntry(new HtmlTagParam(*static_cast<const HtmlTagParam*>(other.NodeList::GetEntry(i))));
    }
}

HtmlTagParamList& HtmlTagParamList::operator=(const HtmlTagParamList& other) {
    if (this == &other) return *this;
    DeleteAllEntries();
    for (unsigned i = 1; i <= other.GetCount(); ++i) {
        NodeList::AddEntry(new HtmlTagParam(*static_cast<const HtmlTagParam*>(other.NodeList::GetEntry(i))));
    }
    return *this;
}

HtmlTagParamList::~HtmlTagParamList() = default;

int HtmlTagParamList::AddEntry(HtmlTagParam* param) {
    if (param == nullptr) return 0;
    return NodeList::AddEntry(param);
}

int HtmlTagParamList::FindEntry(std::string_view name, bool caseSensitive) const {
    for (unsigned i = 1; i <= GetCount(); ++i) {
        const std::string_view candidate = static_cast<const HtmlTagParam*>(NodeList::GetEntry(i))->GetName().View();
        if (caseSensitive ? candidate == name : EqualIgnoringCase(candidate, name)) return static_cast<int>(i);
    }
    return 0;
}

int HtmlTagParamList::FindEntry(const NyxString& name) const { return FindEntry(name.View(), false); }

int HtmlTagParamList::FindEntry(const char* name) const {
    return name == nullptr ? 0 : FindEntry(std::string_view(name), false);
}

int HtmlTagParamList::FindEntryExact(const NyxString& name) const { return FindEntry(name.View(), true); }

int HtmlTagParamList::FindEntryExact(const char* name) const {
    return name == nullptr ? 0 : FindEntry(std::string_view(name), true);
}

void HtmlTagParamList::DeleteEntry(int index) {
    if (index < 1) return;
    NodeList::DeleteEntry(static_cast<unsigned>(index));
}

NyxString HtmlTagParamList::GetStrValue(const NyxString& name) const {
    const int number = FindEntry(name.View(), false);
    return number == 0 ? NyxString() : GetEntry(number)->GetValue();
}

const NyxString& HtmlTagParamList::GetValueInPlace(std::string_view name) const {
    static const NyxString kAbsent;
    const int number = FindEntry(name, false);
    return number == 0 ? kAbsent : GetEntry(number)->GetValue();
}

long HtmlTagParamList::GetIntValue(const NyxString& name) const {
    const int number = FindEntry(name.View(), false);
    if (number == 0) return 0;
    // The value's buffer is NUL-terminated, so strtol stops at its end.
    return std::strtol(GetEntry(number)->GetValue().GetString(), nullptr, 0);
}

NodeList* GetTagParamValues(HtmlObject* object, const char* name) {
    auto* items = new NodeList(DeleteCharArray);
    if (object == nullptr || name == nullptr) return items;
    int number = object->FindEntry(std::string_view(name), true);
    if (number == 0) number = object->FindEntry(std::string_view(name), false);
    if (number == 0) return items;

    const NyxString& value = object->GetEntry(number)->GetValue();
    const char* text = value.GetString();
    const std::size_t size = value.GetSize();
    std::size_t at = 0;
    while (at < size) {
        while (at < size && IsItemSeparator(text[at])) ++at;
        const std::size_t start = at;
        while (at < size && !IsItemSeparator(text[at])) ++at;
        if (at == start) continue;
        char* item = new char[at - start + 1];
        std::memcpy(item, text + start, at - start);
        item[at - start] = '\0';
        items->AddEntry(item);
    }
    return items;
}
