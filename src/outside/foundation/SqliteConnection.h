// SqliteConnection and SqliteResult: the SQLite implementation behind
// GenSqlConnection. Internal to the foundation; callers see only Sql.h.
#pragma once

#include "outside/foundation/Sql.h"

struct sqlite3;
struct sqlite3_stmt;

// The rows of one prepared statement. The first step is taken when the
// statement runs, so that an error shows as a null result; the result keeps
// its statement, which stays valid even if the connection is deleted first.
class SqliteResult : public GenSqlResult {
public:
    SqliteResult(sqlite3_stmt* statement, bool hasRow);  // takes the statement
    ~SqliteResult() override;
    int NextRow() override;
    NyxString GetColumnText(unsigned column) override;

private:
    sqlite3_stmt* Statement;
    bool PendingRow;  // the first step gave a row that NextRow has not yet shown
    bool OnRow = false;  // a row is current and its columns can be read
    bool Finished = false;
};

class SqliteConnection : public GenSqlConnection {
public:
    SqliteConnection();
    ~SqliteConnection() override;
    // Opens (creating if missing) the database file; non-zero on success. A
    // file that is not a database fails here rather than at the first query.
    int Connect(const NyxString& path) override;
    GenSqlResult* ExecuteSql(const NyxString& text, int flags) override;

private:
    void Close();

    sqlite3* Database = nullptr;
};
