// Partner searches over a page's flat object list: the ELSEIF, ELSE or ENDIF
// of an IF at its own level, and the end tag of a LOOP.
#pragma once

#include "values/HtmlBlockIndex.h"

class HtmlObjectList;

// ElseIfElseEnd: the next ELSEIF, ELSE or ENDIF at the level; ElseEnd: the
// next ELSE or ENDIF; End: the next ENDIF.
using IfStop = HtmlBlockIndex::IfStop;

// The index where the search from `index` stops; when the list runs out, the
// index of its last object.
int FindIfPartner(const HtmlObjectList& list, int index, IfStop stop);

// The index of the LOOP end tag that closes the LOOP at `index`; when the
// list runs out, the index one past its last object.
int FindLoopPartner(const HtmlObjectList& list, int index);
