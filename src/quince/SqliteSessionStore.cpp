// SqliteSessionStore: sessions and their variables in SQLite, through
// statements prepared once per connection with bound parameters only.
#include "quince/SqliteSessionStore.h"

#include <ctime>
#include <filesystem>
#include <string>

#include "foundation/LibSqlite.h"
#include "foundation/PrivateStorage.h"
#include "foundation/RangeLock.h"
#include "quince/SessionValueCodec.h"
#include "values/Variable.h"

namespace {

// The whole schema. `secret` is null for sessions made under a number the
// caller chose (vexl render --session); no cookie can resume those.
const char* const kSchema =
    "CREATE TABLE IF NOT EXISTS sessions ("
    " id INTEGER PRIMARY KEY,"
    " last_access INTEGER NOT NULL,"
    " secret TEXT);"
    "CREATE TABLE IF NOT EXISTS session_variables ("
    " session_id INTEGER NOT NULL,"
    " name TEXT NOT NULL,"
    " type TEXT NOT NULL,"
    " value BLOB NOT NULL,"
    " PRIMARY KEY (session_id, name));"
    "CREATE INDEX IF NOT EXISTS sessions_by_last_access ON sessions (last_access);"
    "CREATE TABLE IF NOT EXISTS session_store_facts ("
    " name TEXT PRIMARY KEY,"
    " value INTEGER NOT NULL);";

// Stores made before sessions had secrets.
const char* const kAddSecretColumn = "ALTER TABLE sessions ADD COLUMN secret TEXT";

// In the order of SqliteSessionStore::StatementId.
const char* const kStatements[] = {
    "SELECT 1 FROM sessions WHERE id = ?1",
    "SELECT secret FROM sessions WHERE id = ?1 AND last_access >= ?2",
    "INSERT INTO sessions (id, last_access, secret) VALUES (?1, ?2, ?3) ON CONFLICT (id) DO NOTHING",
    // A row already touched this second is left alone: no page written.
    "INSERT INTO sessions (id, last_access) VALUES (?1, ?2)"
    " ON CONFLICT (id) DO UPDATE SET last_access = excluded.last_access WHERE last_access <> excluded.last_access",
    "SELECT type, value FROM session_variables WHERE session_id = ?1 AND name = ?2",
    "INSERT INTO session_variables (session_id, name, type, value) VALUES (?1, ?2, ?3, ?4)"
    " ON CONFLICT (session_id, name) DO UPDATE SET type = excluded.type, value = excluded.value",
    "DELETE FROM session_variables WHERE session_id IN (SELECT id FROM sessions WHERE last_access < ?1)",
    "DELETE FROM sessions WHERE last_access < ?1",
    "SELECT value FROM session_store_facts WHERE name = 'last_expiry'",
    "INSERT INTO session_store_facts (name, value) VALUES ('last_expiry', ?1)"
    " ON CONFLICT (name) DO UPDATE SET value = excluded.value",
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
};

}  // namespace

int64_t SessionStore::Now() { return static_cast<int64_t>(std::time(nullptr)); }

bool SessionStore::SameSecret(std::string_view stored, std::string_view given) {
    if (stored.size() != given.size() || stored.empty()) return false;
    unsigned char difference = 0;
    for (std::size_t i = 0; i < stored.size(); ++i)
        difference |= static_cast<unsigned char>(stored[i] ^ given[i]);
    return difference == 0;
}

SqliteSessionStore::SqliteSessionStore(const NyxString& databasePath) {
    if (!Open(databasePath)) Close();
}

SqliteSessionStore::~SqliteSessionStore() { Close(); }

bool SqliteSessionStore::Open(const NyxString& databasePath) {
    static_assert(sizeof kStatements / sizeof kStatements[0] == StatementCount, "one text per statement");
    if (databasePath.IsEmpty()) {
        OpenProblem = "no file was named";
        return false;
    }
    const std::string path = databasePath.ToStd();
    const std::filesystem::path asPath(path);
    if (asPath.has_parent_path() && !MakePrivateFolder(asPath.parent_path().string(), OpenProblem)) return false;
    if (!MakePrivateFile(path, OpenProblem)) return false;
    if (LibSqlite::Load() == nullptr) {
        OpenProblem = "the SQLite library (libsqlite3.so.0) cannot be opened";
        return false;
    }
    if (SqliteLibrary().sqlite3_open_v2(path.c_str(), &Database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, nullptr) !=
        SQLITE_OK) {
        OpenProblem = "'" + path + "' cannot be opened";
        return false;
    }
    BusyWait.Install(Database, kBusyTimeoutMilliseconds);
    // WAL lets readers of other requests go on while one writes; a file system
    // without shared memory keeps the default journal, which works too.
    SqliteLibrary().sqlite3_exec(Database, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
    // With a write-ahead log, NORMAL syncs at checkpoints only: a power cut may
    // lose the last requests' session changes but never damages the store,
    // and a request no longer waits on the disk for every commit.
    SqliteLibrary().sqlite3_exec(Database, "PRAGMA synchronous=NORMAL", nullptr, nullptr, nullptr);
    // A CGI process opens the store for one request: its close should not
    // checkpoint (four syncs) and delete the log that the next one makes
    // again. The log is checkpointed as it grows, by whichever request
    // passes its limit; until then it is part of the store (see
    // docs/session-store.md on copying and replacing the file).
    SqliteLibrary().sqlite3_db_config(Database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    if (!PrepareStatements()) {
        // A new file, or one made before secrets: make the schema, then try again.
        for (sqlite3_stmt*& statement : Statements) {
            SqliteLibrary().sqlite3_finalize(statement);
            statement = nullptr;
        }
        SqliteLibrary().sqlite3_exec(Database, kAddSecretColumn, nullptr, nullptr, nullptr);  // fails harmlessly where present
        if (SqliteLibrary().sqlite3_exec(Database, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK || !PrepareStatements()) {
            OpenProblem = "'" + path + "' is not a session store";
            return false;
        }
    }
    const std::string lockPath = path + "-locks";
    if (!MakePrivateFile(lockPath, OpenProblem)) return false;
    Locks = std::make_unique<RangeLock>(lockPath);
    if (!Locks->IsOpen()) {
        OpenProblem = "the lock file '" + lockPath + "' cannot be opened";
        return false;
    }
    return true;
}

bool SqliteSessionStore::PrepareStatements() {
    for (int i = 0; i < StatementCount; ++i) {
        if (SqliteLibrary().sqlite3_prepare_v3(Database, kStatements[i], -1, SQLITE_PREPARE_PERSISTENT, &Statements[i], nullptr) !=
            SQLITE_OK)
            return false;
    }
    return true;
}

void SqliteSessionStore::AbandonReplacedFile() {
    // The log beside the path may by now be the new file's: a checkpoint or a
    // removal of it by this connection would damage that file. Closing never
    // checkpoints (see Open), so there is nothing more to do; the function
    // keeps that promise in one place should Open ever change.
    if (Database != nullptr) SqliteLibrary().sqlite3_db_config(Database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

void SqliteSessionStore::Close() {
    for (sqlite3_stmt*& statement : Statements) {
        if (statement != nullptr) SqliteLibrary().sqlite3_finalize(statement);
        statement = nullptr;
    }
    if (Database != nullptr) SqliteLibrary().sqlite3_close(Database);
    Database = nullptr;
    Locks.reset();
}

sqlite3_stmt* SqliteSessionStore::Statement(StatementId id) {
    sqlite3_stmt* statement = Statements[id];
    SqliteLibrary().sqlite3_reset(statement);
    SqliteLibrary().sqlite3_clear_bindings(statement);
    return statement;
}

bool SqliteSessionStore::Run(StatementId id) {
    const int result = SqliteLibrary().sqlite3_step(Statements[id]);
    SqliteLibrary().sqlite3_reset(Statements[id]);
    return result == SQLITE_DONE;
}

bool SqliteSessionStore::Begin() {
    // A connection lives across requests: one whose earlier transaction could
    // neither commit nor roll back must not stay inside it for ever.
    if (!SqliteLibrary().sqlite3_get_autocommit(Database)) Run(RollbackTransaction);
    return Run(BeginTransaction);
}

bool SqliteSessionStore::UpsertSessionRow(uint32_t id, int64_t now) {
    sqlite3_stmt* statement = Statement(UpsertSession);
    SqliteLibrary().sqlite3_bind_int64(statement, 1, id);
    SqliteLibrary().sqlite3_bind_int64(statement, 2, now);
    return Run(UpsertSession);
}

bool SqliteSessionStore::Exists(uint32_t id) {
    if (!IsOpen()) return false;
    sqlite3_stmt* statement = Statement(SelectSession);
    SqliteLibrary().sqlite3_bind_int64(statement, 1, id);
    const bool found = SqliteLibrary().sqlite3_step(statement) == SQLITE_ROW;
    SqliteLibrary().sqlite3_reset(statement);
    return found;
}

bool SqliteSessionStore::Resume(uint32_t id, std::string_view secret, uint32_t maxIdleSeconds) {
    if (!IsOpen() || secret.empty()) return false;
    sqlite3_stmt* statement = Statement(SelectSecret);
    SqliteLibrary().sqlite3_bind_int64(statement, 1, id);
    SqliteLibrary().sqlite3_bind_int64(statement, 2, Now() - static_cast<int64_t>(maxIdleSeconds));
    bool matches = false;
    if (SqliteLibrary().sqlite3_step(statement) == SQLITE_ROW) {
        const auto* stored = reinterpret_cast<const char*>(SqliteLibrary().sqlite3_column_text(statement, 0));
        const int size = SqliteLibrary().sqlite3_column_bytes(statement, 0);
        if (stored != nullptr) matches = SameSecret(std::string_view(stored, static_cast<std::size_t>(size)), secret);
    }
    SqliteLibrary().sqlite3_reset(statement);
    return matches;
}

bool SqliteSessionStore::Create(uint32_t id, std::string_view secret) {
    if (!IsOpen()) return false;
    sqlite3_stmt* statement = Statement(InsertSession);
    SqliteLibrary().sqlite3_bind_int64(statement, 1, id);
    SqliteLibrary().sqlite3_bind_int64(statement, 2, Now());
    SqliteLibrary().sqlite3_bind_text(statement, 3, secret.data(), static_cast<int>(secret.size()), SQLITE_TRANSIENT);
    return Run(InsertSession) && SqliteLibrary().sqlite3_changes(Database) == 1;
}

Variable* SqliteSessionStore::Load(uint32_t id, const NyxString& name) {
    if (!IsOpen()) return nullptr;
    sqlite3_stmt* statement = Statement(SelectVariable);
    SqliteLibrary().sqlite3_bind_int64(statement, 1, id);
    SqliteLibrary().sqlite3_bind_text(statement, 2, name.GetString(), static_cast<int>(name.GetSize()), SQLITE_TRANSIENT);
    Variable* variable = nullptr;
    if (SqliteLibrary().sqlite3_step(statement) == SQLITE_ROW) {
        const auto* type = reinterpret_cast<const char*>(SqliteLibrary().sqlite3_column_text(statement, 0));
        const int typeSize = SqliteLibrary().sqlite3_column_bytes(statement, 0);
        const auto* value = static_cast<const char*>(SqliteLibrary().sqlite3_column_blob(statement, 1));
        const int valueSize = SqliteLibrary().sqlite3_column_bytes(statement, 1);
        if (type != nullptr) {
            variable = SessionValueCodec::Decode(std::string_view(type, static_cast<std::size_t>(typeSize)),
                                                 std::string_view(value != nullptr ? value : "",
                                                                  static_cast<std::size_t>(valueSize)),
                                                 name);
        }
    }
    SqliteLibrary().sqlite3_reset(statement);
    return variable;
}

bool SqliteSessionStore::SaveAll(uint32_t id, Variable* const* variables, unsigned count) {
    if (!IsOpen()) return false;
    if (!Begin()) return false;
    bool saved = UpsertSessionRow(id, Now());
    std::string type;
    std::string value;
    for (unsigned i = 0; saved && i < count; ++i) {
        if (!SessionValueCodec::Encode(*variables[i], type, value)) continue;
        const NyxString name = variables[i]->GetVarName();
        sqlite3_stmt* statement = Statement(UpsertVariable);
        SqliteLibrary().sqlite3_bind_int64(statement, 1, id);
        SqliteLibrary().sqlite3_bind_text(statement, 2, name.GetString(), static_cast<int>(name.GetSize()), SQLITE_TRANSIENT);
        SqliteLibrary().sqlite3_bind_text(statement, 3, type.data(), static_cast<int>(type.size()), SQLITE_TRANSIENT);
        SqliteLibrary().sqlite3_bind_blob(statement, 4, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
        saved = Run(UpsertVariable);
    }
    if (saved && Run(CommitTransaction)) return true;
    Run(RollbackTransaction);
    return false;
}

void SqliteSessionStore::Touch(uint32_t id) {
    if (!IsOpen()) return;
    UpsertSessionRow(id, Now());
}

bool SqliteSessionStore::DeleteIdle(int64_t limit) {
    SqliteLibrary().sqlite3_bind_int64(Statement(DeleteExpiredVariables), 1, limit);
    if (!Run(DeleteExpiredVariables)) return false;
    SqliteLibrary().sqlite3_bind_int64(Statement(DeleteExpiredSessions), 1, limit);
    return Run(DeleteExpiredSessions);
}

void SqliteSessionStore::Expire(uint32_t ageSeconds) {
    if (!IsOpen()) return;
    const int64_t limit = Now() - static_cast<int64_t>(ageSeconds);
    if (!Begin()) return;
    if (!DeleteIdle(limit) || !Run(CommitTransaction)) Run(RollbackTransaction);
}

void SqliteSessionStore::ExpireNowAndThen(uint32_t ageSeconds, uint32_t intervalSeconds) {
    if (!IsOpen()) return;
    const int64_t now = Now();
    // What this connection saw last: until then no request of it need ask.
    if (now - LastExpirySeen < static_cast<int64_t>(intervalSeconds) && LastExpirySeen <= now) return;
    // A plain read next: most requests stop here without taking the write lock.
    sqlite3_stmt* statement = Statement(SelectLastExpiry);
    const int64_t last = SqliteLibrary().sqlite3_step(statement) == SQLITE_ROW ? SqliteLibrary().sqlite3_column_int64(statement, 0) : 0;
    SqliteLibrary().sqlite3_reset(statement);
    LastExpirySeen = last;
    if (now - last < static_cast<int64_t>(intervalSeconds) && last <= now) return;
    if (!Begin()) return;
    SqliteLibrary().sqlite3_bind_int64(Statement(UpsertLastExpiry), 1, now);
    const bool done = Run(UpsertLastExpiry) && DeleteIdle(now - static_cast<int64_t>(ageSeconds));
    if (!done || !Run(CommitTransaction)) {
        Run(RollbackTransaction);
        return;
    }
    LastExpirySeen = now;
}

bool SqliteSessionStore::Lock(uint32_t id, unsigned timeoutMilliseconds) {
    return IsOpen() && Locks->Lock(id, timeoutMilliseconds);
}

void SqliteSessionStore::Unlock(uint32_t id) {
    if (IsOpen()) Locks->Unlock(id);
}

void SqliteSessionStore::SetBusyTimeout(unsigned milliseconds) {
    if (IsOpen()) BusyWait.Install(Database, milliseconds);
}
