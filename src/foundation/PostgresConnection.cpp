// PostgresConnection: one statement at a time through libpq, always with the
// extended protocol (one statement per text, parameters bound), each waited
// for up to a deadline, and a lost connection made again once.
#include "foundation/PostgresConnection.h"

#include "foundation/LibPq.h"

#include <poll.h>

#include <strings.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

// An unreachable server ends the request's wait after this long; the site's
// URI may ask for less (connect_timeout).
constexpr const char* kConnectTimeoutSeconds = "5";
// A statement the server has not answered by then is given up, and the
// connection with it; the server stops it too (statement_timeout).
constexpr int kStatementTimeoutSeconds = 10;
constexpr const char* kServerOptions = "-c statement_timeout=10000";

// Only reached once Open has loaded the library: every other call needs a
// connection or a result made through it.
const LibPq& Pq() { return *LibPq::Load(); }

bool HoldsNul(const NyxString& text) { return std::memchr(text.GetString(), '\0', text.GetSize()) != nullptr; }

// Whether a statement's text ends a transaction (COMMIT, ROLLBACK, END, ABORT).
bool EndsTransaction(const char* text) {
    while (*text == ' ' || *text == '\t' || *text == '\n' || *text == '\r') ++text;
    for (const char* word : {"COMMIT", "ROLLBACK", "END", "ABORT"}) {
        const std::size_t size = std::strlen(word);
        if (strncasecmp(text, word, size) == 0 && !std::isalpha(static_cast<unsigned char>(text[size]))) return true;
    }
    return false;
}

}  // namespace

PostgresResult::PostgresResult(pg_result* result) : Result(result) {}

PostgresResult::~PostgresResult() { Pq().PQclear(Result); }

int PostgresResult::NextRow() {
    if (Row < Pq().PQntuples(Result)) ++Row;
    return Row < Pq().PQntuples(Result) ? 1 : 0;
}

NyxString PostgresResult::GetColumnText(unsigned column) {
    if (Row < 0 || Row >= Pq().PQntuples(Result) || column >= static_cast<unsigned>(Pq().PQnfields(Result)))
        return NyxString();
    const int number = static_cast<int>(column);
    if (Pq().PQgetisnull(Result, Row, number)) return NyxString();
    return NyxString(Pq().PQgetvalue(Result, Row, number), static_cast<unsigned>(Pq().PQgetlength(Result, Row, number)));
}

PostgresStatement::PostgresStatement(PostgresConnection& connection, std::string text, std::string name)
    : Connection(connection), Text(std::move(text)), Name(std::move(name)) {}

GenSqlResult* PostgresStatement::Run(const NyxString* const* parameters, unsigned count) {
    return Connection.Send(this, nullptr, parameters, count);
}

PostgresConnection::~PostgresConnection() { Close(); }

void PostgresConnection::Close() {
    if (Handle != nullptr) Pq().PQfinish(Handle);
    Handle = nullptr;
}

int PostgresConnection::Connect(const NyxString& place) {
    Close();
    if (HoldsNul(place)) return 0;
    Place = place.ToStd();
    TransactionLost = false;
    return Open() ? 1 : 0;
}

bool PostgresConnection::Open() {
    Close();
    if (LibPq::Load() == nullptr) return false;
    // Later entries win: the URI's own settings override these defaults.
    const char* keywords[] = {"connect_timeout", "options", "application_name", "dbname", nullptr};
    const char* values[] = {kConnectTimeoutSeconds, kServerOptions, "vexl", Place.c_str(), nullptr};
    Handle = Pq().PQconnectdbParams(keywords, values, 1);
    if (Handle == nullptr || Pq().PQstatus(Handle) != CONNECTION_OK) {
        Close();
        return false;
    }
    // The server's notices ("relation already exists, skipping") are no
    // news: they would fill the web server's log at every start.
    Pq().PQsetNoticeProcessor(Handle, [](void*, const char*) {}, nullptr);
    ++Session;
    return true;
}

GenSqlConnection::enum_DatabaseType PostgresConnection::GetDatabaseType() const { return Postgresql; }

bool PostgresConnection::IsCurrent() { return Handle != nullptr && Pq().PQstatus(Handle) == CONNECTION_OK; }

GenSqlResult* PostgresConnection::ExecuteSql(const NyxString& text, int flags) {
    if (HoldsNul(text)) return nullptr;
    return Send(nullptr, text.GetString(), nullptr, 0);
}

GenSqlStatement* PostgresConnection::Prepare(const NyxString& text) {
    if (HoldsNul(text)) return nullptr;
    if (Handle == nullptr && !Open()) return nullptr;
    auto* statement = new PostgresStatement(*this, text.ToStd(), "vexl_" + std::to_string(++NextStatement));
    const Deadline deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kStatementTimeoutSeconds);
    // Prepared at once, so that a statement the server refuses fails here.
    if (!EnsurePrepared(*statement, deadline)) {
        delete statement;
        return nullptr;
    }
    return statement;
}

bool PostgresConnection::ReadChangeStamp(uint64_t& stamp) {
    std::unique_ptr<GenSqlResult> result(ExecuteSql("SELECT pg_current_snapshot()::text", 0));
    if (result == nullptr || result->NextRow() == 0) return false;
    const NyxString snapshot = result->GetColumnText(0);
    // FNV-1a of the snapshot's text: equal texts, equal stamps.
    uint64_t hash = 14695981039346656037ull;
    for (unsigned i = 0; i < snapshot.GetSize(); ++i) {
        hash = (hash ^ static_cast<unsigned char>(snapshot.GetString()[i])) * 1099511628211ull;
    }
    stamp = hash;
    return true;
}

GenSqlResult* PostgresConnection::Send(PostgresStatement* statement, const char* text,
                                       const NyxString* const* parameters, unsigned count) {
    std::vector<const char*> values(count);
    std::vector<int> sizes(count);
    for (unsigned i = 0; i < count; ++i) {
        // libpq reads text parameters up to their NUL: one inside would cut the value.
        if (HoldsNul(*parameters[i])) return nullptr;
        if (parameters[i]->GetSize() > static_cast<unsigned>(std::numeric_limits<int>::max())) return nullptr;
        values[i] = parameters[i]->GetString();
        sizes[i] = static_cast<int>(parameters[i]->GetSize());
    }
    // A statement inside a transaction is never sent twice: the transaction
    // went with the connection, and the rest of it must fail, not run alone,
    // until the caller ends it.
    if (TransactionLost) {
        if (text != nullptr && EndsTransaction(text)) TransactionLost = false;
        return nullptr;
    }
    const bool inTransaction =
        Handle != nullptr && Pq().PQstatus(Handle) == CONNECTION_OK && Pq().PQtransactionStatus(Handle) != PQTRANS_IDLE;
    GenSqlResult* result = nullptr;
    if (SendOnce(statement, text, values.data(), sizes.data(), count, result)) return result;
    if (Handle != nullptr && Pq().PQstatus(Handle) == CONNECTION_OK) return result;  // the statement failed, not the line
    if (inTransaction) {
        Close();
        TransactionLost = true;
        return nullptr;
    }
    if (!Open()) return nullptr;
    SendOnce(statement, text, values.data(), sizes.data(), count, result);
    return result;
}

bool PostgresConnection::SendOnce(PostgresStatement* statement, const char* text, const char* const* values,
                                  const int* sizes, unsigned count, GenSqlResult*& result) {
    result = nullptr;
    if (Handle == nullptr || Pq().PQstatus(Handle) != CONNECTION_OK) return false;
    const Deadline deadline = std::chrono::steady_clock::now() + std::chrono::seconds(kStatementTimeoutSeconds);
    const int number = static_cast<int>(count);
    int sent = 0;
    if (statement != nullptr) {
        if (!EnsurePrepared(*statement, deadline)) return false;
        sent = Pq().PQsendQueryPrepared(Handle, statement->Name.c_str(), number, values, sizes, nullptr, 0);
    } else {
        sent = Pq().PQsendQueryParams(Handle, text, number, nullptr, values, sizes, nullptr, 0);
    }
    if (sent == 0) return false;
    pg_result* answer = Await(deadline);
    if (answer == nullptr) return false;
    const ExecStatusType status = Pq().PQresultStatus(answer);
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
        Pq().PQclear(answer);
        return false;
    }
    result = new PostgresResult(answer);
    return true;
}

bool PostgresConnection::EnsurePrepared(PostgresStatement& statement, Deadline deadline) {
    if (statement.PreparedIn == Session && Session != 0) return true;
    if (Handle == nullptr) return false;
    if (Pq().PQsendPrepare(Handle, statement.Name.c_str(), statement.Text.c_str(), 0, nullptr) == 0) return false;
    pg_result* answer = Await(deadline);
    if (answer == nullptr) return false;
    const bool prepared = Pq().PQresultStatus(answer) == PGRES_COMMAND_OK;
    Pq().PQclear(answer);
    if (prepared) statement.PreparedIn = Session;
    return prepared;
}

pg_result* PostgresConnection::Await(Deadline deadline) {
    pg_result* last = nullptr;
    for (;;) {
        // Read what has come, waiting on the socket while libpq still expects more.
        while (Pq().PQisBusy(Handle)) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                Pq().PQclear(last);
                Close();  // the server stops the statement at its own timeout
                return nullptr;
            }
            pollfd socket{Pq().PQsocket(Handle), POLLIN, 0};
            if (socket.fd < 0) {
                Pq().PQclear(last);
                return nullptr;
            }
            if (poll(&socket, 1, static_cast<int>(left.count())) < 0 && errno != EINTR) {
                Pq().PQclear(last);
                return nullptr;
            }
            if (Pq().PQconsumeInput(Handle) == 0) {
                Pq().PQclear(last);
                return nullptr;  // the line broke: PQstatus tells the caller
            }
        }
        pg_result* next = Pq().PQgetResult(Handle);
        if (next == nullptr) return last;
        Pq().PQclear(last);
        last = next;
    }
}
