// VexlLoop: the LOOP block, a counted loop written as three parameters: an
// initialiser, a condition tested before each pass, and an iterator.
#pragma once

#include "tags/VexlBase.h"

class VexlLoop : public VexlBase {
public:
    explicit VexlLoop(VexlPage* page);
    int Start(int index, HtmlObject* stop) override;

    NyxString FileStem;  // the page file's name without folder and extension

private:
    int FindLoopEndTag(int index);
};
