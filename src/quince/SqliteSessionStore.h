// SqliteSessionStore: the session store in one SQLite database file that
// several processes may share, with a lock file beside it for the sessions'
// locks.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/SqliteBusyWait.h"
#include "quince/SessionStore.h"

struct sqlite3;
struct sqlite3_stmt;
class RangeLock;

class SqliteSessionStore : public SessionStore {
public:
    // Opens (creating the folder 0700, the file 0600 and the tables as
    // needed) the database. A folder or file that another user owns or may
    // write is refused, as is anything that is not a store.
    explicit SqliteSessionStore(const NyxString& databasePath);
    ~SqliteSessionStore() override;
    SqliteSessionStore(const SqliteSessionStore&) = delete;
    SqliteSessionStore& operator=(const SqliteSessionStore&) = delete;

    bool IsOpen() const override { return Database != nullptr; }
    bool Exists(uint32_t id) override;
    bool Resume(uint32_t id, std::string_view secret, uint32_t maxIdleSeconds) override;
    bool Create(uint32_t id, std::string_view secret) override;
    Variable* Load(uint32_t id, const NyxString& name) override;
    bool SaveAll(uint32_t id, Variable* const* variables, unsigned count) override;
    void Touch(uint32_t id) override;
    void Expire(uint32_t ageSeconds) override;
    void ExpireNowAndThen(uint32_t ageSeconds, uint32_t intervalSeconds) override;
    bool Lock(uint32_t id, unsigned timeoutMilliseconds) override;
    void Unlock(uint32_t id) override;
    void SetBusyTimeout(unsigned milliseconds) override;

    // Before the store is let go because another file took its path: close
    // without touching the write-ahead log that the path now names.
    void AbandonReplacedFile();

    // How long a statement waits for another process's hold on the file, unless told otherwise.
    static constexpr int kBusyTimeoutMilliseconds = 5000;

private:
    enum StatementId {
        SelectSession,
        SelectSecret,
        InsertSession,
        UpsertSession,
        SelectVariable,
        UpsertVariable,
        DeleteExpiredVariables,
        DeleteExpiredSessions,
        SelectLastExpiry,
        UpsertLastExpiry,
        BeginTransaction,
        CommitTransaction,
        RollbackTransaction,
        StatementCount
    };

    bool Open(const NyxString& databasePath);
    bool PrepareStatements();
    void Close();
    // The prepared statement, reset and with its bindings cleared.
    sqlite3_stmt* Statement(StatementId id);
    bool Run(StatementId id);  // steps a statement that returns no rows
    bool Begin();              // BEGIN IMMEDIATE, out of any transaction left open
    bool UpsertSessionRow(uint32_t id, int64_t now);
    bool DeleteIdle(int64_t limit);  // inside a transaction

    SqliteBusyWait BusyWait;                        // declared first: outlives the connection
    sqlite3* Database = nullptr;                    // null when not open
    sqlite3_stmt* Statements[StatementCount] = {};  // prepared at open
    std::unique_ptr<RangeLock> Locks;               // the file beside the database
    int64_t LastExpirySeen = 0;                     // the last expiry this connection read or made
};
