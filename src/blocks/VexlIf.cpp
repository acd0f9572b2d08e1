// VexlIf: conditions are evaluated in page order, each only when all before
// it were false; the branches of the construct that do not hold are skipped
// whole, their conditions unread.
#include "blocks/VexlIf.h"

#include "page/VexlPage.h"
#include "tags/BlockScan.h"
#include "tags/VexlParse.h"
#include "values/HtmlTagIds.h"

int VexlIf::FindElseIfElseEndTag(int index) { return FindIfPartner(*Page->HtmlList, index, IfStop::ElseIfElseEnd); }
int VexlIf::FindEndTag(int index) { return FindIfPartner(*Page->HtmlList, index, IfStop::End); }
int VexlIf::FindElseEndTag(int index) { return FindIfPartner(*Page->HtmlList, index, IfStop::ElseEnd); }

int VexlIf::Start(int index, HtmlObject*) {
    HtmlObject* tag = Page->HtmlList->GetEntry(index);
    int end = 0;
    if (EvaluateCondition(tag->GetValueInPlace("condition")) != 0) {
        end = FindElseIfElseEndTag(index);
    } else {
        // Each step moves forward, so this ends within the list.
        for (;;) {
            const int next = FindElseIfElseEndTag(index);
            if (next == index) return index;  // the last object: nothing more can hold
            index = next;
            HtmlObject* branch = Page->HtmlList->GetEntry(index);
            const int id = branch->GetTagId();
            if (id == TagId::ElseIf) {
                if (EvaluateCondition(branch->GetValueInPlace("condition")) == 0) continue;
                end = FindElseIfElseEndTag(index);
            } else if (id == TagId::Else) {
                end = FindEndTag(index);
            } else {
                return index;  // ENDIF, or the list ran out
            }
            break;
        }
    }

    HtmlObject stop(0);
    stop.SetTagId(Page->HtmlList->GetEntry(end)->GetTagId(), 0);
    VexlParse walker(Page);
    walker.Start(index + 1, &stop);
    return FindEndTag(index);
}
