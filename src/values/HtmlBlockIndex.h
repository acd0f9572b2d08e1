// HtmlBlockIndex: where each IF branch and each LOOP block of a page ends,
// worked out for the whole list in one pass per kind of search (on the first
// search of that kind), so that partner searches cost the same on a page of
// 100,000 nested blocks as on a small one.
#pragma once

#include <vector>

class HtmlObjectList;

class HtmlBlockIndex {
public:
    // What a conditional search stops at, besides an ENDIF at its level.
    enum class IfStop { ElseIfElseEnd, ElseEnd, End };

    explicit HtmlBlockIndex(const HtmlObjectList& list);

    // From `index`: the next object at the same IF depth that the search
    // stops at; the list's last index when the list runs out.
    int FindIfPartner(int index, IfStop stop) const;
    // The LOOP end tag that closes the LOOP at `index`; one past the list's
    // last object when it runs out.
    int FindLoopPartner(int index) const;

private:
    const HtmlObjectList& List;
    // Empty until the first search of their kind.
    mutable std::vector<int> ElseIfElseEnd;
    mutable std::vector<int> ElseEnd;
    mutable std::vector<int> End;
    mutable std::vector<int> LoopEnd;
};
