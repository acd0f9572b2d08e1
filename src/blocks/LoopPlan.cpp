// LoopPlan: planned by following the walker's own rules over the body (the
// stop object, the handlers' partner searches, the depth of walks), so that
// a pass from the plan and a walk write the same bytes in the same order.
#include "blocks/LoopPlan.h"

#include <limits>
#include <memory>
#include <utility>

#include "page/SafeOutput.h"
#include "page/TranslationSource.h"
#include "page/VexlPage.h"
#include "tags/BlockScan.h"
#include "tags/TagTraits.h"
#include "tags/VexlParse.h"
#include "values/HtmlTagIds.h"

namespace {

// IF constructs nested deeper in a body are rare; such a body is walked.
constexpr int kMaxPlannedNesting = 32;
constexpr unsigned kNotPrinted = std::numeric_limits<unsigned>::max();

}  // namespace

LoopPlan* LoopPlan::Find(const VexlPage& page, int loopIndex) {
    if (page.HtmlList == nullptr) return nullptr;
    return static_cast<LoopPlan*>(page.HtmlList->GetAttachment(loopIndex));
}

LoopPlan* LoopPlan::Make(VexlParse& walker, int loopIndex) {
    const HtmlObjectList* list = walker.Page->HtmlList;
    if (list == nullptr) return nullptr;
    std::unique_ptr<LoopPlan> plan(new LoopPlan(walker, loopIndex + 1));
    return static_cast<LoopPlan*>(list->Attach(loopIndex, std::move(plan)));
}

LoopPlan::LoopPlan(const VexlParse& walker, int first)
    : List(walker.Page->HtmlList),
      Context(walker.Page->Context),
      FirstLevel(walker.Page->Walks->Depth + 1),
      Limit(walker.Page->Walks->Limit),
      Translating(walker.Page->TranslationEnabled) {
    // A walk of the body starts one level down, and says so when that is too deep.
    const VexlPage& page = *walker.Page;
    if (!page.TagDefs.IsEmpty() || FirstLevel > Limit + 1) return;
    Made = PlanWalk(first, TagId::Loop, 1, FirstLevel) != -1;
}

bool LoopPlan::Fits(const VexlPage& page) const {
    return Made && page.Walks->Depth + 1 == FirstLevel && page.Walks->Limit == Limit && page.TagDefs.IsEmpty() &&
           page.TranslationEnabled == Translating;
}

void LoopPlan::Run(VexlParse& walker) {
    VexlPage& page = *walker.Page;
    const std::size_t count = Ops.size();
    for (std::size_t next = 0; next < count;) {
        const Op& op = Ops[next++];
        switch (op.What) {
        case Kind::Text:
            page.AppendOutput(Texts.data() + op.A, op.B);
            break;
        case Kind::Evaluate:
            // A tag's values all come before its text, as when the walker writes it.
            for (uint32_t i = op.A; i < op.A + op.B; ++i) {
                Expression& expression = Expressions[i];
                expression.Value.Clear();
                int32_t number = 0;
                if (expression.Code.TryEvaluateInt(number)) {
                    VexlBase::AppendIntegerText(number, expression.Value);
                } else {
                    VexlBase::AppendValueText(expression.Code.EvaluateView(), expression.Value);
                }
            }
            break;
        case Kind::Value:
            if (page.SafeOutput) {
                NyxString escaped;
                AppendSafeAttributeValue(escaped, Expressions[op.A].Value.View(), op.B != 0);
                page.AppendOutput(escaped);
            } else {
                page.AppendOutput(Expressions[op.A].Value);
            }
            break;
        case Kind::Branch:
            if (VexlBase::EvaluateCondition(Expressions[op.A].Code) == 0) next = op.B;
            break;
        case Kind::Jump:
            next = op.A;
            break;
        case Kind::SetVar:
            walker.HandleSetVar(List->GetEntry(static_cast<int>(op.A)));
            break;
        case Kind::SetHeader:
            walker.HandleSetHeader(List->GetEntry(static_cast<int>(op.A)));
            break;
        case Kind::Translated: {
            // Joined again only when a translation may have changed since.
            TranslatedRun& run = TranslatedRuns[op.A];
            if (run.Generation != TranslationSource::Generation()) JoinRun(run, walker);
            page.AppendOutput(run.Text);
            break;
        }
        }
    }
}

int LoopPlan::PlanWalk(int index, int stopId, int stopEnd, int level) {
    for (HtmlObject* entry = List->GetEntry(index); entry != nullptr; entry = List->GetEntry(++index)) {
        if (entry->GetTagId() == stopId && entry->IsEndTag() == stopEnd) return index;
        const TagTraits traits = GetTagTraits(entry->GetTagId());
        if (!traits.Planned) return -1;
        switch (traits.Handling) {
        case TagHandling::If:
            if (!PlanIf(index, level)) return -1;
            break;
        case TagHandling::SetVar:
            Ops.push_back({Kind::SetVar, static_cast<uint32_t>(index), 0});
            break;
        case TagHandling::SetHeader:
            Ops.push_back({Kind::SetHeader, static_cast<uint32_t>(index), 0});
            break;
        case TagHandling::Written:
            if (entry->GetTagId() != TagId::Text) {
                PlanTag(*entry);
            } else if (Translating) {
                AddPiece({index, 0, 0});
            } else {
                AddText(entry->GetText().GetString(), entry->GetText().GetSize());
            }
            break;
        default:
            return -1;  // a handler with no kind of its own in the plan
        }
    }
    return static_cast<int>(List->GetCount());
}

// Mirrors VexlIf: each branch's walk must end at its partner, and the chain
// at an ENDIF or in an ELSE, behind which every branch goes on. Other shapes
// are walked.
bool LoopPlan::PlanIf(int& index, int level) {
    if (level > Limit || level - FirstLevel >= kMaxPlannedNesting) return false;
    std::vector<std::size_t> exits;
    int at = index;
    for (;;) {
        const HtmlObject* branch = List->GetEntry(at);
        const int id = branch->GetTagId();
        if (id == TagId::EndIf) break;
        const bool isElse = id == TagId::Else;
        if (!(id == TagId::ElseIf || isElse || (id == TagId::If && at == index))) return false;
        const int end = FindIfPartner(*List, at, isElse ? IfStop::End : IfStop::ElseIfElseEnd);
        if (end <= at) return false;
        std::size_t branchOp = 0;
        if (!isElse) {
            branchOp = Ops.size();
            Ops.push_back({Kind::Branch, AddExpression(branch->GetValueInPlace("condition")), 0});
        }
        if (PlanWalk(at + 1, List->GetEntry(end)->GetTagId(), 0, level + 1) != end) return false;
        at = end;
        if (isElse) break;
        exits.push_back(Ops.size());
        Ops.push_back({Kind::Jump, 0, 0});
        Ops[branchOp].B = static_cast<uint32_t>(Ops.size());
        Label();
    }
    for (std::size_t exit : exits) Ops[exit].A = static_cast<uint32_t>(Ops.size());
    Label();
    index = at;
    return true;
}

// A tag as the walker's default path writes it: its expression parameters'
// values between the fixed pieces of its text, then the line end.
void LoopPlan::PlanTag(const HtmlObject& tag) {
    const unsigned count = tag.GetCount();
    const NyxString empty;
    std::vector<const NyxString*> replacements(count, nullptr);
    std::vector<unsigned> replacedAt(count, kNotPrinted);
    std::vector<uint32_t> expressions(count, 0);
    const auto firstExpression = static_cast<uint32_t>(Expressions.size());
    for (unsigned i = 0; i < count; ++i) {
        const NyxString& value = tag.GetEntry(static_cast<int>(i) + 1)->GetValue();
        if (!VexlBase::HasExpressionForm(value)) continue;
        replacements[i] = &empty;
        expressions[i] = AddExpression(value);
    }
    NyxString text;
    tag.AppendOutputTo(text, replacements.data(), count, replacedAt.data());
    if (VexlParse::LineEndBehind(tag)) text.Append('\n');
    const auto evaluated = static_cast<uint32_t>(Expressions.size()) - firstExpression;
    if (evaluated != 0) Ops.push_back({Kind::Evaluate, firstExpression, evaluated});
    unsigned from = 0;
    for (unsigned i = 0; i < count; ++i) {
        if (replacedAt[i] == kNotPrinted) continue;  // not an expression, or an end tag's
        AddText(text.GetString() + from, replacedAt[i] - from);
        const bool url = IsUrlAttribute(tag.GetEntry(static_cast<int>(i) + 1)->GetName().View());
        Ops.push_back({Kind::Value, expressions[i], url ? 1u : 0u});
        from = replacedAt[i];
    }
    AddText(text.GetString() + from, text.GetSize() - from);
}

void LoopPlan::AddText(const char* text, std::size_t size) {
    if (size == 0) return;
    if (Translating) {
        AddPiece({-1, static_cast<uint32_t>(Texts.size()), static_cast<uint32_t>(size)});
        Texts.append(text, size);
        return;
    }
    if (Joinable && !Ops.empty() && Ops.back().What == Kind::Text) {
        Ops.back().B += static_cast<uint32_t>(size);
    } else {
        Ops.push_back({Kind::Text, static_cast<uint32_t>(Texts.size()), static_cast<uint32_t>(size)});
    }
    Texts.append(text, size);
    Joinable = true;
}

void LoopPlan::AddPiece(const Piece& piece) {
    if (!Joinable || Ops.empty() || Ops.back().What != Kind::Translated) {
        Ops.push_back({Kind::Translated, static_cast<uint32_t>(TranslatedRuns.size()), 0});
        TranslatedRuns.emplace_back();
    }
    TranslatedRuns[Ops.back().A].Pieces.push_back(piece);
    Joinable = true;
}

void LoopPlan::JoinRun(TranslatedRun& run, VexlParse& walker) {
    run.Text.Clear();
    for (const Piece& piece : run.Pieces) {
        if (piece.Object < 0) {
            run.Text.AppendBytes(Texts.data() + piece.Offset, piece.Size);
            continue;
        }
        NyxString text = List->GetEntry(piece.Object)->GetText();
        walker.TranslateText(text);
        run.Text += text;
    }
    // Read after the lookups, which may have moved it: the text is fresh now.
    run.Generation = TranslationSource::Generation();
}

uint32_t LoopPlan::AddExpression(const NyxString& text) {
    Expressions.push_back({PreparedExpression(Context, text), NyxString()});
    return static_cast<uint32_t>(Expressions.size() - 1);
}
