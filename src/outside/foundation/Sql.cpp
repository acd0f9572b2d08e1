// Sql: the base classes answer as an empty database would, and Create picks
// the implementation for a kind of database.
#include "outside/foundation/Sql.h"

#include "outside/foundation/SqliteConnection.h"

GenSqlResult::~GenSqlResult() = default;

int GenSqlResult::NextRow() { return 0; }

NyxString GenSqlResult::GetColumnText(unsigned column) { return NyxString(); }

GenSqlStatement::~GenSqlStatement() = default;

GenSqlResult* GenSqlStatement::Run(const NyxString* const* parameters, unsigned count) { return nullptr; }

GenSqlConnection* GenSqlConnection::Create(int type) {
    switch (type) {
        case Sqlite:
            return new SqliteConnection();
        default:
            return nullptr;
    }
}

GenSqlConnection::~GenSqlConnection() = default;

int GenSqlConnection::Connect(const NyxString& path) { return 0; }

GenSqlResult* GenSqlConnection::ExecuteSql(const NyxString& text, int flags) { return nullptr; }

GenSqlStatement* GenSqlConnection::Prepare(const NyxString& text) { return nullptr; }

bool GenSqlConnection::ReadChangeStamp(uint64_t& stamp) { return false; }

bool GenSqlConnection::IsCurrent() { return false; }
