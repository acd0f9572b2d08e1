// TranslationSource: answers kept on a thread from request to request, and
// what makes them go: another connection's commit, a replaced file, a server
// restart. One suite, run on SQLite and on PostgreSQL.
#include "page/TranslationSource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "PostgresServer.h"
#include "foundation/Sql.h"
#include "page/VexlPage.h"

namespace fs = std::filesystem;

namespace {

enum class BackEnd { Sqlite, Postgres };

class TranslationSourceTest : public testing::TestWithParam<BackEnd> {
protected:
    void SetUp() override {
        char folder[] = "/tmp/vexl-translation-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        Folder = folder;
        if (GetParam() == BackEnd::Sqlite) {
            Place = (Folder / "tr.db").string();
        } else {
            Server = std::make_unique<PostgresDatabase>();
            if (Server->Uri.empty()) GTEST_SKIP() << "no PostgreSQL for this test: " << Server->WhyNot;
            Place = Server->Uri;
        }
        Sql("CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT)");
        Sql("INSERT INTO t VALUES ('Hello', 'Hallo')");
        std::ofstream(Folder / "page.vxl", std::ios::binary)
            << "<TRANSLATION file=(db) table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable>"
               "<LOOP initialiser=\"i = 0\" condition=\"i < 3\" iterator=\"i = i + 1\"><b>Hello</b></LOOP>";
    }
    void TearDown() override { fs::remove_all(Folder); }

    // Runs one statement on a connection of the test's own, as a translator would.
    void Sql(const std::string& statement) {
        std::unique_ptr<GenSqlConnection> connection(
            GenSqlConnection::Create(GenSqlConnection::TypeOfPlace(NyxString(std::string_view(Place)))));
        ASSERT_NE(connection, nullptr);
        ASSERT_NE(connection->Connect(NyxString(std::string_view(Place))), 0) << Place;
        std::unique_ptr<GenSqlResult> result(connection->ExecuteSql(NyxString(std::string_view(statement)), 0));
        EXPECT_NE(result, nullptr) << statement;
    }
    std::string First(const std::string& query) {
        std::unique_ptr<GenSqlConnection> connection(
            GenSqlConnection::Create(GenSqlConnection::TypeOfPlace(NyxString(std::string_view(Place)))));
        if (connection == nullptr || connection->Connect(NyxString(std::string_view(Place))) == 0) return "<none>";
        std::unique_ptr<GenSqlResult> result(connection->ExecuteSql(NyxString(std::string_view(query)), 0));
        if (result == nullptr || result->NextRow() == 0) return "<none>";
        return result->GetColumnText(0).ToStd();
    }

    // One request, as a long-running front end makes it; its output, and the
    // connection it used.
    std::string Render(GenSqlConnection** connection = nullptr, const char* page = "page.vxl") {
        NyxString output;
        VexlPage request;
        request.SetOutput(&output);
        request.SetFile((Folder / page).c_str());
        request.CreateOneVariable("db", Place.c_str(), QuinceContext::VarListPage);
        request.Process();
        if (connection != nullptr) *connection = request.TranslationDb;
        return output.ToStd();
    }

    fs::path Folder;
    std::string Place;
    std::unique_ptr<PostgresDatabase> Server;
};

std::string Three(const std::string& word) {
    std::string text;
    for (int i = 0; i < 3; ++i) text += "<b>\n" + word + "</b>\n";
    return text;
}

}  // namespace

TEST_P(TranslationSourceTest, RequestsOnOneThreadShareTheConnection) {
    GenSqlConnection* first = nullptr;
    GenSqlConnection* second = nullptr;
    EXPECT_EQ(Render(&first), Three("Hallo"));
    EXPECT_EQ(Render(&second), Three("Hallo"));
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    GenSqlConnection* other = nullptr;
    std::thread([&] { Render(&other); }).join();
    EXPECT_NE(other, first);
}

TEST_P(TranslationSourceTest, ChangeByAnotherConnectionIsSeenByTheNextRequest) {
    EXPECT_EQ(Render(), Three("Hallo"));
    Sql("UPDATE t SET v = 'Servus' WHERE k = 'Hello'");
    EXPECT_EQ(Render(), Three("Servus"));
    Sql("DELETE FROM t");
    EXPECT_EQ(Render(), Three("Hello"));
    EXPECT_EQ(First("SELECT count(*) FROM t"), "1") << "the text was added again";
    Sql("UPDATE t SET v = 'Moin' WHERE k = 'Hello'");
    EXPECT_EQ(Render(), Three("Moin"));
}

TEST_P(TranslationSourceTest, TableCreatedAfterAFailedRequestIsFilled) {
    Sql("DROP TABLE t");
    EXPECT_EQ(Render(), Three("Hello"));
    Sql("CREATE TABLE t (k TEXT, v TEXT)");
    Render();
    Render();
    EXPECT_EQ(First("SELECT count(*) FROM t WHERE k = 'Hello'"), "1");
}

TEST_P(TranslationSourceTest, TextsAddedAtOnceByManyConnectionsGiveOneRowEach) {
    // No key on the table: only the store keeps a text from being added twice.
    Sql("CREATE TABLE n (k TEXT, v TEXT)");
    std::string page = "<TRANSLATION file=(db) table=\"n\" keycolumn=\"k\" valuecolumn=\"v\" enable>";
    for (int i = 0; i < 20; ++i) page += "<p>text " + std::to_string(i) + "</p>";
    std::ofstream(Folder / "many.vxl", std::ios::binary) << page;
    std::vector<std::thread> machines;
    for (int i = 0; i < 6; ++i) machines.emplace_back([this] { Render(nullptr, "many.vxl"); });
    for (auto& machine : machines) machine.join();
    EXPECT_EQ(First("SELECT count(*) FROM n"), "20");
    EXPECT_EQ(First("SELECT count(*) FROM (SELECT k FROM n GROUP BY k HAVING count(*) > 1) AS twice"), "0");
}

INSTANTIATE_TEST_SUITE_P(Sqlite, TranslationSourceTest, testing::Values(BackEnd::Sqlite));
INSTANTIATE_TEST_SUITE_P(Postgres, TranslationSourceTest, testing::Values(BackEnd::Postgres));

TEST(TranslationSourceOnSqlite, ReplacedFileIsOpenedAfresh) {
    char folder[] = "/tmp/vexl-translation-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const fs::path base = folder;
    auto make = [](const std::string& path, const char* value) {
        std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(GenSqlConnection::Sqlite));
        ASSERT_NE(connection->Connect(NyxString(std::string_view(path))), 0);
        delete connection->ExecuteSql("CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT)", 0);
        delete connection->ExecuteSql(NyxString(std::string_view(std::string("INSERT INTO t VALUES ('Hello', '") +
                                                                 value + "')")), 0);
    };
    const std::string database = (base / "tr.db").string();
    make(database, "Hallo");
    std::ofstream(base / "page.vxl", std::ios::binary)
        << "<TRANSLATION file=(db) table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable><b>Hello</b>";
    auto render = [&] {
        NyxString output;
        VexlPage request;
        request.SetOutput(&output);
        request.SetFile((base / "page.vxl").c_str());
        request.CreateOneVariable("db", database.c_str(), QuinceContext::VarListPage);
        request.Process();
        return output.ToStd();
    };
    EXPECT_EQ(render(), "<b>\nHallo</b>\n");
    make((base / "new.db").string(), "Hej");
    fs::rename(base / "new.db", database);
    EXPECT_EQ(render(), "<b>\nHej</b>\n");
    fs::remove(database);
    EXPECT_EQ(render(), "<b>\nHello</b>\n") << "a new empty file, no table";
    fs::remove_all(base);
}

TEST(TranslationSourceOnSqlite, SameRelativeNameInAnotherFolderIsAnotherFile) {
    // As a front end that changes into each page's folder: tr.db is not one file.
    char folder[] = "/tmp/vexl-translation-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const fs::path base = folder;
    const fs::path before = fs::current_path();
    for (const char* site : {"one", "two"}) {
        fs::create_directories(base / site);
        std::unique_ptr<GenSqlConnection> connection(GenSqlConnection::Create(GenSqlConnection::Sqlite));
        ASSERT_NE(connection->Connect(NyxString(std::string_view((base / site / "tr.db").string()))), 0);
        delete connection->ExecuteSql("CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT)", 0);
        delete connection->ExecuteSql(
            NyxString(std::string_view(std::string("INSERT INTO t VALUES ('Hello', '") + site + "')")), 0);
        std::ofstream(base / site / "page.vxl", std::ios::binary)
            << "<TRANSLATION file=\"tr.db\" table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable><b>Hello</b>";
    }
    std::string outputs;
    for (const char* site : {"one", "two", "one"}) {
        fs::current_path(base / site);
        NyxString output;
        {
            VexlPage request;
            request.SetOutput(&output);
            request.SetFile("page.vxl");
            request.Process();
        }
        outputs += output.ToStd();
    }
    fs::current_path(before);
    EXPECT_EQ(outputs, "<b>\none</b>\n<b>\ntwo</b>\n<b>\none</b>\n");
    fs::remove_all(base);
}

TEST(TranslationSourceOnPostgres, ServerRestartedBetweenRequestsIsReconnected) {
    PostgresDatabase server;
    if (server.Uri.empty()) GTEST_SKIP() << "no PostgreSQL for this test: " << server.WhyNot;
    ASSERT_TRUE(PostgresServer::Run(server.Uri, "CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT)"));
    ASSERT_TRUE(PostgresServer::Run(server.Uri, "INSERT INTO t VALUES ('Hello', 'Hallo')"));
    char folder[] = "/tmp/vexl-translation-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const fs::path base = folder;
    std::ofstream(base / "page.vxl", std::ios::binary)
        << "<TRANSLATION file=(db) table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable><b>Hello</b><i>New</i>";
    auto render = [&] {
        NyxString output;
        VexlPage request;
        request.SetOutput(&output);
        request.SetFile((base / "page.vxl").c_str());
        request.CreateOneVariable("db", server.Uri.c_str(), QuinceContext::VarListPage);
        request.Process();
        return output.ToStd();
    };
    EXPECT_EQ(render(), "<b>\nHallo</b>\n<i>\nNew</i>\n");
    ASSERT_TRUE(PostgresServer::Restart());
    ASSERT_TRUE(PostgresServer::Run(server.Uri, "UPDATE t SET v = 'Neu' WHERE k = 'New'"));
    EXPECT_EQ(render(), "<b>\nHallo</b>\n<i>\nNeu</i>\n");
    fs::remove_all(base);
}

TEST(TranslationSourceGeneration, MovesWithEveryAcquireAndRelease) {
    const uint64_t before = TranslationSource::Generation();
    EXPECT_NE(before, 0u);
    EXPECT_EQ(TranslationSource::Acquire(""), nullptr);
    const uint64_t afterFailure = TranslationSource::Generation();
    EXPECT_NE(afterFailure, before) << "a failed connection is tried again by the next text";
    TranslationSource::Release(nullptr);
}
