// VexlParse user-defined tags: DEFTAG binds a tag name to a procedure, which
// then runs for each such tag with the page and the tag's position.
#include "quince/Stack.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"
#include "values/VarInteger.h"

void VexlParse::HandleDefineTag(HtmlObject* tag) {
    if (tag->FindEntry("name") == 0) {
        Page->ErrorOutput(tag->GetLineNum(), "<P>DEFTAG tag does not have 'name' parameter.</P>\n");
        return;
    }
    const NyxString name = tag->GetStrValue("name");
    if (tag->FindEntry("proc") == 0) {
        Page->ErrorOutput(tag->GetLineNum(), "<P>DEFTAG tag does not have 'proc' parameter.</P>\n");
        return;
    }
    const NyxString proc = tag->GetStrValue("proc");
    const int parseFlag = static_cast<int>(tag->GetIntValue("parseoutput"));
    Page->TagDefs.AddDefinition(name, proc, parseFlag);
}

int VexlParse::HandleUserTag(HtmlObject* tag, int index) {
    if (HtmlFileVariable == nullptr) HtmlFileVariable = Page->GetHtmlFileVariable();
    if (HtmlFileVariable == nullptr) {
        Page->ErrorOutput(tag->GetLineNum(), "<P>Failed to create HtmlTagList for user defined tag</P>\n");
        return -1;
    }
    Stack stack;
    stack.PushVariable(HtmlFileVariable->Duplicate());
    VarInteger position;
    position.SetIntegerValue(index);
    stack.PushVariable(position.Duplicate());

    NyxString key(tag->IsEndTag() ? "/" : "");
    key += tag->GetTagLabel();
    const NyxString proc = Page->TagDefs.GetDefinition(key);
    const int flag = Page->TagDefs.GetParseFlag(key);
    RunQuinceProcedure(proc, &stack, flag != 0 ? 1 : 0);
    // A procedure may move the position anywhere, back too: the request's
    // clock bounds the walks that come again, and a position past the end
    // (or far before the start) is taken as there, so that the walker's int
    // cannot wrap.
    if (StopsForTime(tag->GetLineNum())) return -1;
    const long moved = position.GetIntegerValue();
    const long end = static_cast<long>(Page->HtmlList->GetCount());
    constexpr long kFarBefore = -(1L << 30);
    return static_cast<int>(moved > end ? end : moved < kFarBefore ? kFarBefore : moved);
}
