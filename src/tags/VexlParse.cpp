// VexlParse: the walk over a page's objects and the table that sends each
// tag id to its handler.
#include "tags/VexlParse.h"

#include <utility>
#include <vector>

#include "blocks/VexlAnchor.h"
#include "blocks/VexlIf.h"
#include "blocks/VexlInclude.h"
#include "blocks/VexlLoop.h"
#include "foundation/StackRoom.h"
#include "page/SafeOutput.h"
#include "page/VexlPage.h"
#include "script/VexlScript.h"
#include "tags/TagTraits.h"
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

bool VexlParse::LineEndBehind(int id, int isEnd) { return !(id == TagId::Textarea && isEnd == 0); }

VexlParse::~VexlParse() { delete HtmlFileVariable; }

int VexlParse::Start(int index, HtmlObject* stop) {
    WalkBudget& walks = *Page->Walks;
    if (walks.Depth > walks.Limit) {  // the page's own walk is level 0
        Page->ErrorOutput(Page->HtmlList->GetLineNumOf(index), "<P>Blocks, includes and user tags nest deeper than %u levels.</P>\n",
                          static_cast<unsigned>(walks.Limit));
        return -1;
    }
    // Each level is a few frames of the walker and a handler; a quarter of
    // the stack is kept for the deepest work a handler does (a script, a
    // compile), whatever limit the configuration allows.
    if (StackIsLow(0.25)) {
        Page->ErrorOutput(Page->HtmlList->GetLineNumOf(index), "<P>Blocks, includes and user tags nest deeper than this server's stack allows (%u levels).</P>\n",
                          static_cast<unsigned>(walks.Depth));
        return -1;
    }
    ++walks.Depth;
    const int result = Walk(index, stop);
    --walks.Depth;
    return result;
}

// Objects that the walk writes as they are whatever the page's state, as
// long as the page writes objects as written: text, and tags of HTML without
// handler and without expression parameters.
bool VexlParse::PrintsAsItIs(int index) {
    const int id = Page->HtmlList->GetTagIdOf(index);
    if (!GetTagTraits(id).PrintsAsItIs) return false;
    return id == TagId::Text || !Page->HtmlList->HasExpressionParam(index);
}

// Writes the stretch of objects from `index` that print as they are, as
// WriteDefault would write them one by one; from the second visit on, the
// stretch is written from its kept text. Returns the last index written.
int VexlParse::WriteStretch(int index) {
    const HtmlObjectList& list = *Page->HtmlList;
    HtmlKeptRuns& runs = list.GetKeptRuns();
    std::string_view kept;
    unsigned next = 0;
    switch (runs.Look(static_cast<unsigned>(index), list.GetCount(), kept, next)) {
    case HtmlKeptRuns::State::Kept:
        Page->AppendOutput(kept.data(), static_cast<unsigned>(kept.size()));
        return static_cast<int>(next) - 1;
    case HtmlKeptRuns::State::FirstVisit:
        WriteDefault(index);
        return index;
    case HtmlKeptRuns::State::SecondVisit:
        break;
    }
    NyxString text;
    int end = index;
    for (; list.GetTagIdOf(end) >= 0 && PrintsAsItIs(end); ++end) {
        list.AppendOutputOf(end, text);
        const int id = list.GetTagIdOf(end);
        if (id != TagId::Text && LineEndBehind(id, list.IsEndTagOf(end))) text.Append('\n');
    }
    runs.Keep(static_cast<unsigned>(index), static_cast<unsigned>(end), text.View());
    Page->AppendOutput(text);
    return end - 1;
}

// A tag whose label (with "/" before it on an end tag) the page defined.
bool VexlParse::IsUserTag(int index) {
    if (Page->TagDefs.IsEmpty() || Page->HtmlList->GetTagIdOf(index) == TagId::Text) return false;
    NyxString key(Page->HtmlList->IsEndTagOf(index) ? "/" : "");
    key += Page->HtmlList->GetLabelOf(index);
    return Page->TagDefs.FindDefinition(key) >= 0;
}

int VexlParse::Walk(int index, HtmlObject* stop) {
    // Stretches pay off only where the walk comes by again, in a loop's body
    // or in the next request for a page kept by a long-running process; one
    // is written whole only if no object in it could be the stop.
    const HtmlObjectList& list = *Page->HtmlList;
    const bool stretches = (Page->Walks->Loops > 0 || list.IsKeptAcrossRequests()) &&
                           (stop == nullptr || stop->GetTagId() >= TagId::FirstOwnTag);
    for (int id = list.GetTagIdOf(index); id >= 0; id = list.GetTagIdOf(index)) {
        if (stop != nullptr && id == stop->GetTagId() && list.IsEndTagOf(index) == stop->IsEndTag()) {
            return 1;
        }
        const TagHandling handling = GetTagTraits(id).Handling;
        if (handling == TagHandling::Written) {
            if (stretches && Page->WritesObjectsAsWritten() && PrintsAsItIs(index)) {
                index = WriteStretch(index);
            } else if (IsUserTag(index)) {
                index = HandleUserTag(list.GetEntry(index), index);
            } else {
                WriteDefault(index);
            }
            if (index == -1 || Page->Walks->Ended) return -1;
            ++index;
            continue;
        }
        HtmlObject* entry = list.GetEntry(index);
        switch (handling) {
        case TagHandling::Anchor: index = RunBlock<VexlAnchor>(Page, index); break;
        case TagHandling::Form: HandleForm(entry); break;
        case TagHandling::Frame: HandleFrame(entry); break;
        case TagHandling::Script: index = RunBlock<VexlScript>(Page, index); break;
        case TagHandling::Include: index = RunBlock<VexlInclude>(Page, index); break;
        case TagHandling::SetVar: HandleSetVar(entry); break;
        case TagHandling::Loop: index = RunBlock<VexlLoop>(Page, index); break;
        case TagHandling::DefineTag: HandleDefineTag(entry); break;
        case TagHandling::If: index = RunBlock<VexlIf>(Page, index); break;
        case TagHandling::SetHeader: HandleSetHeader(entry); break;
        case TagHandling::Translation: HandleTranslation(entry); break;
        case TagHandling::Written: break;
        }
        if (index == -1 || Page->Walks->Ended) return -1;
        ++index;
    }
    return index;
}

// The default path: text is translated and written as it is; a tag is
// written evaluated when a parameter is an expression, then a line end,
// except behind a start tag of id 24.
void VexlParse::WriteDefault(int index) {
    const HtmlObjectList& list = *Page->HtmlList;
    const int id = list.GetTagIdOf(index);
    if (id == TagId::Text) {
        const std::string_view text = list.GetTextOf(index);
        if (!Page->TranslationEnabled) {
            Page->AppendOutput(text.data(), static_cast<unsigned>(text.size()));
            return;
        }
        NyxString translated(text);
        TranslateText(translated);
        Page->AppendOutput(translated);
        return;
    }
    const bool lineEnd = LineEndBehind(id, list.IsEndTagOf(index));
    if (!list.HasExpressionParam(index)) {
        Page->AppendListedObject(index, lineEnd);
        return;
    }
    HtmlObject* entry = list.GetEntry(index);
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
        const HtmlTagParam* param = entry->GetEntry(static_cast<int>(i) + 1);
        const bool evaluated = EvaluateParamText(param->GetValue(), texts[i]);
        if (evaluated && Page->SafeOutput) {
            NyxString escaped;
            AppendSafeAttributeValue(escaped, texts[i].View(), IsUrlAttribute(param->GetName().View()));
            texts[i] = std::move(escaped);
        }
        replacements[i] = evaluated ? &texts[i] : nullptr;
    }
    Page->AppendOutput(*entry, replacements, count);
    if (lineEnd) Page->AppendOutput('\n');
}
