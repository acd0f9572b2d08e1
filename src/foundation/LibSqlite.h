// LibSqlite: the SQLite library, opened the first time a database or session
// store is. Linking it would load it into every process, stores or not: about
// 0.2 ms of each CGI request that uses none.
#pragma once

#include <sqlite3.h>

#define VEXL_SQLITE_FUNCTIONS(X)                                                                            \
    X(sqlite3_bind_blob) X(sqlite3_bind_int64) X(sqlite3_bind_parameter_count) X(sqlite3_bind_text)         \
    X(sqlite3_busy_handler) X(sqlite3_busy_timeout) X(sqlite3_changes) X(sqlite3_clear_bindings) X(sqlite3_close)                   \
    X(sqlite3_close_v2) X(sqlite3_column_blob) X(sqlite3_column_bytes) X(sqlite3_column_count)              \
    X(sqlite3_column_int64) X(sqlite3_column_text) X(sqlite3_db_config) X(sqlite3_exec) X(sqlite3_finalize) \
    X(sqlite3_get_autocommit) X(sqlite3_open_v2) X(sqlite3_prepare_v2) X(sqlite3_prepare_v3)                \
    X(sqlite3_reset) X(sqlite3_step)

struct LibSqlite {
#define VEXL_SQLITE_MEMBER(name) decltype(&::name) name;
    VEXL_SQLITE_FUNCTIONS(VEXL_SQLITE_MEMBER)
#undef VEXL_SQLITE_MEMBER

    // The library's functions, or null when it cannot be opened (then no
    // database can be). Opened once per process.
    static const LibSqlite* Load();
};

// The opened library. Only for code that holds a database that was opened,
// which Load() made possible.
inline const LibSqlite& SqliteLibrary() { return *LibSqlite::Load(); }
