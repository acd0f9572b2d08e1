// VexlPage translation store: the database and its connection, taken from
// the thread's kept sources when the first text needs it and given back by
// every TRANSLATION tag and at the end of the page.
#include "foundation/Sql.h"
#include "page/Contained.h"
#include "page/TranslationSource.h"
#include "page/VexlPage.h"

void VexlPage::SetTranslationFile(const NyxString& path) {
    TranslationSource::Release(TranslationSourceInUse);
    TranslationSourceInUse = nullptr;
    TranslationDb = nullptr;
    Contained([&] { TranslationFile = path; });
    TranslationSource::BumpGeneration();
}

GenSqlConnection* VexlPage::GetTranslationDb() {
    if (TranslationFile.IsEmpty()) return nullptr;
    if (TranslationDb != nullptr) return TranslationDb;
    TranslationSourceInUse = ContainedOr(static_cast<TranslationSource*>(nullptr),
                                         [&] { return TranslationSource::Acquire(TranslationFile); });
    if (TranslationSourceInUse != nullptr) TranslationDb = TranslationSourceInUse->GetConnection();
    return TranslationDb;
}
