// HtmlBlockIndex: each search "scan forward from i + 1 with depth 0 until an
// object of the stop set at depth 0" is answered for every i at once. Queries
// wait in a stack of frames, one frame per open block; an opening tag pushes
// a frame, a stopping tag answers every query of the top frame, and a
// closing tag also pops it. Each query is pushed and answered once.
#include "values/HtmlBlockIndex.h"

#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

namespace {

enum class Role { None, Open, Stop, Close };

template <class RoleOf>
std::vector<int> AnswerAll(const HtmlObjectList& list, int runOut, RoleOf roleOf) {
    const int count = static_cast<int>(list.GetCount());
    std::vector<int> answers(static_cast<std::size_t>(count), runOut);
    // The frames lie one after the other in `pending`; `frameStarts` holds
    // where each begins, so that no frame needs a block of its own. Neither
    // can outgrow the list: reserving that once spares the copies of growth,
    // and the untouched end of a reservation costs no memory.
    std::vector<int> pending;
    pending.reserve(static_cast<std::size_t>(count));
    std::vector<int> frameStarts;
    frameStarts.reserve(static_cast<std::size_t>(count) + 1);
    frameStarts.push_back(0);
    auto answerTopFrame = [&](int j) {
        const auto start = static_cast<std::size_t>(frameStarts.back());
        for (std::size_t q = start; q < pending.size(); ++q)
            answers[static_cast<std::size_t>(pending[q])] = j;
        pending.resize(start);
    };
    for (int j = 0; j < count; ++j) {
        switch (roleOf(list.GetTagIdOf(j), list.IsEndTagOf(j))) {
        case Role::Open:
            frameStarts.push_back(static_cast<int>(pending.size()));
            break;
        case Role::Stop:
            answerTopFrame(j);
            break;
        case Role::Close:
            answerTopFrame(j);
            if (frameStarts.size() > 1) frameStarts.pop_back();
            break;
        case Role::None:
            break;
        }
        pending.push_back(j);
    }
    return answers;
}

// The roles of IF tags for a search that also stops at ELSEIF and/or ELSE.
auto IfRoles(bool elseIfStops, bool elseStops) {
    return [=](int id, int) {
        switch (id) {
        case TagId::If: return Role::Open;
        case TagId::EndIf: return Role::Close;
        case TagId::ElseIf: return elseIfStops ? Role::Stop : Role::None;
        case TagId::Else: return elseStops ? Role::Stop : Role::None;
        default: return Role::None;
        }
    };
}

}  // namespace

HtmlBlockIndex::HtmlBlockIndex(const HtmlObjectList& list) : List(list) {}

int HtmlBlockIndex::FindIfPartner(int index, IfStop stop) const {
    const int count = static_cast<int>(List.GetCount());
    if (index < 0 || index >= count) return index;
    const bool elseIfStops = stop == IfStop::ElseIfElseEnd;
    const bool elseStops = stop != IfStop::End;
    std::vector<int>& answers = elseIfStops ? ElseIfElseEnd : elseStops ? ElseEnd : End;
    if (answers.empty()) answers = AnswerAll(List, count - 1, IfRoles(elseIfStops, elseStops));
    // The list resets its index on every change, so the answers cover it.
    return answers[static_cast<std::size_t>(index)];
}

int HtmlBlockIndex::FindLoopPartner(int index) const {
    const int count = static_cast<int>(List.GetCount());
    if (index < 0 || index >= count) return index + 1;
    if (LoopEnd.empty()) {
        LoopEnd = AnswerAll(List, count, [](int id, int end) {
            if (id != TagId::Loop) return Role::None;
            return end != 0 ? Role::Close : Role::Open;
        });
    }
    return LoopEnd[static_cast<std::size_t>(index)];
}
