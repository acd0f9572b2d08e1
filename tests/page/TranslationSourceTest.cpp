// TranslationSource: answers kept on a thread from request to request, and
// what makes them go: another connection's commit, a replaced file.
#include "page/TranslationSource.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sqlite3.h>
#include <string>
#include <thread>

#include "page/VexlPage.h"

namespace fs = std::filesystem;

namespace {

class TranslationSourceTest : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/vexl-translation-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        Folder = folder;
        Database = (Folder / "tr.db").string();
        Sql(Database, "CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT); INSERT INTO t VALUES ('Hello', 'Hallo')");
        std::ofstream(Folder / "page.vxl", std::ios::binary)
            << "<TRANSLATION file=(db) table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable>"
               "<LOOP initialiser=\"i = 0\" condition=\"i < 3\" iterator=\"i = i + 1\"><b>Hello</b></LOOP>";
    }
    void TearDown() override { fs::remove_all(Folder); }

    // Runs statements on a connection of the test's own, as a translator would.
    static void Sql(const std::string& path, const std::string& statements) {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << statements;
        sqlite3_close(database);
    }

    // One request, as a long-running front end makes it; its output, and the
    // connection it used.
    std::string Render(GenSqlConnection** connection = nullptr) {
        NyxString output;
        VexlPage page;
        page.SetOutput(&output);
        page.SetFile((Folder / "page.vxl").c_str());
        page.CreateOneVariable("db", Database.c_str(), QuinceContext::VarListPage);
        page.Process();
        if (connection != nullptr) *connection = page.TranslationDb;
        return output.ToStd();
    }

    fs::path Folder;
    std::string Database;
};

constexpr const char* kHallo = "<b>\nHallo</b>\n<b>\nHallo</b>\n<b>\nHallo</b>\n";

}  // namespace

TEST_F(TranslationSourceTest, RequestsOnOneThreadShareTheConnection) {
    GenSqlConnection* first = nullptr;
    GenSqlConnection* second = nullptr;
    EXPECT_EQ(Render(&first), kHallo);
    EXPECT_EQ(Render(&second), kHallo);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    GenSqlConnection* other = nullptr;
    std::thread([&] { Render(&other); }).join();
    EXPECT_NE(other, first);
}

TEST_F(TranslationSourceTest, ChangeByAnotherConnectionIsSeenByTheNextRequest) {
    EXPECT_EQ(Render(), kHallo);
    Sql(Database, "UPDATE t SET v = 'Servus' WHERE k = 'Hello'");
    EXPECT_EQ(Render(), "<b>\nServus</b>\n<b>\nServus</b>\n<b>\nServus</b>\n");
    Sql(Database, "DELETE FROM t");
    EXPECT_EQ(Render(), "<b>\nHello</b>\n<b>\nHello</b>\n<b>\nHello</b>\n");
    Sql(Database, "UPDATE t SET v = 'Moin' WHERE k = 'Hello'");
    EXPECT_EQ(Render(), "<b>\nMoin</b>\n<b>\nMoin</b>\n<b>\nMoin</b>\n");
}

TEST_F(TranslationSourceTest, ReplacedFileIsOpenedAfresh) {
    EXPECT_EQ(Render(), kHallo);
    const std::string replacement = (Folder / "new.db").string();
    Sql(replacement, "CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT); INSERT INTO t VALUES ('Hello', 'Hej')");
    fs::rename(replacement, Database);
    EXPECT_EQ(Render(), "<b>\nHej</b>\n<b>\nHej</b>\n<b>\nHej</b>\n");
    fs::remove(Database);
    EXPECT_EQ(Render(), "<b>\nHello</b>\n<b>\nHello</b>\n<b>\nHello</b>\n") << "a new empty file, no table";
}

TEST_F(TranslationSourceTest, TableCreatedAfterAFailedRequestIsFilled) {
    Sql(Database, "DROP TABLE t");
    EXPECT_EQ(Render(), "<b>\nHello</b>\n<b>\nHello</b>\n<b>\nHello</b>\n");
    Sql(Database, "CREATE TABLE t (k TEXT, v TEXT)");
    Render();
    Render();
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(Database.c_str(), &database), SQLITE_OK);
    sqlite3_stmt* count = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(database, "SELECT count(*) FROM t WHERE k = 'Hello'", -1, &count, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(count), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(count, 0), 1);
    sqlite3_finalize(count);
    sqlite3_close(database);
}

TEST(TranslationSourceGeneration, MovesWithEveryAcquireAndRelease) {
    const uint64_t before = TranslationSource::Generation();
    EXPECT_NE(before, 0u);
    EXPECT_EQ(TranslationSource::Acquire(""), nullptr);
    const uint64_t afterFailure = TranslationSource::Generation();
    EXPECT_NE(afterFailure, before) << "a failed connection is tried again by the next text";
    TranslationSource::Release(nullptr);
}
