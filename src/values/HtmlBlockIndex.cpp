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
    // where each begins, so that no frame needs a block of its own.
    std::vector<int> pending;
    std::vector<std::size_t> frameStarts(1, 0);
    auto answerTopFrame = [&](int j) {
        for (std::size_t q = frameStarts.back(); q < pending.size(); ++q)
            answers[static_cast<std::size_t>(pending[q])] = j;
        pending.resize(frameStarts.back());
    };
    for (int j = 0; j < count; ++j) {
        switch (roleOf(*list.GetEntry(j))) {
        case Role::Open:
            frameStarts.push_back(pending.size());
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

}  // namespace

HtmlBlockIndex::HtmlBlockIndex(const HtmlObjectList& list) {
    const int last = static_cast<int>(list.GetCount()) - 1;
    auto ifRoles = [](bool elseIfStops, bool elseStops) {
        return [=](const HtmlObject& object) {
            switch (object.GetTagId()) {
            case TagId::If: return Role::Open;
            case TagId::EndIf: return Role::Close;
            case TagId::ElseIf: return elseIfStops ? Role::Stop : Role::None;
            case TagId::Else: return elseStops ? Role::Stop : Role::None;
            default: return Role::None;
            }
        };
    };
    ElseIfElseEnd = AnswerAll(list, last, ifRoles(true, true));
    ElseEnd = AnswerAll(list, last, ifRoles(false, true));
    End = AnswerAll(list, last, ifRoles(false, false));
    LoopEnd = AnswerAll(list, last + 1, [](const HtmlObject& object) {
        if (object.GetTagId() != TagId::Loop) return Role::None;
        return object.IsEndTag() ? Role::Close : Role::Open;
    });
}

int HtmlBlockIndex::FindIfPartner(int index, IfStop stop) const {
    const std::vector<int>& answers = stop == IfStop::ElseIfElseEnd ? ElseIfElseEnd
                                      : stop == IfStop::ElseEnd     ? ElseEnd
                                                                    : End;
    if (index < 0 || static_cast<std::size_t>(index) >= answers.size()) return index;
    return answers[static_cast<std::size_t>(index)];
}

int HtmlBlockIndex::FindLoopPartner(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= LoopEnd.size()) return index + 1;
    return LoopEnd[static_cast<std::size_t>(index)];
}
