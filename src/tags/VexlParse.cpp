// VexlParse: the walk over a page's objects and the table that sends each
// tag id to its handler.
#include "tags/VexlParse.h"

#include <vector>

#include "blocks/VexlAnchor.h"
#include "blocks/VexlIf.h"
#include "blocks/VexlInclude.h"
#include "blocks/VexlLoop.h"
#include "page/VexlPage.h"
#include "script/VexlScript.h"
#include "values/HtmlTagIds.h"
#include "values/Variable.h"

namespace {

// Runs one block handler for the tag at `index`, and gives back its result.
template <class Handler>
int RunBlock(VexlPage* page, int index) {
    Handler handler(page);
    return handler.Start(index, nullptr);
}

}  // namespace

VexlParse::VexlParse(VexlPage* page) : VexlBase(page) {}

VexlParse::~VexlParse() { delete HtmlFileVariable; }

int VexlParse::Start(int index, HtmlObject* stop) {
    WalkBudget& walks = *Page->Walks;
    if (walks.Depth > walks.Limit) {  // the page's own walk is level 0
        const HtmlObject* entry = Page->HtmlList->GetEntry(index);
        Page->ErrorOutput(entry != nullptr ? entry->GetLineNum() : 0,
                          "<P>Blocks, includes and user tags nest deeper than %u levels.</P>\n",
                          static_cast<unsigned>(walks.Limit));
        return -1;
    }
    ++walks.Depth;
    const int result = Walk(index, stop);
    --walks.Depth;
    return result;
}

int VexlParse::Walk(int index, HtmlObject* stop) {
    for (HtmlObject* entry = Page->HtmlList->GetEntry(index); entry != nullptr;
         entry = Page->HtmlList->GetEntry(index)) {
        if (stop != nullptr && entry->GetTagId() == stop->GetTagId() && entry->IsEndTag() == stop->IsEndTag()) {
            return 1;
        }
        switch (entry->GetTagId()) {
        case TagId::A: index = RunBlock<VexlAnchor>(Page, index); break;
        case TagId::Form: HandleForm(entry); break;
        case TagId::Frame: HandleFrame(entry); break;
        case TagId::Script: index = RunBlock<VexlScript>(Page, index); break;
        case TagId::Include: index = RunBlock<VexlInclude>(Page, index); break;
        case TagId::SetVar: HandleSetVar(entry); break;
        case TagId::Loop: index = RunBlock<VexlLoop>(Page, index); break;
        case TagId::DefTag: HandleDefineTag(entry); break;
        case TagId::If: index = RunBlock<VexlIf>(Page, index); break;
        case TagId::SetHeader: HandleSetHeader(entry); break;
        case TagId::Translation: HandleTranslation(entry); break;
        default: {
            if (!Page->TagDefs.IsEmpty()) {
                NyxString key(entry->IsEndTag() ? "/" : "");
                key += entry->GetTagLabel();
                if (Page->TagDefs.FindDefinition(key) >= 0) {
                    index = HandleUserTag(entry, index);
                    break;
                }
            }
            WriteDefault(entry, index);
            break;
        }
        }
        if (index == -1) return -1;
        ++index;
    }
    return index;
}

// The default path: text is translated and written as it is; a tag is
// written evaluated when a parameter is an expression, then a line end,
// except behind a start tag of id 24.
void VexlParse::WriteDefault(HtmlObject* entry, int index) {
    if (entry->GetTagId() == TagId::Text) {
        if (!Page->TranslationEnabled) {
            Page->AppendOutput(entry->GetText());
            return;
        }
        NyxString text = entry->GetText();
        TranslateText(text);
        Page->AppendOutput(text);
        return;
    }
    const bool lineEnd = !(entry->GetTagId() == TagId::Textarea && !entry->IsEndTag());
    if (!CanEvaluateTag(entry)) {
        Page->AppendListedObject(index, lineEnd);
        return;
    }
    // What EvaluateTag's copy would print, without making the copy: every
    // parameter in order, expressions replaced by their values.
    // Most tags have a few parameters: those need no heap block.
    constexpr unsigned kFewParams = 4;
    const unsigned count = entry->GetCount();
    NyxString fewTexts[kFewParams];
    const NyxString* fewReplacements[kFewParams];
    std::vector<NyxString> manyTexts;
    std::vector<const NyxString*> manyReplacements;
    NyxString* texts = fewTexts;
    const NyxString** replacements = fewReplacements;
    if (count > kFewParams) {
        manyTexts.resize(count);
        manyReplacements.resize(count);
        texts = manyTexts.data();
        replacements = manyReplacements.data();
    }
    for (unsigned i = 0; i < count; ++i) {
        const bool evaluated = EvaluateParamText(entry->GetEntry(static_cast<int>(i) + 1)->GetValue(), texts[i]);
        replacements[i] = evaluated ? &texts[i] : nullptr;
    }
    Page->AppendOutput(*entry, replacements, count);
    if (lineEnd) Page->AppendOutput('\n');
}
