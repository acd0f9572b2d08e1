// PostgresSessionStore: the session store in a PostgreSQL database that the
// front machines of a site share (SessionStore = postgresql://...). The
// requests of one session are serialised across machines by an advisory lock
// per session, held on this connection.
#pragma once

#include <cstdint>
#include <memory>

#include "quince/SessionStore.h"

class GenSqlConnection;
class GenSqlStatement;

class PostgresSessionStore : public SessionStore {
public:
    // Connects (libpq URI) and makes the tables if they are missing.
    explicit PostgresSessionStore(const NyxString& uri);
    ~PostgresSessionStore() override;
    PostgresSessionStore(const PostgresSessionStore&) = delete;
    PostgresSessionStore& operator=(const PostgresSessionStore&) = delete;

    bool IsOpen() const override { return Connection != nullptr; }
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
        ClaimExpiry,
        TryLock,
        Unlocks,
        StatementCount
    };

    // Runs a prepared statement; whether it succeeded, and (when `row` is
    // given) whether it gave a row, whose columns go to `row`.
    bool Run(StatementId id, std::initializer_list<NyxString> parameters, bool* gaveRow = nullptr,
             NyxString* first = nullptr, NyxString* second = nullptr);
    bool Execute(const char* text);  // a statement without parameters or rows
    bool DeleteIdle(int64_t limit);  // inside a transaction

    std::unique_ptr<GenSqlConnection> Connection;  // null when not open
    std::unique_ptr<GenSqlStatement> Statements[StatementCount];
};
