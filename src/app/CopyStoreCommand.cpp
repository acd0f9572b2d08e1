// vexl copy-store: moves a site's lasting state (sessions, or one translation
// table) from one store to another, e.g. from its SQLite files to the
// PostgreSQL database that several machines will share.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "app/AppCommands.h"
#include "foundation/Sql.h"
#include "quince/SessionStoreCopy.h"

namespace {

const char kCopyStoreHelp[] =
    "usage: vexl copy-store sessions FROM TO\n"
    "       vexl copy-store translations FROM TO --table T --key K --value V\n"
    "\n"
    "Copies every session (with its secret and variables), or every row of a\n"
    "translation table, from the store FROM to the store TO. Each is an SQLite\n"
    "file (a path, or sqlite:PATH) or a postgresql:// URI. Tables missing in TO\n"
    "are made; rows already there are replaced. All in one transaction.\n";

// A table or column name as an identifier in double quotes.
std::string Quoted(const std::string& name) {
    std::string quoted = "\"";
    for (const char c : name) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::unique_ptr<GenSqlConnection> Connect(const std::string& place) {
    const NyxString where(place.c_str());
    std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(GenSqlConnection::TypeOfPlace(where)));
    if (connection == nullptr || !connection->Connect(where)) return nullptr;
    return connection;
}

int CopyTranslations(const std::string& from, const std::string& to, const std::string& table,
                     const std::string& key, const std::string& value) {
    std::unique_ptr<GenSqlConnection> in = Connect(from), out = Connect(to);
    if (in == nullptr || out == nullptr) {
        std::fprintf(stderr, "vexl copy-store: '%s' cannot be opened\n", (in == nullptr ? from : to).c_str());
        return 1;
    }
    const std::string t = Quoted(table), k = Quoted(key), v = Quoted(value);
    std::unique_ptr<GenSqlResult> rows(
        in->ExecuteSql(NyxString(("SELECT " + k + ", " + v + " FROM " + t).c_str()), 0));
    std::unique_ptr<GenSqlResult> made(out->ExecuteSql(
        NyxString(("CREATE TABLE IF NOT EXISTS " + t + " (" + k + " TEXT PRIMARY KEY, " + v + " TEXT NOT NULL DEFAULT '')").c_str()), 0));
    std::unique_ptr<GenSqlStatement> insert(out->Prepare(NyxString(
        ("INSERT INTO " + t + " (" + k + ", " + v + ") VALUES ($1, $2) ON CONFLICT (" + k + ") DO UPDATE SET " + v +
         " = excluded." + v).c_str())));
    if (rows == nullptr || made == nullptr || insert == nullptr) {
        std::fprintf(stderr, "vexl copy-store: the table %s cannot be read or written\n", t.c_str());
        return 1;
    }
    delete out->ExecuteSql(NyxString("BEGIN"), 0);
    long copied = 0;
    bool ok = true;
    while (ok && rows->NextRow()) {
        const NyxString text = rows->GetColumnText(0), translation = rows->GetColumnText(1);
        const NyxString* row[] = {&text, &translation};
        std::unique_ptr<GenSqlResult> done(insert->Run(row, 2));
        ok = done != nullptr;
        ++copied;
    }
    std::unique_ptr<GenSqlResult> committed(ok ? out->ExecuteSql(NyxString("COMMIT"), 0) : nullptr);
    if (committed == nullptr) {
        delete out->ExecuteSql(NyxString("ROLLBACK"), 0);
        std::fprintf(stderr, "vexl copy-store: a row could not be written; nothing was copied\n");
        return 1;
    }
    std::printf("vexl copy-store: %ld translations copied\n", copied);
    return 0;
}

}  // namespace

int RunCopyStoreCommand(int argc, char** argv) {
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(kCopyStoreHelp, stdout);
            return 0;
        }
    }
    if (argc < 3) return ReportUsageError("copy-store", "needs what to copy, FROM and TO");
    const std::string what = argv[0], from = argv[1], to = argv[2];
    if (what == "sessions") {
        if (argc != 3) return ReportUsageError("copy-store", "sessions takes FROM and TO only");
        std::string problem;
        const long copied = CopySessions(NyxString(from.c_str()), NyxString(to.c_str()), problem);
        if (copied < 0) {
            std::fprintf(stderr, "vexl copy-store: %s\n", problem.c_str());
            return 1;
        }
        std::printf("vexl copy-store: %ld sessions copied\n", copied);
        return 0;
    }
    if (what != "translations") return ReportUsageError("copy-store", "copies 'sessions' or 'translations'");
    std::string table, key, value;
    for (int i = 3; i < argc; ++i) {
        std::string* target = std::strcmp(argv[i], "--table") == 0 ? &table
                              : std::strcmp(argv[i], "--key") == 0 ? &key
                              : std::strcmp(argv[i], "--value") == 0 ? &value
                                                                      : nullptr;
        if (target == nullptr || i + 1 >= argc) return ReportUsageError("copy-store", "unknown option or missing value");
        *target = argv[++i];
    }
    if (table.empty() || key.empty() || value.empty())
        return ReportUsageError("copy-store", "translations need --table, --key and --value");
    return CopyTranslations(from, to, table, key, value);
}
