#include "quince/SessionStoreCopy.h"

#include <memory>
#include <string_view>

#include "foundation/Files.h"
#include "foundation/Sql.h"
#include "quince/PostgresSessionStore.h"
#include "quince/SqliteSessionStore.h"

namespace {

// Where a location points, and how its tables are named and its values read
// and written: SQLite keeps the value as a BLOB, PostgreSQL as bytea, which
// travels as hex text.
struct StoreShape {
    bool Postgres = false;
    NyxString Place;  // the file or the URI
    const char* Sessions() const { return Postgres ? "vexl_sessions" : "sessions"; }
    const char* Variables() const { return Postgres ? "vexl_session_variables" : "session_variables"; }
};

StoreShape ShapeOf(const NyxString& location) {
    StoreShape shape;
    std::string text = location.ToStd();
    shape.Postgres = text.rfind("postgresql:", 0) == 0 || text.rfind("postgres:", 0) == 0;
    if (!shape.Postgres && text.rfind("sqlite:", 0) == 0) text.erase(0, 7);
    shape.Place = NyxString(text.c_str());
    return shape;
}

// Opens the store once through its own class, which makes the tables (and,
// for SQLite, the private folder and file), then a plain connection to it.
std::unique_ptr<GenSqlConnection> OpenStore(const StoreShape& shape, std::string& problem) {
    std::unique_ptr<SessionStore> store;
    if (shape.Postgres) store = std::make_unique<PostgresSessionStore>(shape.Place);
    else store = std::make_unique<SqliteSessionStore>(shape.Place);
    if (!store->IsOpen()) {
        problem = "'" + shape.Place.ToStd() + "': " + store->Problem();
        return nullptr;
    }
    store.reset();
    std::unique_ptr<GenSqlConnection> connection(
        GenSqlConnection::Create(shape.Postgres ? GenSqlConnection::Postgresql : GenSqlConnection::Sqlite));
    if (connection == nullptr || !connection->Connect(shape.Place)) {
        problem = "'" + shape.Place.ToStd() + "' cannot be opened";
        return nullptr;
    }
    return connection;
}

bool Execute(GenSqlConnection& connection, const std::string& text) {
    std::unique_ptr<GenSqlResult> result(connection.ExecuteSql(NyxString(text.c_str()), 0));
    return result != nullptr;
}

}  // namespace

long CopySessions(const NyxString& from, const NyxString& to, std::string& problem) {
    const StoreShape source = ShapeOf(from), target = ShapeOf(to);
    // Opening a store makes it: a source that is not there is a mistake.
    FileIdentity present;
    if (!source.Postgres && !FileGetIdentity(source.Place, present)) {
        problem = "'" + source.Place.ToStd() + "' does not exist";
        return -1;
    }
    std::unique_ptr<GenSqlConnection> in = OpenStore(source, problem);
    if (in == nullptr) return -1;
    std::unique_ptr<GenSqlConnection> out = OpenStore(target, problem);
    if (out == nullptr) return -1;

    const std::string value = source.Postgres ? "encode(value, 'hex')" : "hex(value)";
    std::unique_ptr<GenSqlResult> sessions(
        in->ExecuteSql(NyxString(("SELECT id, last_access, secret FROM " + std::string(source.Sessions())).c_str()), 0));
    std::unique_ptr<GenSqlResult> variables(in->ExecuteSql(
        NyxString(("SELECT session_id, name, type, " + value + " FROM " + std::string(source.Variables())).c_str()), 0));
    const std::string sessionsTable = target.Sessions(), variablesTable = target.Variables();
    std::unique_ptr<GenSqlStatement> deleteSession(out->Prepare(NyxString(
        ("DELETE FROM " + variablesTable + " WHERE session_id = $1").c_str())));
    std::unique_ptr<GenSqlStatement> insertSession(out->Prepare(NyxString(
        ("INSERT INTO " + sessionsTable + " (id, last_access, secret) VALUES ($1, $2, NULLIF($3, '')) "
         "ON CONFLICT (id) DO UPDATE SET last_access = excluded.last_access, secret = excluded.secret").c_str())));
    // The values come as hex: PostgreSQL reads it back itself; SQLite (no
    // unhex before 3.41) gets the bytes, turned back below.
    std::unique_ptr<GenSqlStatement> insertVariable(out->Prepare(NyxString(
        ("INSERT INTO " + variablesTable + " (session_id, name, type, value) VALUES ($1, $2, $3, " +
         (target.Postgres ? std::string("decode($4, 'hex')") : std::string("CAST($4 AS BLOB)")) + ")").c_str())));
    if (sessions == nullptr || variables == nullptr || deleteSession == nullptr || insertSession == nullptr ||
        insertVariable == nullptr) {
        problem = "the session tables cannot be read or written";
        return -1;
    }
    if (!Execute(*out, "BEGIN")) {
        problem = "no transaction on the target";
        return -1;
    }
    long copied = 0;
    bool ok = true;
    while (ok && sessions->NextRow()) {
        const NyxString id = sessions->GetColumnText(0), lastAccess = sessions->GetColumnText(1),
                        secret = sessions->GetColumnText(2);
        const NyxString* sessionRow[] = {&id, &lastAccess, &secret};
        const NyxString* idOnly[] = {&id};
        std::unique_ptr<GenSqlResult> cleared(deleteSession->Run(idOnly, 1));
        std::unique_ptr<GenSqlResult> inserted(insertSession->Run(sessionRow, 3));
        ok = cleared != nullptr && inserted != nullptr;
        ++copied;
    }
    while (ok && variables->NextRow()) {
        const NyxString id = variables->GetColumnText(0), name = variables->GetColumnText(1),
                        type = variables->GetColumnText(2), hex = variables->GetColumnText(3);
        NyxString bytes = hex;
        if (!target.Postgres) {
            std::string raw;
            const std::string_view digits = hex.View();
            for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
                raw += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
            bytes = NyxString(std::string_view(raw));
        }
        const NyxString* row[] = {&id, &name, &type, &bytes};
        std::unique_ptr<GenSqlResult> inserted(insertVariable->Run(row, 4));
        ok = inserted != nullptr;
    }
    if (!ok || !Execute(*out, "COMMIT")) {
        Execute(*out, "ROLLBACK");
        problem = "a row could not be written; nothing was copied";
        return -1;
    }
    return copied;
}
