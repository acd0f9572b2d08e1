// VexlInclude: INCLUDE walks another page file in place of the tag, on the
// same page, by swapping the page's object list for the time of the walk.
#pragma once

#include "tags/VexlBase.h"

class VexlInclude : public VexlBase {
public:
    explicit VexlInclude(VexlPage* page) : VexlBase(page) {}
    int Start(int index, HtmlObject* stop) override;

private:
    NyxString BuildPath(const NyxString& value) const;
};
