// VexlIf: IF, ELSEIF, ELSE and ENDIF. The handler finds the branch that
// holds, walks it alone, and tells the walker where the construct ends.
#pragma once

#include "tags/VexlBase.h"

class VexlIf : public VexlBase {
public:
    explicit VexlIf(VexlPage* page) : VexlBase(page) {}
    int Start(int index, HtmlObject* stop) override;

private:
    int FindElseIfElseEndTag(int index);
    int FindEndTag(int index);
    int FindElseEndTag(int index);
};
