// TranslationSource: a translation database kept open on this thread, with
// its prepared statements and the answers it has given, so that a text is
// asked for once rather than at every sight. Answers are kept from request to
// request until the database shows a change made by another connection.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "values/NyxString.h"

class GenSqlConnection;
class GenSqlStatement;

class TranslationSource {
public:
    // The source for `path` (an SQLite file, relative to the working folder
    // of the moment, or a postgresql:// URI) on this thread, connected and
    // checked: when it
    // was not in use, answers kept from before are dropped if anyone else has
    // changed the database since, and the connection is made afresh if the
    // file was replaced. Null when no connection can be made (a later call
    // tries again). Every source acquired is released.
    static TranslationSource* Acquire(const NyxString& path);
    static void Release(TranslationSource* source);

    // A number that moves whenever an answer given before may no longer be the
    // one a lookup would give: a source acquired or released, answers dropped,
    // a page's translation settings changed. Memos of translated text compare it.
    // One number for all threads, so that reading it is a plain load: a bump
    // on another thread only costs a memo a needless lookup.
    static uint64_t Generation() { return CurrentGeneration.load(std::memory_order_relaxed); }
    static void BumpGeneration() { CurrentGeneration.fetch_add(1, std::memory_order_relaxed); }

    ~TranslationSource();
    GenSqlConnection* GetConnection() const { return Connection.get(); }

    // TranslateText's lookup of `text` in one table: replaces it by its
    // translation if it has one and says whether it is final; a text the
    // table lacks is inserted with an empty value. Every text costs the
    // database one visit per request at most.
    bool Translate(const NyxString& table, const NyxString& keyColumn, const NyxString& valueColumn, NyxString& text);

private:
    struct Answer {
        std::string Value;
        bool Known;  // false: no row, and adding one failed
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
    };
    struct Table {
        NyxString Name;
        NyxString KeyColumn;
        NyxString ValueColumn;
        std::unique_ptr<GenSqlStatement> Select;
        std::unique_ptr<GenSqlStatement> Insert;
        std::unique_ptr<GenSqlStatement> Lock;  // PostgreSQL: one machine at a time adds a text
        std::unordered_map<std::string, Answer, TextHash, std::equal_to<>> Answers;
        std::vector<std::string> Failed;  // texts whose answer is not Known: asked again next request
        ~Table();
    };

    explicit TranslationSource(const NyxString& path);
    bool Connect();
    // Before the first use in a request: the file is the same and nobody else
    // changed it. False when no connection could be made again.
    bool Check();
    void DropAnswers();
    void DropFailedAnswers();
    Table& FindTable(const NyxString& name, const NyxString& keyColumn, const NyxString& valueColumn);
    // The value of the text's row, if the table has one.
    bool Select(Table& table, const NyxString& text, std::string& value);
    // Adds the text with an empty value unless a row for it is there.
    bool Insert(Table& table, const NyxString& text);
    bool PrepareInsert(Table& table);
    // On a database server: the insert, in a transaction that holds a lock
    // named after the table and the text, adds the row only if it is absent,
    // so that machines adding the same text at once give one row.
    bool InsertOnServer(Table& table, const NyxString& text);
    void Keep(Table& table, const NyxString& text, std::string value, bool known);

    static std::atomic<uint64_t> CurrentGeneration;  // starts at 1: a fresh memo holds 0

    NyxString Path;
    std::unique_ptr<GenSqlConnection> Connection;  // declared first: statements go before it
    std::vector<std::unique_ptr<Table>> Tables;
    std::size_t LastTable = 0;    // the table asked for last, tried first
    uint64_t ChangeStamp = 0;     // the database's, when the answers were last known good
    bool HasChangeStamp = false;
    std::size_t AnswerBytes = 0;  // bounded by kMaxAnswerBytes
    unsigned Users = 0;           // pages that hold it now
    uint64_t LastUse = 0;         // for choosing which kept source to close

    friend struct TranslationSourcePool;
};
