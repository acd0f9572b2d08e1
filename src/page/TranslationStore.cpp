// VexlPage translation store: the database file and its connection, opened
// when the first text needs it and dropped by every TRANSLATION tag.
#include "outside/foundation/Sql.h"
#include "page/VexlPage.h"
#include "page/Contained.h"

void VexlPage::SetTranslationFile(const NyxString& path) {
    delete TranslationDb;
    TranslationDb = nullptr;
    Contained([&] { TranslationFile = path; });
}

GenSqlConnection* VexlPage::GetTranslationDb() {
    if (TranslationFile.IsEmpty()) return nullptr;
    if (TranslationDb != nullptr) return TranslationDb;
    TranslationDb = GenSqlConnection::Create(6);
    if (TranslationDb != nullptr && TranslationDb->Connect(TranslationFile) == 0) {
        delete TranslationDb;
        TranslationDb = nullptr;
    }
    return TranslationDb;
}
