// Partner searches by depth over the flat list. Only the ids of one family
// count: IF tags for the conditional searches, LOOP tags for the loop's.
#include "tags/BlockScan.h"

#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

int FindIfPartner(const HtmlObjectList& list, int index, IfStop stop) {
    int depth = 0;
    int at = index + 1;
    for (const HtmlObject* object = list.GetEntry(at); object != nullptr; object = list.GetEntry(++at)) {
        switch (object->GetTagId()) {
        case TagId::If:
            ++depth;
            break;
        case TagId::EndIf:
            if (depth == 0) return at;
            --depth;
            break;
        case TagId::ElseIf:
            if (depth == 0 && stop == IfStop::ElseIfElseEnd) return at;
            break;
        case TagId::Else:
            if (depth == 0 && stop != IfStop::End) return at;
            break;
        default:
            break;
        }
    }
    return at - 1;
}

int FindLoopPartner(const HtmlObjectList& list, int index) {
    int depth = 0;
    int at = index + 1;
    for (const HtmlObject* object = list.GetEntry(at); object != nullptr; object = list.GetEntry(++at)) {
        if (object->GetTagId() != TagId::Loop) continue;
        if (object->IsEndTag()) {
            if (depth == 0) return at;
            --depth;
        } else {
            ++depth;
        }
    }
    return at;
}
