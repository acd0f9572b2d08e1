// VexlLoop: the initialiser and iterator are compiled once per list entry
// into procedures whose names the tag keeps; the condition is compiled
// afresh before every pass, and one walker serves all passes; from the second
// pass on, a body that can be planned runs from its plan.
#include "blocks/VexlLoop.h"

#include "blocks/LoopPlan.h"
#include "quince/PreparedExpression.h"
#include "page/VexlPage.h"
#include "tags/BlockScan.h"
#include "tags/VexlParse.h"
#include "values/HtmlTagIds.h"

VexlLoop::VexlLoop(VexlPage* page) : VexlBase(page), FileStem(PageFileStem()) {}

int VexlLoop::FindLoopEndTag(int index) { return FindLoopPartner(*Page->HtmlList, index); }

int VexlLoop::Start(int index, HtmlObject*) {
    HtmlObject* tag = Page->HtmlList->GetEntry(index);
    if (tag->IsEndTag()) return index;
    const unsigned line = tag->GetLineNum();
    // Compiled once here; every pass checks it as a fresh compile would.
    PreparedExpression condition(Page->Context, tag->GetStrValue("condition"));

    const NyxString initialiser = tag->GetStrValue("initialiser");
    if (initialiser.IsNotEmpty()) {
        const NyxString cached = tag->GetStrValue("cachedinit");
        if (cached.IsNotEmpty()) {
            RunQuinceProcedure(cached, nullptr, 0);
        } else {
            NyxString name;
            name.Printf("%S_%u_1", &FileStem, static_cast<unsigned>(index));
            if (SynthesizeProcedure(index, initialiser, name, "cachedinit", line) != 0) {
                RunQuinceProcedure(name, nullptr, 0);
            }
        }
    }

    NyxString iterator = Page->HtmlList->GetEntry(index)->GetStrValue("iterator");
    if (iterator.IsNotEmpty()) {
        if (Page->HtmlList->GetEntry(index)->GetStrValue("cachediter").IsEmpty()) {
            NyxString name;
            name.Printf("%S_%u_2", &FileStem, static_cast<unsigned>(index));
            SynthesizeProcedure(index, iterator, name, "cachediter", line);
        }
        iterator = Page->HtmlList->GetEntry(index)->GetStrValue("cachediter");
    }

    HtmlObject stop(0);
    stop.SetTagId(TagId::Loop, 1);
    VexlParse walker(Page);
    // A plan is made on a second pass, so a loop that runs once costs none,
    // and kept with the list for the tag's later visits.
    LoopPlan* plan = LoopPlan::Find(*Page, index);
    bool walkedOnce = false;
    ++Page->Walks->Loops;
    while (!StopsForTime(line) && EvaluateCondition(condition) != 0) {
        if (plan == nullptr && walkedOnce && Page->Walks->PlanLoops) plan = LoopPlan::Make(walker, index);
        if (plan != nullptr && plan->Fits(*Page)) {
            plan->Run(walker);
        } else {
            walker.Start(index + 1, &stop);
            plan = LoopPlan::Find(*Page, index);  // a walk that changed the list took the plan away
        }
        walkedOnce = true;
        if (iterator.IsNotEmpty()) RunQuinceProcedure(iterator, nullptr, 0);
    }
    --Page->Walks->Loops;
    if (Page->Walks->Ended) return -1;
    return FindLoopEndTag(index);
}
