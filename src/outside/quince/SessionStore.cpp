// SessionStore: sessions and their variables in SQLite, through prepared
// statements with bound parameters only.
#include "outside/quince/SessionStore.h"

#include <sqlite3.h>

#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "outside/quince/SessionValueCodec.h"
#include "values/Variable.h"

namespace {

const char* const kSchema =
    "CREATE TABLE IF NOT EXISTS sessions ("
    " id INTEGER PRIMARY KEY,"
    " last_access INTEGER NOT NULL);"
    "CREATE TABLE IF NOT EXISTS session_variables ("
    " session_id INTEGER NOT NULL,"
    " name TEXT NOT NULL,"
    " type TEXT NOT NULL,"
    " value BLOB NOT NULL,"
    " PRIMARY KEY (session_id, name));"
    "CREATE INDEX IF NOT EXISTS sessions_by_last_access ON sessions (last_access);";

// In the order of SessionStore::StatementId.
const char* const kStatements[] = {
    "SELECT 1 FROM sessions WHERE id = ?1",
    "INSERT INTO sessions (id, last_access) VALUES (?1, ?2)"
    " ON CONFLICT (id) DO UPDATE SET last_access = excluded.last_access",
    "SELECT type, value FROM session_variables WHERE session_id = ?1 AND name = ?2",
    "INSERT INTO session_variables (session_id, name, type, value) VALUES (?1, ?2, ?3, ?4)"
    " ON CONFLICT (session_id, name) DO UPDATE SET type = excluded.type, value = excluded.value",
    "DELETE FROM session_variables WHERE session_id IN (SELECT id FROM sessions WHERE last_access < ?1)",
    "DELETE FROM sessions WHERE last_access < ?1",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};

int64_t Now() { return static_cast<int64_t>(std::time(nullptr)); }

}  // namespace

SessionStore::SessionStore(const NyxString& databasePath) {
    if (!Open(databasePath)) Close();
}

SessionStore::~SessionStore() { Close(); }

bool SessionStore::Open(const NyxString& databasePath) {
    static_assert(sizeof kStatements / sizeof kStatements[0] == StatementCount, "one text per statement");
    if (databasePath.IsEmpty()) return false;
    const std::filesystem::path path(databasePath.ToStd());
    if (path.has_parent_path()) {
        std::error_code ignored;
        std::filesystem::create_directories(path.parent_path(), ignored);
    }
    if (sqlite3_open_v2(databasePath.GetString(), &Database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
        SQLITE_OK) {
        return false;
    }
    sqlite3_busy_timeout(Database, kBusyTimeoutMilliseconds);
    // WAL lets readers of other requests go on while one writes; a file system
    // without shared memory keeps the default journal, which works too.
    sqlite3_exec(Database, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
    // With a write-ahead log, NORMAL syncs at checkpoints only: a power cut may
    // lose the last requests' session changes but never damages the store,
    // and a request no longer waits on the disk for every commit.
    sqlite3_exec(Database, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    if (sqlite3_exec(Database, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK) return false;
    for (int i = 0; i < StatementCount; ++i) {
        if (sqlite3_prepare_v2(Database, kStatements[i], -1, &Statements[i], nullptr) != SQLITE_OK) return false;
    }
    return true;
}

void SessionStore::Close() {
    for (sqlite3_stmt*& statement : Statements) {
        sqlite3_finalize(statement);
        statement = nullptr;
    }
    if (Database != nullptr) sqlite3_close(Database);
    Database = nullptr;
}

sqlite3_stmt* SessionStore::Statement(StatementId id) {
    sqlite3_stmt* statement = Statements[id];
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return statement;
}

bool SessionStore::Run(StatementId id) {
    const int result = sqlite3_step(Statements[id]);
    sqlite3_reset(Statements[id]);
    return result == SQLITE_DONE;
}

bool SessionStore::UpsertSessionRow(uint32_t id, int64_t now) {
    sqlite3_stmt* statement = Statement(UpsertSession);
    sqlite3_bind_int64(statement, 1, id);
    sqlite3_bind_int64(statement, 2, now);
    return Run(UpsertSession);
}

bool SessionStore::Exists(uint32_t id) {
    if (!IsOpen()) return false;
    sqlite3_stmt* statement = Statement(SelectSession);
    sqlite3_bind_int64(statement, 1, id);
    const bool found = sqlite3_step(statement) == SQLITE_ROW;
    sqlite3_reset(statement);
    return found;
}

Variable* SessionStore::Load(uint32_t id, const NyxString& name) {
    if (!IsOpen()) return nullptr;
    sqlite3_stmt* statement = Statement(SelectVariable);
    sqlite3_bind_int64(statement, 1, id);
    sqlite3_bind_text(statement, 2, name.GetString(), static_cast<int>(name.GetSize()), SQLITE_TRANSIENT);
    Variable* variable = nullptr;
    if (sqlite3_step(statement) == SQLITE_ROW) {
        const auto* type = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
        const int typeSize = sqlite3_column_bytes(statement, 0);
        const auto* value = static_cast<const char*>(sqlite3_column_blob(statement, 1));
        const int valueSize = sqlite3_column_bytes(statement, 1);
        if (type != nullptr) {
            variable = SessionValueCodec::Decode(std::string_view(type, static_cast<std::size_t>(typeSize)),
                                                 std::string_view(value != nullptr ? value : "",
                                                                  static_cast<std::size_t>(valueSize)),
                                                 name);
        }
    }
    sqlite3_reset(statement);
    return variable;
}

void SessionStore::Save(uint32_t id, const Variable& variable) {
    if (!IsOpen()) return;
    std::string type;
    std::string value;
    if (!SessionValueCodec::Encode(variable, type, value)) return;
    const NyxString name = const_cast<Variable&>(variable).GetVarName();  // the getter is not const
    if (!Run(BeginTransaction)) return;
    bool saved = UpsertSessionRow(id, Now());
    if (saved) {
        sqlite3_stmt* statement = Statement(UpsertVariable);
        sqlite3_bind_int64(statement, 1, id);
        sqlite3_bind_text(statement, 2, name.GetString(), static_cast<int>(name.GetSize()), SQLITE_TRANSIENT);
        sqlite3_bind_text(statement, 3, type.data(), static_cast<int>(type.size()), SQLITE_TRANSIENT);
        sqlite3_bind_blob(statement, 4, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
        saved = Run(UpsertVariable);
    }
    if (!saved || !Run(CommitTransaction)) Run(RollbackTransaction);
}

void SessionStore::Touch(uint32_t id) {
    if (!IsOpen()) return;
    UpsertSessionRow(id, Now());
}

void SessionStore::Expire(uint32_t ageSeconds) {
    if (!IsOpen()) return;
    const int64_t limit = Now() - static_cast<int64_t>(ageSeconds);
    if (!Run(BeginTransaction)) return;
    sqlite3_bind_int64(Statement(DeleteExpiredVariables), 1, limit);
    bool done = Run(DeleteExpiredVariables);
    if (done) {
        sqlite3_bind_int64(Statement(DeleteExpiredSessions), 1, limit);
        done = Run(DeleteExpiredSessions);
    }
    if (!done || !Run(CommitTransaction)) Run(RollbackTransaction);
}
