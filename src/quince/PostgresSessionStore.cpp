// PostgresSessionStore: the tables and statements of the SQLite store, in
// PostgreSQL; values travel as hex text (a text parameter cannot hold a NUL
// byte), and a session's lock is an advisory lock of the connection.
#include "quince/PostgresSessionStore.h"

#include <chrono>
#include <string>
#include <thread>

#include "foundation/Sql.h"
#include "quince/SessionValueCodec.h"
#include "values/Variable.h"

namespace {

// The tables carry a prefix: the database may be the site's own.
const char* const kSchema[] = {
    "CREATE TABLE IF NOT EXISTS vexl_sessions (id BIGINT PRIMARY KEY, last_access BIGINT NOT NULL, secret TEXT)",
    "CREATE INDEX IF NOT EXISTS vexl_sessions_by_last_access ON vexl_sessions (last_access)",
    "CREATE TABLE IF NOT EXISTS vexl_session_variables (session_id BIGINT NOT NULL, name TEXT NOT NULL, "
    "type TEXT NOT NULL, value BYTEA NOT NULL, PRIMARY KEY (session_id, name))",
    "CREATE TABLE IF NOT EXISTS vexl_session_store_facts (name TEXT PRIMARY KEY, value BIGINT NOT NULL)",
};

const char* const kStatements[] = {
    "SELECT 1 FROM vexl_sessions WHERE id = $1",
    "SELECT secret FROM vexl_sessions WHERE id = $1 AND last_access >= $2",
    "INSERT INTO vexl_sessions (id, last_access, secret) VALUES ($1, $2, $3) ON CONFLICT (id) DO NOTHING RETURNING 1",
    "INSERT INTO vexl_sessions (id, last_access) VALUES ($1, $2) "
    "ON CONFLICT (id) DO UPDATE SET last_access = excluded.last_access",
    "SELECT type, encode(value, 'hex') FROM vexl_session_variables WHERE session_id = $1 AND name = $2",
    "INSERT INTO vexl_session_variables (session_id, name, type, value) VALUES ($1, $2, $3, decode($4, 'hex')) "
    "ON CONFLICT (session_id, name) DO UPDATE SET type = excluded.type, value = excluded.value",
    "DELETE FROM vexl_session_variables WHERE session_id IN (SELECT id FROM vexl_sessions WHERE last_access < $1)",
    "DELETE FROM vexl_sessions WHERE last_access < $1",
    // Only the first request of the interval, on any machine, gets a row back.
    "INSERT INTO vexl_session_store_facts (name, value) VALUES ('last_expiry', $1) ON CONFLICT (name) DO UPDATE "
    "SET value = excluded.value WHERE vexl_session_store_facts.value <= $2 OR vexl_session_store_facts.value > $1 "
    "RETURNING 1",
    "SELECT pg_try_advisory_lock($1::bigint)",
    "SELECT pg_advisory_unlock($1::bigint)",
};

// A session's advisory lock: 'vexl' in the upper half of the 64-bit key, the
// session below. Making the tables takes a lock of the two-number keys, which
// PostgreSQL keeps apart from the 64-bit ones.
constexpr int64_t kLockSpace = int64_t{0x7665786C} << 32;
constexpr const char* kSchemaLock = "SELECT pg_advisory_xact_lock(1986361452, 0)";

NyxString Number(int64_t value) { return NyxString(std::to_string(value).c_str()); }

std::string ToHex(std::string_view bytes) {
    static const char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        hex += kDigits[static_cast<unsigned char>(c) >> 4];
        hex += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool FromHex(std::string_view hex, std::string& bytes) {
    if (hex.size() % 2 != 0) return false;
    bytes.clear();
    bytes.reserve(hex.size() / 2);
    for (std::size_t i = 0; i < hex.size(); i += 2) {
        const int high = HexValue(hex[i]), low = HexValue(hex[i + 1]);
        if (high < 0 || low < 0) return false;
        bytes += static_cast<char>(high * 16 + low);
    }
    return true;
}

}  // namespace

PostgresSessionStore::PostgresSessionStore(const NyxString& uri) {
    static_assert(sizeof kStatements / sizeof kStatements[0] == StatementCount, "one text per statement");
    std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(GenSqlConnection::Postgresql));
    if (connection == nullptr || !connection->Connect(uri)) {
        OpenProblem = "the PostgreSQL server cannot be reached";
        return;
    }
    Connection = std::move(connection);
    // Machines that start at once must not make the tables twice.
    bool made = Execute("BEGIN") && Execute(kSchemaLock);
    for (const char* statement : kSchema) made = made && Execute(statement);
    made = made && Execute("COMMIT");
    if (!made) Execute("ROLLBACK");
    for (int i = 0; made && i < StatementCount; ++i) {
        Statements[i].reset(Connection->Prepare(NyxString(kStatements[i])));
        made = Statements[i] != nullptr;
    }
    if (!made) {
        OpenProblem = "the session tables cannot be made or used in the PostgreSQL database";
        for (auto& statement : Statements) statement.reset();
        Connection.reset();
    }
}

PostgresSessionStore::~PostgresSessionStore() {
    for (auto& statement : Statements) statement.reset();  // before their connection
}

bool PostgresSessionStore::Execute(const char* text) {
    std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql(NyxString(text), 0));
    return result != nullptr;
}

bool PostgresSessionStore::Run(StatementId id, std::initializer_list<NyxString> parameters, bool* gaveRow,
                               NyxString* first, NyxString* second) {
    const NyxString* list[4] = {};
    unsigned count = 0;
    for (const NyxString& parameter : parameters) list[count++] = &parameter;
    std::unique_ptr<GenSqlResult> result(Statements[id]->Run(list, count));
    if (result == nullptr) return false;
    if (gaveRow != nullptr) {
        *gaveRow = result->NextRow() != 0;
        if (*gaveRow && first != nullptr) *first = result->GetColumnText(0);
        if (*gaveRow && second != nullptr) *second = result->GetColumnText(1);
    }
    return true;
}

bool PostgresSessionStore::Exists(uint32_t id) {
    bool found = false;
    return IsOpen() && Run(SelectSession, {Number(id)}, &found) && found;
}

bool PostgresSessionStore::Resume(uint32_t id, std::string_view secret, uint32_t maxIdleSeconds) {
    if (!IsOpen() || secret.empty()) return false;
    bool found = false;
    NyxString stored;
    if (!Run(SelectSecret, {Number(id), Number(Now() - static_cast<int64_t>(maxIdleSeconds))}, &found, &stored))
        return false;
    return found && SameSecret(stored.View(), secret);
}

bool PostgresSessionStore::Create(uint32_t id, std::string_view secret) {
    bool inserted = false;
    return IsOpen() && Run(InsertSession, {Number(id), Number(Now()), NyxString(secret)}, &inserted) && inserted;
}

Variable* PostgresSessionStore::Load(uint32_t id, const NyxString& name) {
    if (!IsOpen()) return nullptr;
    bool found = false;
    NyxString type, hex;
    std::string value;
    if (!Run(SelectVariable, {Number(id), name}, &found, &type, &hex) || !found || !FromHex(hex.View(), value))
        return nullptr;
    return SessionValueCodec::Decode(type.View(), value, name);
}

bool PostgresSessionStore::SaveAll(uint32_t id, Variable* const* variables, unsigned count) {
    if (!IsOpen() || !Execute("BEGIN")) return false;
    bool saved = Run(UpsertSession, {Number(id), Number(Now())});
    std::string type, value;
    for (unsigned i = 0; saved && i < count; ++i) {
        if (!SessionValueCodec::Encode(*variables[i], type, value)) continue;
        saved = Run(UpsertVariable,
                    {Number(id), variables[i]->GetVarName(), NyxString(type), NyxString(ToHex(value))});
    }
    if (saved && Execute("COMMIT")) return true;
    Execute("ROLLBACK");
    return false;
}

void PostgresSessionStore::Touch(uint32_t id) {
    if (IsOpen()) Run(UpsertSession, {Number(id), Number(Now())});
}

bool PostgresSessionStore::DeleteIdle(int64_t limit) {
    return Run(DeleteExpiredVariables, {Number(limit)}) && Run(DeleteExpiredSessions, {Number(limit)});
}

void PostgresSessionStore::Expire(uint32_t ageSeconds) {
    if (!IsOpen() || !Execute("BEGIN")) return;
    if (!DeleteIdle(Now() - static_cast<int64_t>(ageSeconds)) || !Execute("COMMIT")) Execute("ROLLBACK");
}

void PostgresSessionStore::ExpireNowAndThen(uint32_t ageSeconds, uint32_t intervalSeconds) {
    if (!IsOpen() || !Execute("BEGIN")) return;
    const int64_t now = Now();
    bool claimed = false;
    const bool done = Run(ClaimExpiry, {Number(now), Number(now - static_cast<int64_t>(intervalSeconds))}, &claimed) &&
                      (!claimed || DeleteIdle(now - static_cast<int64_t>(ageSeconds)));
    if (!done || !Execute("COMMIT")) Execute("ROLLBACK");
}

bool PostgresSessionStore::Lock(uint32_t id, unsigned timeoutMilliseconds) {
    if (!IsOpen()) return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
    auto pause = std::chrono::milliseconds(2);
    while (true) {
        bool answered = false;
        NyxString granted;
        if (!Run(TryLock, {Number(kLockSpace | id)}, &answered, &granted) || !answered) return false;
        if (granted.IsEqualTo("t")) return true;
        if (std::chrono::steady_clock::now() + pause > deadline) return false;
        std::this_thread::sleep_for(pause);
        if (pause < std::chrono::milliseconds(50)) pause *= 2;
    }
}

void PostgresSessionStore::Unlock(uint32_t id) {
    if (IsOpen()) Run(Unlocks, {Number(kLockSpace | id)});
}

void PostgresSessionStore::SetBusyTimeout(unsigned milliseconds) {
    if (!IsOpen()) return;
    // A number of ours, not a request's value: safe to write into the text.
    Execute(("SET lock_timeout = " + std::to_string(milliseconds)).c_str());
}
