// VexlAnchor: A tags are rebuilt. A plain href passes through ChangeURL; a
// tag that names a page gets an href of its own that carries the listed
// variables as typed pairs the next request reads back.
#pragma once

#include "tags/VexlBase.h"

class VexlAnchor : public VexlBase {
public:
    explicit VexlAnchor(VexlPage* page) : VexlBase(page) {}
    int Start(int index, HtmlObject* stop) override;

private:
    // The "&name.letter=value" pairs of `vars`; `encoded` percent-encodes
    // them and writes exact values (SafeOutput).
    void AppendPairs(HtmlObject* tag, NyxString& text, bool encoded);
};
