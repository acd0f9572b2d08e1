// Partner searches over a page's flat object list: the ELSEIF, ELSE or ENDIF
// of an IF at its own level, and the end tag of a LOOP.
#pragma once

class HtmlObjectList;

enum class IfStop {
    ElseIfElseEnd,  // the next ELSEIF, ELSE or ENDIF at the level
    ElseEnd,        // the next ELSE or ENDIF at the level
    End,            // the next ENDIF at the level
};

// The index where the search from `index` stops; when the list runs out, the
// index of its last object.
int FindIfPartner(const HtmlObjectList& list, int index, IfStop stop);

// The index of the LOOP end tag that closes the LOOP at `index`; when the
// list runs out, the index one past its last object.
int FindLoopPartner(const HtmlObjectList& list, int index);
