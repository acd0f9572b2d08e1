// Tests of SqliteBusyWait: a connection that finds the database locked waits
// in short steps, gets the lock once the holder lets go, and gives up once
// its time has passed.
#include "foundation/SqliteBusyWait.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <chrono>
#include <thread>

#include "foundation/LibSqlite.h"
#include "TemporaryFolder.h"

namespace {

sqlite3* OpenDatabase(const std::string& path) {
    sqlite3* database = nullptr;
    SqliteLibrary().sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    return database;
}

int Exec(sqlite3* database, const char* sql) { return SqliteLibrary().sqlite3_exec(database, sql, nullptr, nullptr, nullptr); }

TEST(SqliteBusyWait, PausesStartShortAndStayUnderTwoMilliseconds) {
    EXPECT_LE(SqliteBusyWait::PauseBefore(0).count(), 10);
    for (int attempt = 1; attempt < 40; ++attempt) {
        EXPECT_GE(SqliteBusyWait::PauseBefore(attempt), SqliteBusyWait::PauseBefore(attempt - 1));
        EXPECT_LE(SqliteBusyWait::PauseBefore(attempt).count(), 2100);
    }
}

TEST(SqliteBusyWait, WaitsForTheHolderAndGivesUpPastItsTime) {
    ASSERT_NE(LibSqlite::Load(), nullptr);
    TemporaryFolder folder;
    sqlite3* holder = OpenDatabase(folder / "store.db");
    sqlite3* waiter = OpenDatabase(folder / "store.db");
    ASSERT_EQ(Exec(holder, "CREATE TABLE t (x INTEGER)"), SQLITE_OK);
    SqliteBusyWait wait;

    // Held for the whole of a short wait: the waiter gives up.
    wait.Install(waiter, 30);
    ASSERT_EQ(Exec(holder, "BEGIN IMMEDIATE"), SQLITE_OK);
    EXPECT_EQ(Exec(waiter, "BEGIN IMMEDIATE"), SQLITE_BUSY);

    // Let go while a long wait is on: the waiter gets the lock.
    wait.Install(waiter, 10000);
    std::thread release([holder] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        Exec(holder, "COMMIT");
    });
    EXPECT_EQ(Exec(waiter, "BEGIN IMMEDIATE"), SQLITE_OK);
    release.join();
    EXPECT_EQ(Exec(waiter, "INSERT INTO t VALUES (1); COMMIT"), SQLITE_OK);
    SqliteLibrary().sqlite3_close(waiter);
    SqliteLibrary().sqlite3_close(holder);
}

}  // namespace
