// PostgresConnection, PostgresStatement and PostgresResult: the PostgreSQL
// implementation behind GenSqlConnection, through libpq. Internal to the
// foundation; callers see only Sql.h.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "foundation/Sql.h"

struct pg_conn;
struct pg_result;

// All rows of one statement's result, as the server sent them.
class PostgresResult : public GenSqlResult {
public:
    explicit PostgresResult(pg_result* result);  // takes the result
    ~PostgresResult() override;
    int NextRow() override;
    NyxString GetColumnText(unsigned column) override;

private:
    pg_result* Result;
    int Row = -1;  // the current row; -1 before the first
};

class PostgresConnection;

// A statement prepared on the server under a name of its own, prepared again
// after the connection was made afresh.
class PostgresStatement : public GenSqlStatement {
public:
    PostgresStatement(PostgresConnection& connection, std::string text, std::string name);
    GenSqlResult* Run(const NyxString* const* parameters, unsigned count) override;

private:
    friend class PostgresConnection;
    PostgresConnection& Connection;
    std::string Text;
    std::string Name;
    uint64_t PreparedIn = 0;  // the connection's Session when prepared; 0: not yet
};

class PostgresConnection : public GenSqlConnection {
public:
    ~PostgresConnection() override;
    // `place` is a libpq connection URI (postgresql://...). Non-zero when the
    // server answered within the connection timeout.
    int Connect(const NyxString& place) override;
    GenSqlResult* ExecuteSql(const NyxString& text, int flags) override;
    GenSqlStatement* Prepare(const NyxString& text) override;
    // The server's current snapshot: it moves whenever a transaction that
    // wrote anything in the cluster has begun or ended since.
    bool ReadChangeStamp(uint64_t& stamp) override;
    bool IsCurrent() override;
    enum_DatabaseType GetDatabaseType() const override;

private:
    friend class PostgresStatement;
    using Deadline = std::chrono::steady_clock::time_point;

    bool Open();
    void Close();
    // Sends the statement (`statement` prepared, or `text` as it is) and waits
    // for its result, reconnecting and sending once more when the connection
    // was lost outside a transaction. When it was lost inside one, every
    // statement fails until one that ends the transaction. Null on any error.
    GenSqlResult* Send(PostgresStatement* statement, const char* text, const NyxString* const* parameters,
                       unsigned count);
    bool SendOnce(PostgresStatement* statement, const char* text, const char* const* values, const int* sizes,
                  unsigned count, GenSqlResult*& result);
    bool EnsurePrepared(PostgresStatement& statement, Deadline deadline);
    // The last result of what was sent, or null when the deadline passed or
    // the connection broke (it is closed then).
    pg_result* Await(Deadline deadline);

    pg_conn* Handle = nullptr;
    std::string Place;
    uint64_t Session = 0;  // moves with every connection made
    unsigned NextStatement = 0;
    bool TransactionLost = false;  // the line broke inside a transaction the caller has not ended yet
};
