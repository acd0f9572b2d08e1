// VexlBase::TranslateText: a text of the page is looked up in the
// translation table, and a text the table lacks is added with an empty value.
// The lookup itself, and the answers kept from it, are TranslationSource's.
#include "page/Contained.h"
#include "page/TranslationSource.h"
#include "page/VexlPage.h"
#include "tags/VexlBase.h"

bool VexlBase::TranslateText(NyxString& text) {
    if (text.IsEmpty() || text.IsEqualTo("&nbsp;", true) || !Page->TranslationEnabled) return true;
    if (Page->GetTranslationDb() == nullptr) return false;
    TranslationSource& source = *Page->TranslationSourceInUse;
    return ContainedOr(false, [&] {
        return source.Translate(Page->TranslationTable, Page->TranslationKeyColumn, Page->TranslationValueColumn,
                                text);
    });
}
