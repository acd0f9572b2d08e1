// Tests of the PostgreSQL connection, on the tests' own server: parameters
// always bound, one statement per text, a connection made again after the
// server restarts (but never a transaction's statement sent twice), and
// waits that end.
#include "foundation/Sql.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "PostgresServer.h"

namespace {

class PostgresConnectionTest : public testing::Test {
protected:
    void SetUp() override {
        if (Database.Uri.empty()) GTEST_SKIP() << "no PostgreSQL for this test: " << Database.WhyNot;
        Connection.reset(GenSqlConnection::Create(GenSqlConnection::Postgresql));
        ASSERT_NE(Connection, nullptr);
        ASSERT_NE(Connection->Connect(NyxString(std::string_view(Database.Uri))), 0);
        ASSERT_TRUE(Run("CREATE TABLE words (original TEXT, translated TEXT)"));
    }

    bool Run(const std::string& text) {
        std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql(NyxString(std::string_view(text)), 0));
        return result != nullptr;
    }
    std::string First(const std::string& text) {
        std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql(NyxString(std::string_view(text)), 0));
        if (result == nullptr) return "<null>";
        if (result->NextRow() == 0) return "<none>";
        return result->GetColumnText(0).ToStd();
    }
    static std::string RunPrepared(GenSqlStatement& statement, std::initializer_list<const char*> words) {
        std::vector<NyxString> values(words.begin(), words.end());
        std::vector<const NyxString*> parameters;
        for (const NyxString& value : values) parameters.push_back(&value);
        std::unique_ptr<GenSqlResult> result(
            statement.Run(parameters.data(), static_cast<unsigned>(parameters.size())));
        if (result == nullptr) return "<null>";
        if (result->NextRow() == 0) return "<none>";
        return result->GetColumnText(0).ToStd();
    }

    PostgresDatabase Database;
    std::unique_ptr<GenSqlConnection> Connection;
};

}  // namespace

TEST_F(PostgresConnectionTest, PreparedStatementsBindEveryParameter) {
    std::unique_ptr<GenSqlStatement> insert(Connection->Prepare("INSERT INTO words VALUES ($1, $2)"));
    std::unique_ptr<GenSqlStatement> select(Connection->Prepare("SELECT translated FROM words WHERE original = $1"));
    ASSERT_NE(insert, nullptr);
    ASSERT_NE(select, nullptr);
    EXPECT_EQ(RunPrepared(*insert, {"It's", "C'est"}), "<none>");
    EXPECT_EQ(RunPrepared(*insert, {"x'); DROP TABLE words; --", "kept"}), "<none>");
    EXPECT_EQ(RunPrepared(*insert, {"\xC3\xA9t\xC3\xA9", ""}), "<none>");
    EXPECT_EQ(RunPrepared(*select, {"It's"}), "C'est");
    EXPECT_EQ(RunPrepared(*select, {"x'); DROP TABLE words; --"}), "kept");
    EXPECT_EQ(RunPrepared(*select, {"absent"}), "<none>");
    EXPECT_EQ(First("SELECT count(*) FROM words"), "3");
    EXPECT_EQ(RunPrepared(*select, {}), "<null>") << "a parameter missing";
}

TEST_F(PostgresConnectionTest, OneStatementPerTextAndNoNulByte) {
    EXPECT_FALSE(Run("SELECT 1; DROP TABLE words"));
    EXPECT_EQ(Connection->Prepare("SELECT 1; DROP TABLE words"), nullptr);
    EXPECT_EQ(Connection->Prepare("SELECT nothing FROM nowhere"), nullptr);
    EXPECT_FALSE(Run(std::string("SELECT 1\0", 9)));
    std::unique_ptr<GenSqlStatement> select(Connection->Prepare("SELECT $1::text"));
    ASSERT_NE(select, nullptr);
    const NyxString withNul(std::string_view("a\0b", 3));
    const NyxString* parameters[] = {&withNul};
    EXPECT_EQ(select->Run(parameters, 1), nullptr) << "libpq would cut the value at the NUL";
    EXPECT_EQ(First("SELECT count(*) FROM words"), "0");
}

TEST_F(PostgresConnectionTest, NullAndColumnsOutOfRangeReadAsEmpty) {
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('a', NULL)"));
    std::unique_ptr<GenSqlResult> result(Connection->ExecuteSql("SELECT original, translated FROM words", 0));
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "") << "before the first row";
    ASSERT_NE(result->NextRow(), 0);
    EXPECT_EQ(result->GetColumnText(0).ToStd(), "a");
    EXPECT_EQ(result->GetColumnText(1).ToStd(), "");
    EXPECT_EQ(result->GetColumnText(2).ToStd(), "");
    EXPECT_EQ(result->NextRow(), 0);
    EXPECT_EQ(result->NextRow(), 0);
}

TEST_F(PostgresConnectionTest, ConnectionIsMadeAgainAfterTheServerRestarts) {
    std::unique_ptr<GenSqlStatement> select(Connection->Prepare("SELECT count(*) FROM words WHERE original = $1"));
    ASSERT_NE(select, nullptr);
    EXPECT_EQ(RunPrepared(*select, {"a"}), "0");
    ASSERT_TRUE(PostgresServer::Restart());
    EXPECT_EQ(RunPrepared(*select, {"a"}), "0") << "prepared again on the new connection";
    EXPECT_TRUE(Run("INSERT INTO words VALUES ('a', '')"));
    EXPECT_EQ(RunPrepared(*select, {"a"}), "1");
}

TEST_F(PostgresConnectionTest, TransactionLostWithItsConnectionIsNotReplayed) {
    ASSERT_TRUE(Run("BEGIN"));
    ASSERT_TRUE(Run("INSERT INTO words VALUES ('first', '')"));
    ASSERT_TRUE(PostgresServer::Restart());
    EXPECT_FALSE(Run("INSERT INTO words VALUES ('second', '')")) << "the rest of the transaction must fail";
    Run("ROLLBACK");
    EXPECT_EQ(First("SELECT count(*) FROM words"), "0");
}

TEST_F(PostgresConnectionTest, ChangeStampMovesWhenAnotherConnectionCommits) {
    uint64_t before = 0, after = 0;
    ASSERT_TRUE(Connection->ReadChangeStamp(before));
    ASSERT_TRUE(Connection->ReadChangeStamp(after));
    EXPECT_EQ(before, after);
    ASSERT_TRUE(PostgresServer::Run(Database.Uri, "INSERT INTO words VALUES ('other', '')"));
    ASSERT_TRUE(Connection->ReadChangeStamp(after));
    EXPECT_NE(before, after);
}

TEST_F(PostgresConnectionTest, StatementTimeoutEndsALongStatement) {
    std::unique_ptr<GenSqlConnection> impatient(GenSqlConnection::Create(GenSqlConnection::Postgresql));
    const std::string uri = Database.Uri + "%20-c%20statement_timeout%3D200";
    ASSERT_NE(impatient->Connect(NyxString(std::string_view(uri))), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(impatient->ExecuteSql("SELECT pg_sleep(30)", 0), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(PostgresClient, ServerThatNeverAnswersEndsTheWait) {
#ifndef VEXL_HAVE_POSTGRESQL
    GTEST_SKIP() << "this build has no PostgreSQL client";
#endif
    // A loopback port that takes connections and never says a word.
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    socklen_t size = sizeof address;
    ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
    const std::string uri =
        "postgresql://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/none?connect_timeout=2";
    std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(GenSqlConnection::Postgresql));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(connection->Connect(NyxString(std::string_view(uri))), 0);
    EXPECT_EQ(connection->ExecuteSql("SELECT 1", 0), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    close(listener);
}
