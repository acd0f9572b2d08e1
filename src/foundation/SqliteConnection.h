// SqliteConnection and SqliteResult: the SQLite implementation behind
// GenSqlConnection. Internal to the foundation; callers see only Sql.h.
#pragma once

#include <sys/types.h>

#include "foundation/Sql.h"

struct sqlite3;
struct sqlite3_stmt;

// The rows of one prepared statement. The first step is taken when the
// statement runs, so that an error shows as a null result; the result keeps
// its statement, which stays valid even if the connection is deleted first.
class SqliteResult : public GenSqlResult {
public:
    // Takes the statement unless `borrowed`: a prepared statement's result
    // only resets it for its next run.
    SqliteResult(sqlite3_stmt* statement, bool hasRow, bool borrowed = false);
    ~SqliteResult() override;
    int NextRow() override;
    NyxString GetColumnText(unsigned column) override;

private:
    sqlite3_stmt* Statement;
    bool PendingRow;  // the first step gave a row that NextRow has not yet shown
    bool OnRow = false;  // a row is current and its columns can be read
    bool Finished = false;
    bool Borrowed;
};

class SqliteStatement : public GenSqlStatement {
public:
    explicit SqliteStatement(sqlite3_stmt* statement);  // takes the statement
    ~SqliteStatement() override;
    GenSqlResult* Run(const NyxString* const* parameters, unsigned count) override;

private:
    sqlite3_stmt* Statement;
};

class SqliteConnection : public GenSqlConnection {
public:
    SqliteConnection();
    ~SqliteConnection() override;
    // Opens (creating if missing) the database file; non-zero on success. A
    // file that is not a database fails here rather than at the first query.
    int Connect(const NyxString& path) override;
    GenSqlResult* ExecuteSql(const NyxString& text, int flags) override;
    GenSqlStatement* Prepare(const NyxString& text) override;
    // PRAGMA data_version: it moves when another connection commits.
    bool ReadChangeStamp(uint64_t& stamp) override;
    // The file at the path is still the one opened (same device and inode).
    bool IsCurrent() override;

private:
    void Close();
    // One statement of `text`, prepared; null on an error, a NUL byte or a
    // second statement behind it.
    sqlite3_stmt* PrepareOne(const NyxString& text);

    sqlite3* Database = nullptr;
    NyxString Path;
    dev_t Device = 0;  // of the file opened, for IsCurrent
    ino_t Inode = 0;
};
