// SqliteConnection: one statement at a time through the SQLite C interface.
#include "foundation/SqliteConnection.h"

#include <cstring>
#include <limits>
#include <sys/stat.h>

#include "foundation/LibSqlite.h"

#include "foundation/NativePath.h"

namespace {

// A locked database is waited for this long before a statement fails; a
// translator editing the table must not make a page fail at once.
constexpr int kBusyTimeoutMilliseconds = 2000;

// True when `tail` holds no further statement: only blanks, ';' and comments.
// Each prepare consumes at least one byte of a non-empty tail or fails, so
// the loop ends.
bool HoldsNoStatement(sqlite3* database, const char* tail, const char* end) {
    while (tail < end) {
        sqlite3_stmt* next = nullptr;
        const char* after = nullptr;
        int code = SqliteLibrary().sqlite3_prepare_v2(database, tail, static_cast<int>(end - tail), &next, &after);
        if (code != SQLITE_OK) return false;
        if (next != nullptr) {
            SqliteLibrary().sqlite3_finalize(next);
            return false;
        }
        if (after == nullptr || after <= tail) return true;  // nothing more was consumed
        tail = after;
    }
    return true;
}

}  // namespace

SqliteResult::SqliteResult(sqlite3_stmt* statement, bool hasRow, bool borrowed)
    : Statement(statement), PendingRow(hasRow), Finished(!hasRow), Borrowed(borrowed) {}

SqliteResult::~SqliteResult() {
    if (!Borrowed) {
        SqliteLibrary().sqlite3_finalize(Statement);
        return;
    }
    SqliteLibrary().sqlite3_reset(Statement);
    SqliteLibrary().sqlite3_clear_bindings(Statement);
}

int SqliteResult::NextRow() {
    if (PendingRow) {
        PendingRow = false;
        OnRow = true;
        return 1;
    }
    OnRow = false;
    if (Finished) return 0;
    if (SqliteLibrary().sqlite3_step(Statement) == SQLITE_ROW) {
        OnRow = true;
        return 1;
    }
    Finished = true;  // done, or an error: either way there are no more rows
    return 0;
}

NyxString SqliteResult::GetColumnText(unsigned column) {
    if (!OnRow || column >= static_cast<unsigned>(SqliteLibrary().sqlite3_column_count(Statement))) return NyxString();
    int number = static_cast<int>(column);
    const unsigned char* text = SqliteLibrary().sqlite3_column_text(Statement, number);
    if (text == nullptr) return NyxString();  // NULL, or out of memory
    int size = SqliteLibrary().sqlite3_column_bytes(Statement, number);
    return NyxString(reinterpret_cast<const char*>(text), static_cast<unsigned>(size));
}

SqliteStatement::SqliteStatement(sqlite3_stmt* statement) : Statement(statement) {}

SqliteStatement::~SqliteStatement() { SqliteLibrary().sqlite3_finalize(Statement); }

GenSqlResult* SqliteStatement::Run(const NyxString* const* parameters, unsigned count) {
    if (static_cast<int>(count) != SqliteLibrary().sqlite3_bind_parameter_count(Statement)) return nullptr;
    for (unsigned i = 0; i < count; ++i) {
        const NyxString& value = *parameters[i];
        // SQLITE_TRANSIENT: the text is copied, so the caller's string may go.
        if (SqliteLibrary().sqlite3_bind_text(Statement, static_cast<int>(i) + 1, value.GetString(), static_cast<int>(value.GetSize()),
                              SQLITE_TRANSIENT) != SQLITE_OK) {
            SqliteLibrary().sqlite3_clear_bindings(Statement);
            return nullptr;
        }
    }
    const int code = SqliteLibrary().sqlite3_step(Statement);
    if (code == SQLITE_ROW) return new SqliteResult(Statement, true, true);
    if (code == SQLITE_DONE) return new SqliteResult(Statement, false, true);
    SqliteLibrary().sqlite3_reset(Statement);
    SqliteLibrary().sqlite3_clear_bindings(Statement);
    return nullptr;
}

SqliteConnection::SqliteConnection() = default;

SqliteConnection::~SqliteConnection() { Close(); }

void SqliteConnection::Close() {
    // close_v2 lets results that are still alive finish with their statements.
    if (Database != nullptr) SqliteLibrary().sqlite3_close_v2(Database);
    Database = nullptr;
}

int SqliteConnection::Connect(const NyxString& path) {
    Close();
    if (!IsNativePath(path) || LibSqlite::Load() == nullptr) return 0;
    sqlite3* database = nullptr;
    int code = SqliteLibrary().sqlite3_open_v2(path.GetString(), &database,
                               SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (code != SQLITE_OK) {
        SqliteLibrary().sqlite3_close_v2(database);  // accepts null
        return 0;
    }
    SqliteLibrary().sqlite3_busy_timeout(database, kBusyTimeoutMilliseconds);
#ifdef SQLITE_DBCONFIG_DQS_DML
    // A name in double quotes is always a name: an unknown one is an error,
    // not the text of a string literal.
    SqliteLibrary().sqlite3_db_config(database, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    SqliteLibrary().sqlite3_db_config(database, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
#endif
    // Reading the schema proves that the file is a database.
    if (SqliteLibrary().sqlite3_exec(database, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr) != SQLITE_OK) {
        SqliteLibrary().sqlite3_close_v2(database);
        return 0;
    }
    Database = database;
    Path = path;
    struct stat facts {};
    if (stat(path.GetString(), &facts) == 0) {
        Device = facts.st_dev;
        Inode = facts.st_ino;
    }
    return 1;
}

bool SqliteConnection::ReadChangeStamp(uint64_t& stamp) {
    if (Database == nullptr) return false;
    sqlite3_stmt* statement = nullptr;
    if (SqliteLibrary().sqlite3_prepare_v2(Database, "PRAGMA data_version", -1, &statement, nullptr) != SQLITE_OK) return false;
    const bool read = SqliteLibrary().sqlite3_step(statement) == SQLITE_ROW;
    if (read) stamp = static_cast<uint64_t>(SqliteLibrary().sqlite3_column_int64(statement, 0));
    SqliteLibrary().sqlite3_finalize(statement);
    return read;
}

bool SqliteConnection::IsCurrent() {
    if (Database == nullptr) return false;
    struct stat facts {};
    if (stat(Path.GetString(), &facts) != 0) return false;
    return facts.st_dev == Device && facts.st_ino == Inode;
}

sqlite3_stmt* SqliteConnection::PrepareOne(const NyxString& text) {
    if (Database == nullptr) return nullptr;
    const char* begin = text.GetString();
    const unsigned size = text.GetSize();
    // SQLite would stop reading at a NUL byte and run only the text before it.
    if (std::memchr(begin, '\0', size) != nullptr) return nullptr;
    if (size > static_cast<unsigned>(std::numeric_limits<int>::max())) return nullptr;
    const char* end = begin + size;

    sqlite3_stmt* statement = nullptr;
    const char* tail = nullptr;
    if (SqliteLibrary().sqlite3_prepare_v2(Database, begin, static_cast<int>(size), &statement, &tail) != SQLITE_OK) {
        return nullptr;
    }
    if (statement == nullptr) return nullptr;  // only blanks or comments
    // A second statement behind the first is refused: text that reached the
    // statement must never add one of its own.
    if (tail != nullptr && !HoldsNoStatement(Database, tail, end)) {
        SqliteLibrary().sqlite3_finalize(statement);
        return nullptr;
    }
    return statement;
}

GenSqlResult* SqliteConnection::ExecuteSql(const NyxString& text, int flags) {
    sqlite3_stmt* statement = PrepareOne(text);
    if (statement == nullptr) return nullptr;
    int code = SqliteLibrary().sqlite3_step(statement);
    if (code == SQLITE_ROW) return new SqliteResult(statement, true);
    if (code != SQLITE_DONE) {
        SqliteLibrary().sqlite3_finalize(statement);
        return nullptr;
    }
    // A statement without rows has run to its end; its result has no row.
    return new SqliteResult(statement, false);
}

GenSqlStatement* SqliteConnection::Prepare(const NyxString& text) {
    sqlite3_stmt* statement = PrepareOne(text);
    return statement == nullptr ? nullptr : new SqliteStatement(statement);
}
