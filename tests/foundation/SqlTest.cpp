// Tests of the SQL connection: SQLite through GenSqlConnection, one
// statement at a time.
#include "foundation/Sql.h"

#include <chrono>
#include <filesystem>
#include <initializer_list>
#include <vector>
#include <fstream>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

namespace {

class SqlTest : public ::testing::Test {
protected:
    void SetUp() override {
        Connection.reset(GenSqlConnection::Create(GenSqlConnection::Sqlite));
        ASSERT_NE(Connection, nullptr);
        ASSERT_NE(Connection->Connect(NyxString(std::string_view(DatabasePath()))), 0);
        ASSERT_TRUE(Run("CREATE TABLE words (original TEXT, translated TEXT)"));
    }

    std::string DatabasePath() const { return Folder / "translations.db"; }

    // Runs a statement that gives no rows; true if it was accepted.
    bool Run(const std::string& text) {
        std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql(NyxString(std::string_view(text)), 0));
        return result != nullptr;
    }

    // The first column of the first row, or "<none>".
    std::string First(const std::string& text) {
        std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql(NyxString(std::string_view(text)), 0));
        if (result == nullptr) return "<null>";
        if (result->NextRow() == 0) return "<none>";
        return result->GetColumnText(0).ToStd();
    }

    std::string Count() { return First("SELECT count(*) FROM words"); }

    TemporaryFolder Folder;
    std::unique_ptr<GenSqlConnection> Connection;
};

}  // namespace

TEST(SqlCreateTest, SqliteAndPostgresqlAreBuiltIn) {
    std::unique_ptr<GenSqlConnection> sqlite(GenSqlConnection::Create(6));
    EXPECT_NE(sqlite, nullptr);
    EXPECT_EQ(sqlite->GetDatabaseType(), GenSqlConnection::Sqlite);
#ifdef VEXL_HAVE_POSTGRESQL
    std::unique_ptr<GenSqlConnection> postgresql(GenSqlConnection::Create(7));
    ASSERT_NE(postgresql, nullptr);
    EXPECT_EQ(postgresql->GetDatabaseType(), GenSqlConnection::Postgresql);
#else
    EXPECT_EQ(GenSqlConnection::Create(7), nullptr);
#endif
    EXPECT_EQ(GenSqlConnection::Create(0), nullptr);
    EXPECT_EQ(GenSqlConnection::Create(8), nullptr);
    EXPECT_EQ(GenSqlConnection::Create(-1), nullptr);
}

TEST(SqlCreateTest, PlaceNamesItsKind) {
    EXPECT_EQ(GenSqlConnection::TypeOfPlace("postgresql://db.example/site"), GenSqlConnection::Postgresql);
    EXPECT_EQ(GenSqlConnection::TypeOfPlace("postgres:///site?host=/run/postgresql"), GenSqlConnection::Postgresql);
    EXPECT_EQ(GenSqlConnection::TypeOfPlace("tr.db"), GenSqlConnection::Sqlite);
    EXPECT_EQ(GenSqlConnection::TypeOfPlace("/srv/postgresql://x"), GenSqlConnection::Sqlite);
    EXPECT_EQ(GenSqlConnection::TypeOfPlace("POSTGRESQL://x"), GenSqlConnection::Sqlite) << "schemes as libpq takes them";
    EXPECT_EQ(GenSqlConnection::TypeOfPlace(""), GenSqlConnection::Sqlite);
}

TEST(SqlCreateTest, UnconnectedConnectionRunsNothing) {
    std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(6));
    EXPECT_EQ(connection->ExecuteSql("SELECT 1", 0), nullptr);
}

TEST(SqlCreateTest, ConnectCreatesAMissingFile) {
    TemporaryFolder folder;
    std::string path = folder / "new.db";
    std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(6));
    EXPECT_NE(connection->Connect(NyxString(std::string_view(path))), 0);
    std::unique_ptr<GenSqlResult> result(connection->ExecuteSql("SELECT 1", 0));
    ASSERT_NE(result, nullptr);
    EXPECT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "1");
}

TEST(SqlCreateTest, ConnectFailsOnWhatIsNoDatabase) {
    TemporaryFolder folder;
    std::string path = folder / "text.db";
    std::ofstream(path) << "this is a text file, long enough to have a header of some sort in it........\n";
    std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(6));
    EXPECT_EQ(connection->Connect(NyxString(std::string_view(path))), 0);
    EXPECT_EQ(connection->Connect(NyxString(std::string_view(folder / "no/folder/x.db"))), 0);
    EXPECT_EQ(connection->Connect(""), 0);
    EXPECT_EQ(connection->ExecuteSql("SELECT 1", 0), nullptr);
}

TEST_F(SqlTest, SelectGivesRowsInOrder) {
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('Hello', 'Hallo')"));
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('Bye', 'Tschuess')"));
    std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql("SELECT original, translated FROM words ORDER BY rowid", 0));
    ASSERT_NE(result, nullptr);
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "Hello");
    EXPECT_EQ(result->GetColumnText(1).ToStd(), "Hallo");
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "Bye");
    EXPECT_EQ(result->NextRow(), 0);
    EXPECT_EQ(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "");
}

TEST_F(SqlTest, ColumnsBeforeTheFirstRowAndOutOfRangeAreEmpty) {
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('a', 'b')"));
    std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql("SELECT translated FROM words", 0));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "");
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "b");
    EXPECT_EQ(result->GetColumnText(1).ToStd(), "");
}

TEST_F(SqlTest, NullReadsAsEmpty) {
    ASSERT_TRUE(Run("INSERT INTO words (original) VALUES ('only')"));
    EXPECT_EQ(First("SELECT translated FROM words WHERE original = 'only'"), "");
}

TEST_F(SqlTest, SelectWithNoMatchHasNoRow) {
    EXPECT_EQ(First("SELECT translated FROM words WHERE original = 'nothing'"), "<none>");
}

TEST_F(SqlTest, InsertGivesAResultWithoutRows) {
    std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql("INSERT INTO words VALUES ('x', '')", 0));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->NextRow(), 0);
    EXPECT_EQ(Count(), "1");
}

TEST_F(SqlTest, DoubledQuotesKeepATextOneLiteral) {
    const std::string text = "it''s''); DROP TABLE words; --";
    ASSERT_TRUE(Run("INSERT INTO words (original, translated) VALUES ('" + text + "', '')"));
    EXPECT_EQ(First("SELECT original FROM words"), "it's'); DROP TABLE words; --");
    EXPECT_EQ(First("SELECT count(*) FROM words WHERE original = '" + text + "'"), "1");
}

TEST_F(SqlTest, SecondStatementIsRefusedAndNothingRuns) {
    EXPECT_FALSE(Run("INSERT INTO words VALUES ('a', ''); DROP TABLE words"));
    EXPECT_FALSE(Run("INSERT INTO words VALUES ('a', '');INSERT INTO words VALUES ('b', '')"));
    EXPECT_EQ(Count(), "0");
    EXPECT_EQ(First("SELECT translated FROM words WHERE original = 'x'; DELETE FROM words"), "<null>");
}

TEST_F(SqlTest, UnquotedTextThatBreaksOutIsRefused) {
    // What plain formatting of a text holding one quote would give.
    std::string text = "x'; DELETE FROM words; --";
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('keep', 'me')"));
    EXPECT_EQ(First("SELECT translated FROM words WHERE original = '" + text + "'"), "<null>");
    EXPECT_EQ(Count(), "1");
}

TEST_F(SqlTest, TrailingSemicolonBlanksAndCommentsAreAccepted) {
    EXPECT_TRUE(Run("INSERT INTO words VALUES ('a', '');"));
    EXPECT_TRUE(Run("INSERT INTO words VALUES ('b', '') ;  \n -- note\n /* more */ ;"));
    EXPECT_EQ(Count(), "2");
}

TEST_F(SqlTest, ErrorsGiveNull) {
    EXPECT_FALSE(Run("SELEC nothing"));
    EXPECT_FALSE(Run("SELECT x FROM missing_table"));
    EXPECT_FALSE(Run(""));
    EXPECT_FALSE(Run("   -- only a comment"));
}

TEST_F(SqlTest, TextWithANulByteIsRefused) {
    std::string text = std::string("INSERT INTO words VALUES ('a', '')") + '\0' + "; DROP TABLE words";
    EXPECT_EQ(Connection->ExecuteSql(NyxString(std::string_view(text)), 0), nullptr);
    EXPECT_EQ(Count(), "0");
}

TEST_F(SqlTest, BytesOfATextComeBackUnchanged) {
    const std::string text = "Gr\xC3\xBC\xC3\x9F" "e\n<b>&nbsp;</b>\r\n";
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('" + text + "', '')"));
    EXPECT_EQ(First("SELECT original FROM words"), text);
}

TEST_F(SqlTest, ResultOutlivesItsConnection) {
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('a', 'b')"));
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('c', 'd')"));
    std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql("SELECT translated FROM words ORDER BY rowid", 0));
    ASSERT_NE(result, nullptr);
    Connection.reset();
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "b");
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "d");
    EXPECT_EQ(result->NextRow(), 0);
}

TEST_F(SqlTest, ChangesReachTheFile) {
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('kept', 'yes')"));
    std::unique_ptr<GenSqlConnection> other(GenSqlConnection::Create(6));
    ASSERT_NE(other->Connect(NyxString(std::string_view(DatabasePath()))), 0);
    std::unique_ptr<GenSqlResult> result(other->ExecuteSql("SELECT translated FROM words", 0));
    ASSERT_NE(result, nullptr);
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "yes");
}

TEST_F(SqlTest, BusyDatabaseIsWaitedFor) {
    sqlite3* locker = nullptr;
    ASSERT_EQ(sqlite3_open(DatabasePath().c_str(), &locker), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(locker, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    std::thread release([locker] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        sqlite3_exec(locker, "COMMIT", nullptr, nullptr, nullptr);
    });
    bool accepted = Run("INSERT INTO words VALUES ('late', '')");
    release.join();
    sqlite3_close(locker);
    EXPECT_TRUE(accepted);
    EXPECT_EQ(Count(), "1");
}

TEST_F(SqlTest, ReconnectingMovesToTheNewFile) {
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('first', '')"));
    ASSERT_NE(Connection->Connect(NyxString(std::string_view(Folder / "second.db"))), 0);
    EXPECT_EQ(First("SELECT count(*) FROM words"), "<null>");
}

namespace {

// The first column of the first row of a prepared statement run with `words`.
std::string RunPrepared(GenSqlStatement& statement, std::initializer_list<const char*> words) {
    std::vector<NyxString> values(words.begin(), words.end());
    std::vector<const NyxString*> parameters;
    for (const NyxString& value : values) parameters.push_back(&value);
    std::unique_ptr<GenSqlResult> result(statement.Run(parameters.data(), static_cast<unsigned>(parameters.size())));
    if (result == nullptr) return "<null>";
    if (result->NextRow() == 0) return "<none>";
    return result->GetColumnText(0).ToStd();
}

}  // namespace

TEST_F(SqlTest, PreparedStatementRunsAgainWithEachParameterBound) {
    std::unique_ptr<GenSqlStatement> insert(Connection->Prepare("INSERT INTO words VALUES ($1, $2)"));
    std::unique_ptr<GenSqlStatement> select(Connection->Prepare("SELECT translated FROM words WHERE original = $1"));
    ASSERT_NE(insert, nullptr);
    ASSERT_NE(select, nullptr);
    EXPECT_EQ(RunPrepared(*insert, {"It's", "C'est"}), "<none>");
    EXPECT_EQ(RunPrepared(*insert, {"x'); DROP TABLE words; --", "kept"}), "<none>");
    EXPECT_EQ(RunPrepared(*select, {"It's"}), "C'est");
    EXPECT_EQ(RunPrepared(*select, {"x'); DROP TABLE words; --"}), "kept");
    EXPECT_EQ(RunPrepared(*select, {"absent"}), "<none>");
    EXPECT_EQ(Count(), "2");
}

TEST_F(SqlTest, PreparedStatementRefusesTheWrongNumberOfParameters) {
    std::unique_ptr<GenSqlStatement> select(Connection->Prepare("SELECT translated FROM words WHERE original = $1"));
    ASSERT_NE(select, nullptr);
    EXPECT_EQ(RunPrepared(*select, {}), "<null>");
    EXPECT_EQ(RunPrepared(*select, {"a", "b"}), "<null>");
}

TEST_F(SqlTest, PrepareRefusesWhatExecuteRefuses) {
    EXPECT_EQ(Connection->Prepare("SELECT 1; SELECT 2"), nullptr);
    EXPECT_EQ(Connection->Prepare("SELECT nothing FROM nowhere"), nullptr);
    EXPECT_EQ(Connection->Prepare(NyxString(std::string_view("SELECT 1\0", 9))), nullptr);
    std::unique_ptr<GenSqlConnection> unconnected(GenSqlConnection::Create(6));
    EXPECT_EQ(unconnected->Prepare("SELECT 1"), nullptr);
}

TEST_F(SqlTest, PreparedStatementRunsAfterAFailedRun) {
    ASSERT_TRUE(Run("CREATE UNIQUE INDEX one_original ON words (original)"));
    std::unique_ptr<GenSqlStatement> insert(Connection->Prepare("INSERT INTO words VALUES ($1, '')"));
    ASSERT_NE(insert, nullptr);
    EXPECT_EQ(RunPrepared(*insert, {"twice"}), "<none>");
    EXPECT_EQ(RunPrepared(*insert, {"twice"}), "<null>");
    EXPECT_EQ(RunPrepared(*insert, {"once"}), "<none>");
    EXPECT_EQ(Count(), "2");
}

TEST_F(SqlTest, ChangeStampMovesOnlyForOtherConnectionsCommits) {
    uint64_t before = 0, after = 0;
    ASSERT_TRUE(Connection->ReadChangeStamp(before));
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('own', '')"));
    ASSERT_TRUE(Connection->ReadChangeStamp(after));
    EXPECT_EQ(before, after) << "the connection's own change";
    std::unique_ptr<GenSqlConnection> other(GenSqlConnection::Create(6));
    ASSERT_NE(other->Connect(NyxString(std::string_view(DatabasePath()))), 0);
    delete other->ExecuteSql("UPDATE words SET translated = 'x'", 0);
    ASSERT_TRUE(Connection->ReadChangeStamp(after));
    EXPECT_NE(before, after);
}

TEST_F(SqlTest, ReplacedOrRemovedFileIsNoLongerCurrent) {
    EXPECT_TRUE(Connection->IsCurrent());
    {
        std::unique_ptr<GenSqlConnection> other(GenSqlConnection::Create(6));
        ASSERT_NE(other->Connect(NyxString(std::string_view(Folder / "other.db"))), 0);
    }
    std::filesystem::rename(Folder / "other.db", DatabasePath());
    EXPECT_FALSE(Connection->IsCurrent());
    ASSERT_NE(Connection->Connect(NyxString(std::string_view(DatabasePath()))), 0);
    EXPECT_TRUE(Connection->IsCurrent());
    std::filesystem::remove(DatabasePath());
    EXPECT_FALSE(Connection->IsCurrent());
}
