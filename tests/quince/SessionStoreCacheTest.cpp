// Tests of SessionStoreCache: a thread keeps its store across requests and
// opens it again when the file is replaced.
#include "quince/SessionStoreCache.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "quince/SqliteSessionStore.h"
#include "values/VarInteger.h"

namespace {

class SessionStoreCacheTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* base = std::getenv("VEXL_TEST_TMP");
        std::string root = base != nullptr ? base : std::filesystem::temp_directory_path().string();
        std::filesystem::create_directories(root);
        std::string pattern = root + "/storecache-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        Folder = pattern;
        Path = Folder + "/sessions.db";
        CloseSessionStores();
    }
    void TearDown() override {
        CloseSessionStores();
        std::error_code ignored;
        std::filesystem::remove_all(Folder, ignored);
    }

    std::string Folder;
    std::string Path;
};

TEST_F(SessionStoreCacheTest, TheSameStoreServesTheNextRequest) {
    std::string problem;
    SessionStore* first = UseSessionStore(NyxString(Path.c_str()), problem);
    ASSERT_NE(first, nullptr) << problem;
    EXPECT_EQ(UseSessionStore(NyxString(Path.c_str()), problem), first);
    EXPECT_EQ(UseSessionStore(NyxString(("sqlite:" + Path).c_str()), problem), first);
    EXPECT_EQ(UseSessionStore(NyxString((Folder + "/./sessions.db").c_str()), problem), first);
}

TEST_F(SessionStoreCacheTest, AReplacedFileIsOpenedAgain) {
    std::string problem;
    SessionStore* old = UseSessionStore(NyxString(Path.c_str()), problem);
    ASSERT_NE(old, nullptr) << problem;
    const std::string other = Folder + "/restored.db";
    {
        SqliteSessionStore restored(NyxString(other.c_str()));
        VarInteger n("n");
        n.SetIntegerValue(41);
        ASSERT_TRUE(restored.Save(1, n));
    }
    {
        // A backup is one file: its log checkpointed into it, as `.backup` leaves it.
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(other.c_str(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }
    // A restore from a backup, as docs/session-store.md says to do it: the
    // old file goes with its log, then the backup takes its place.
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(Path + suffix);
    std::filesystem::rename(other, Path);
    SessionStore* now = UseSessionStore(NyxString(Path.c_str()), problem);
    ASSERT_NE(now, nullptr) << problem;
    std::unique_ptr<Variable> n(now->Load(1, "n"));
    ASSERT_NE(n, nullptr) << "the old connection answered";
    EXPECT_EQ(n->GetIntegerValue(), 41);
}

TEST_F(SessionStoreCacheTest, AStoreThatCannotOpenIsTriedAgain) {
    const std::string blocked = Folder + "/later/sessions.db";
    std::filesystem::create_directories(Folder + "/later");
    std::filesystem::permissions(Folder + "/later", std::filesystem::perms::all);
    std::string problem;
    EXPECT_EQ(UseSessionStore(NyxString(blocked.c_str()), problem), nullptr);
    EXPECT_NE(problem.find("may be written by other users"), std::string::npos) << problem;
    std::filesystem::permissions(Folder + "/later", std::filesystem::perms::owner_all);
    problem.clear();
    EXPECT_NE(UseSessionStore(NyxString(blocked.c_str()), problem), nullptr) << problem;
}

TEST_F(SessionStoreCacheTest, AServerThatCannotBeReachedAndAnEmptyPathAreRefused) {
    std::string problem;
    EXPECT_EQ(UseSessionStore(NyxString("postgresql:///sessions?host=/nonexistent"), problem), nullptr);
#ifdef VEXL_HAVE_POSTGRESQL
    EXPECT_EQ(problem, "the PostgreSQL server cannot be reached");
#endif
    problem.clear();
    EXPECT_EQ(UseSessionStore(NyxString("sqlite:"), problem), nullptr);
    EXPECT_EQ(problem, "no session store was named");
}

}  // namespace
