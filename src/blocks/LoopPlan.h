// LoopPlan: a LOOP body made ready for the passes after its first, and kept
// with the page's list for later visits of the tag (a loop in a loop). Its fixed
// text is joined, its IF constructs become jumps, and its conditions and
// expression parameters are held compiled, so that a pass writes what a walk
// of the body would write without visiting the objects one by one. A body
// that holds anything but text, tags without a handler, IF constructs of the
// usual shape, SETVAR and SETHEADER gets no plan and is walked: nothing in a
// plan can define a tag, change how texts are translated or change the page's
// objects. While texts are translated, each text keeps its translation for as
// long as TranslationSource's generation holds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "quince/PreparedExpression.h"
#include "values/HtmlListAttachment.h"
#include "values/NyxString.h"

class HtmlObject;
class HtmlObjectList;
class QuinceContext;
class VexlPage;
class VexlParse;

class LoopPlan : public HtmlListAttachment {
public:
    // The plan that the page's list keeps for the LOOP at `loopIndex`, or null.
    static LoopPlan* Find(const VexlPage& page, int loopIndex);
    // Plans the walk that `walker` would make over the body of the LOOP at
    // `loopIndex`, in the page's state at this moment, and has the list keep
    // the plan (also one that could not be made, so that later visits of the
    // tag do not try again) until the list changes.
    static LoopPlan* Make(VexlParse& walker, int loopIndex);

    // Whether a pass may come from the plan: it was made, and the page walks
    // the body at the same depth and under the same limit, without user tags,
    // translating texts as it did then. (The list and its page's context are
    // the plan's own: a plan is only reached through the list that keeps it.)
    bool Fits(const VexlPage& page) const;
    // Writes one pass, as walker.Start(first, the LOOP end tag) would.
    void Run(VexlParse& walker);

private:
    enum class Kind : uint8_t {
        Text,       // Texts[A, A + B)
        Evaluate,   // expressions A to A + B - 1 into their values, in order
        Value,      // the value of expression A, for an attribute that holds a URL if B is 1
        Branch,     // on to op B unless expression A holds
        Jump,       // on to op A
        SetVar,     // the directive at object A
        SetHeader,  // the directive at object A
        Translated, // the text of TranslatedRuns[A]
    };
    struct Op {
        Kind What;
        uint32_t A;
        uint32_t B;
    };
    struct Expression {
        PreparedExpression Code;
        NyxString Value;
    };
    // Text that goes out in one piece while texts are translated: fixed
    // pieces and text objects, joined once their translations are known.
    struct Piece {
        int Object;  // a text object to translate, or -1 for Texts[Offset, Offset + Size)
        uint32_t Offset;
        uint32_t Size;
    };
    struct TranslatedRun {
        std::vector<Piece> Pieces;
        uint64_t Generation = 0;  // TranslationSource's when Text was joined; 0 is never current
        NyxString Text;
    };

    // The index of the stop object that a walk from `index` meets, the
    // list's count when it runs out, or -1 when it meets something no plan
    // holds. `level` is the walk's depth.
    int PlanWalk(int index, int stopId, int stopEnd, int level);
    // Plans the IF construct at `index` and sets `index` to its ENDIF.
    bool PlanIf(int& index, int level);
    void PlanTag(const HtmlObject& tag);
    void AddText(const char* text, std::size_t size);
    void AddPiece(const Piece& piece);  // to the run the last op writes, or a new one
    // Joins the run's pieces, each text object translated as the walker does.
    void JoinRun(TranslatedRun& run, VexlParse& walker);
    uint32_t AddExpression(const NyxString& text);
    void Label() { Joinable = false; }  // a jump lands here: the next text opens an op of its own

    LoopPlan(const VexlParse& walker, int first);

    const HtmlObjectList* List;  // the list that keeps the plan
    QuinceContext* Context;      // its page's, for the plan's expressions
    int FirstLevel;  // the depth of a walk of the body
    int Limit;       // the depth no walk may pass
    bool Translating;  // whether the page translated texts when the plan was made
    bool Made = false;
    bool Joinable = false;
    std::vector<Op> Ops;
    std::string Texts;
    std::vector<Expression> Expressions;
    std::vector<TranslatedRun> TranslatedRuns;
};
