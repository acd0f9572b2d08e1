// TagDefList: the tags a page defined with DEFTAG, each bound to a Quince
// procedure. Names are compared without regard to case; an end tag's key
// carries a leading "/".
#pragma once

#include "values/NyxString.h"
#include "values/NyxVector.h"

class TagDefList {
public:
    struct TagDefinition {
        NyxString Name;
        NyxString Proc;
        int ParseFlag = 0;  // non-zero: the procedure's output is walked as a page
    };

    TagDefList() = default;
    TagDefList(const TagDefList&) = default;
    TagDefList& operator=(const TagDefList&) = default;
    virtual ~TagDefList() = default;

    // Adds a definition, or overwrites all three fields of the one of that name.
    int AddDefinition(const NyxString& name, const NyxString& proc, int parseFlag);
    int FindDefinition(const NyxString& name);
    NyxString GetDefinition(const NyxString& name);
    int GetParseFlag(const NyxString& name);
    void DeleteDefinition(const NyxString& name);
    void DeleteDefinition(int index);
    bool IsEmpty() const { return Definitions.IsEmpty(); }

private:
    NyxVector<TagDefinition> Definitions;
};
