// HtmlTagParamList: the parameters of a tag, numbered from 1, owned by the list.
#pragma once

#include <string_view>

#include "foundation/NodeList.h"
#include "values/HtmlTagParam.h"
#include "values/NyxString.h"

class HtmlObject;

class HtmlTagParamList : public NodeList {
public:
    HtmlTagParamList() : NodeList(DeleteParam) {}
    HtmlTagParamList(const HtmlTagParamList& other);             // deep: copies every parameter
    HtmlTagParamList& operator=(const HtmlTagParamList& other);  // deep
    ~HtmlTagParamList() override;

    // Parameter number `index` (1 .. GetCount()), null otherwise.
    HtmlTagParam* GetEntry(int index) const {
        return static_cast<HtmlTagParam*>(NodeList::GetEntry(static_cast<unsigned>(index)));
    }
    // Takes ownership; returns the parameter's number.
    int AddEntry(HtmlTagParam* param);
    // Number of the first parameter of that name, ignoring case; 0 if absent.
    int FindEntry(const NyxString& name) const;
    int FindEntry(const char* name) const;
    // The same, with the name compared exactly.
    int FindEntryExact(const NyxString& name) const;
    int FindEntryExact(const char* name) const;
    // Either, by `caseSensitive`.
    int FindEntry(std::string_view name, bool caseSensitive) const;
    // Removes and destroys number `index`; the ones behind it move up.
    void DeleteEntry(int index);
    // The value of the named parameter (ignoring case); empty if absent.
    NyxString GetStrValue(const NyxString& name) const;
    // The same value read in place (an empty text when absent), for a caller
    // that reads it at every visit; valid while the parameter exists.
    const NyxString& GetValueInPlace(std::string_view name) const;
    // The leading part of the value read as strtol with base 0 reads it; 0 if
    // absent or not a number.
    long GetIntValue(const NyxString& name) const;

private:
    static void DeleteParam(void* entry);
};

// Splits the value of the named parameter into items at commas, semicolons
// and blanks, in any mix; empty items are dropped. The parameter is looked up
// by its exact name first, then ignoring case. The result is a new list that
// the caller deletes; its entries are NUL-terminated char* owned by the list,
// numbered from 1. An absent parameter (or a null object) gives an empty list.
NodeList* GetTagParamValues(HtmlObject* object, const char* name);
