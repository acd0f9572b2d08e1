// SessionStore: the session variables of all requests, kept in one SQLite
// database file that several processes may share.
#pragma once

#include <cstdint>

#include "values/NyxString.h"

struct sqlite3;
struct sqlite3_stmt;
class Variable;

class SessionStore {
public:
    // Opens (creating the folder, the file and the tables as needed) the
    // database. A store that cannot be opened answers every call as empty:
    // IsOpen is false, Exists false, Load null, and writes do nothing.
    explicit SessionStore(const NyxString& databasePath);
    ~SessionStore();
    SessionStore(const SessionStore&) = delete;
    SessionStore& operator=(const SessionStore&) = delete;

    bool IsOpen() const { return Database != nullptr; }

    // Whether a session of that number is stored.
    bool Exists(uint32_t id);
    // A new variable of the stored type and value named `name`, or null.
    Variable* Load(uint32_t id, const NyxString& name);
    // Stores the variable under its name (replacing one of that name) and
    // marks the session as used now; the session is created if needed.
    // Values that cannot be stored (handles) are left out.
    void Save(uint32_t id, const Variable& variable);
    // Marks the session as used now, creating it if needed.
    void Touch(uint32_t id);
    // Deletes the sessions idle for more than `ageSeconds`, with their variables.
    void Expire(uint32_t ageSeconds);

    // How long a statement waits for another process's lock on the file.
    static constexpr int kBusyTimeoutMilliseconds = 5000;

private:
    enum StatementId {
        SelectSession,
        UpsertSession,
        SelectVariable,
        UpsertVariable,
        DeleteExpiredVariables,
        DeleteExpiredSessions,
        BeginTransaction,
        CommitTransaction,
        RollbackTransaction,
        StatementCount
    };

    bool Open(const NyxString& databasePath);
    void Close();
    // The prepared statement, reset and with its bindings cleared.
    sqlite3_stmt* Statement(StatementId id);
    bool Run(StatementId id);  // steps a statement that returns no rows
    bool UpsertSessionRow(uint32_t id, int64_t now);

    sqlite3* Database = nullptr;                        // null when not open
    sqlite3_stmt* Statements[StatementCount] = {};      // prepared at open
};
