// Sql: a database connection behind a small virtual interface. SQLite is the
// one kind built in; another kind of database slots in as a subclass.
#pragma once

#include <cstdint>

#include "values/NyxString.h"

// The rows of one statement's result. NextRow must be called before the first
// row is read.
class GenSqlResult {
public:
    virtual ~GenSqlResult();
    // Moves to the next row; non-zero if there is one.
    virtual int NextRow();
    // The text of a column of the current row, numbered from 0; NULL, a column
    // out of range or no current row gives "".
    virtual NyxString GetColumnText(unsigned column);
};

// A statement prepared once and run many times. Its parameters ($1, $2, ...
// in its text) are always bound, never formatted into the text. It belongs to
// the connection that prepared it and is deleted before that connection.
class GenSqlStatement {
public:
    virtual ~GenSqlStatement();
    // Runs the statement with `count` text parameters, in order. Returns a
    // result the caller deletes before the statement runs again, or null on
    // any error.
    virtual GenSqlResult* Run(const NyxString* const* parameters, unsigned count);
};

class GenSqlConnection {
public:
    enum enum_DatabaseType { Sqlite = 6, Postgresql = 7 };

    // A new, unconnected connection of the given kind that the caller owns;
    // null for a kind that is not built in. 6 is SQLite, 7 PostgreSQL.
    static GenSqlConnection* Create(int type);
    // The kind a place names: a libpq URI (postgresql://... or postgres://...)
    // is PostgreSQL, anything else an SQLite file.
    static enum_DatabaseType TypeOfPlace(const NyxString& place);

    virtual ~GenSqlConnection();
    // Opens the database; for SQLite `path` is the database file, created if
    // missing (its tables are not: they are the site's), and a locked
    // database is waited for up to two seconds per statement; for PostgreSQL
    // it is a libpq connection URI, and a lost connection is made again at
    // the next statement. Connecting again closes the previous database
    // first. Non-zero on success.
    virtual int Connect(const NyxString& path);
    // Runs exactly one statement; a second statement after it is refused
    // (blanks, ';' and comments may follow), and so is a text holding a NUL
    // byte. Returns a result the caller deletes (no rows for a statement that
    // is not a query), or null on any error. flags is unused.
    virtual GenSqlResult* ExecuteSql(const NyxString& text, int flags);
    // Prepares exactly one statement, under the rules of ExecuteSql; a
    // statement the caller owns, or null on any error.
    virtual GenSqlStatement* Prepare(const NyxString& text);
    // Sets `stamp` to a number that changes whenever another connection has
    // committed a change to the database since the last call; false when the
    // database cannot tell, and the caller must assume a change.
    virtual bool ReadChangeStamp(uint64_t& stamp);
    // False when the database connected to is no longer the one the path
    // names (the file was replaced or removed): a fresh Connect is due.
    virtual bool IsCurrent();
    virtual enum_DatabaseType GetDatabaseType() const;
};
