// HeaderList: the response headers a page gathers for its caller, in order
// of first insertion, at most one pair per name (names compared without case).
#pragma once

#include "values/NyxString.h"
#include "values/NyxVector.h"

class HeaderList {
public:
    struct HeaderPair {
        NyxString Name;   // always lower case
        NyxString Value;
    };

    HeaderList() = default;
    HeaderList(const HeaderList&) = default;
    HeaderList& operator=(const HeaderList&) = default;
    virtual ~HeaderList() = default;

    // Replaces a pair of the same name in place (returning its index), or
    // appends a new one and returns the new count.
    int Add(const NyxString& name, const NyxString& value);
    int Find(const NyxString& name);
    NyxString GetValue(const NyxString& name);
    NyxString GetValue(int index);
    NyxString GetName(int index);
    int GetCount();
    void Delete(const NyxString& name);
    void Delete(int index);

private:
    NyxVector<HeaderPair> Pairs;
};
