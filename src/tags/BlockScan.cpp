// Partner searches through the list's block index, which answers each in
// constant time after one linear pass over the list.
#include "tags/BlockScan.h"

#include "values/HtmlObjectList.h"

int FindIfPartner(const HtmlObjectList& list, int index, IfStop stop) {
    return list.GetBlockIndex().FindIfPartner(index, stop);
}

int FindLoopPartner(const HtmlObjectList& list, int index) { return list.GetBlockIndex().FindLoopPartner(index); }
