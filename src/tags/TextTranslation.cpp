// VexlBase::TranslateText: a text of the page is looked up in the
// translation table, and a text the table lacks is added with an empty value.
#include "outside/foundation/Sql.h"
#include "page/VexlPage.h"
#include "tags/VexlBase.h"

namespace {
// The text goes between single quotes: doubling its quotes keeps it one
// literal, whatever it holds.
NyxString QuoteLiteral(const NyxString& text) {
    NyxString quoted(text);
    quoted.ReplaceAll("'", "''");
    return quoted;
}

// A table or column name is one identifier, never SQL text: in double quotes,
// its own double quotes doubled. The connection does not take an unknown
// quoted name for a string literal, so a misspelt column finds nothing.
NyxString QuoteIdentifier(const NyxString& name) {
    NyxString quoted(name);
    quoted.ReplaceAll("\"", "\"\"");
    NyxString result("\"");
    result += quoted;
    result += "\"";
    return result;
}
}  // namespace

bool VexlBase::TranslateText(NyxString& text) {
    if (text.IsEmpty() || text.IsEqualTo("&nbsp;", true) || !Page->TranslationEnabled) return true;
    GenSqlConnection* database = Page->GetTranslationDb();
    if (database == nullptr) return false;

    const NyxString literal = QuoteLiteral(text);
    const NyxString table = QuoteIdentifier(Page->TranslationTable);
    const NyxString keyColumn = QuoteIdentifier(Page->TranslationKeyColumn);
    const NyxString valueColumn = QuoteIdentifier(Page->TranslationValueColumn);
    NyxString statement;
    statement.Printf("SELECT %S FROM %S WHERE %S = '%S'", &valueColumn, &table, &keyColumn, &literal);
    GenSqlResult* result = database->ExecuteSql(statement, 0);
    if (result != nullptr && result->NextRow() != 0) {
        const NyxString translation = result->GetColumnText(0);
        delete result;
        if (translation.IsNotEmpty() && translation[0] != '\n' && translation[0] != '\r') text = translation;
        return true;
    }
    delete result;

    statement.Printf("INSERT INTO %S (%S, %S) VALUES ('%S', '')", &table, &keyColumn, &valueColumn, &literal);
    delete database->ExecuteSql(statement, 0);
    return false;
}
