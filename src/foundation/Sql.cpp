// Sql: the base classes answer as an empty database would, and Create picks
// the implementation for a kind of database.
#include "foundation/Sql.h"

#include "foundation/SqliteConnection.h"
#ifdef VEXL_HAVE_POSTGRESQL
#include "foundation/PostgresConnection.h"
#endif

GenSqlResult::~GenSqlResult() = default;

int GenSqlResult::NextRow() { return 0; }

NyxString GenSqlResult::GetColumnText(unsigned column) { return NyxString(); }

GenSqlStatement::~GenSqlStatement() = default;

GenSqlResult* GenSqlStatement::Run(const NyxString* const* parameters, unsigned count) { return nullptr; }

GenSqlConnection* GenSqlConnection::Create(int type) {
    switch (type) {
        case Sqlite:
            return new SqliteConnection();
#ifdef VEXL_HAVE_POSTGRESQL
        case Postgresql:
            return new PostgresConnection();
#endif
        default:
            return nullptr;
    }
}

GenSqlConnection::enum_DatabaseType GenSqlConnection::TypeOfPlace(const NyxString& place) {
    const std::string_view text = place.View();
    for (std::string_view scheme : {"postgresql://", "postgres://"}) {
        if (text.substr(0, scheme.size()) == scheme) return Postgresql;
    }
    return Sqlite;
}

GenSqlConnection::~GenSqlConnection() = default;

int GenSqlConnection::Connect(const NyxString& path) { return 0; }

GenSqlResult* GenSqlConnection::ExecuteSql(const NyxString& text, int flags) { return nullptr; }

GenSqlStatement* GenSqlConnection::Prepare(const NyxString& text) { return nullptr; }

bool GenSqlConnection::ReadChangeStamp(uint64_t& stamp) { return false; }

bool GenSqlConnection::IsCurrent() { return false; }

GenSqlConnection::enum_DatabaseType GenSqlConnection::GetDatabaseType() const { return Sqlite; }
