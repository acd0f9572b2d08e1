// Tests of SqliteSessionStore: round trips of every value type, upsert, Touch
// and Expire, secrets, locks, private files, a store that cannot be opened,
// and several processes at once.
#include "quince/SqliteSessionStore.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include "values/VarArray.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

class SessionStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        const char* base = std::getenv("VEXL_TEST_TMP");
        std::string root = base != nullptr ? base : std::filesystem::temp_directory_path().string();
        std::filesystem::create_directories(root);
        std::string pattern = root + "/sessionstore-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        Folder = pattern;
        Path = Folder + "/nested/folder/sessions.db";  // the store makes the folders
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(Folder, ignored);
    }

    std::unique_ptr<Variable> RoundTrip(const Variable& variable, uint32_t id = 1) {
        SqliteSessionStore store(NyxString(Path.c_str()));
        store.Save(id, variable);
        SqliteSessionStore other(NyxString(Path.c_str()));  // read through a second connection
        return std::unique_ptr<Variable>(other.Load(id, const_cast<Variable&>(variable).GetVarName()));
    }

    // Moves a session's last use into the past, as if it had been idle.
    void AgeSession(uint32_t id, int seconds) {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(Path.c_str(), &db), SQLITE_OK);
        const std::string sql = "UPDATE sessions SET last_access = last_access - " + std::to_string(seconds) +
                                " WHERE id = " + std::to_string(id);
        EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(db);
    }

    int CountRows(const char* table) {
        sqlite3* db = nullptr;
        EXPECT_EQ(sqlite3_open(Path.c_str(), &db), SQLITE_OK);
        sqlite3_stmt* statement = nullptr;
        const std::string sql = std::string("SELECT COUNT(*) FROM ") + table;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr), SQLITE_OK);
        int count = -1;
        if (sqlite3_step(statement) == SQLITE_ROW) count = sqlite3_column_int(statement, 0);
        sqlite3_finalize(statement);
        sqlite3_close(db);
        return count;
    }

    std::string Folder;
    std::string Path;
};

TEST_F(SessionStoreTest, OpensAndCreatesTheFolder) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    EXPECT_TRUE(store.IsOpen());
    EXPECT_TRUE(std::filesystem::exists(Path));
    EXPECT_FALSE(store.Exists(1));
}

TEST_F(SessionStoreTest, AStoreThatCannotOpenDoesNothing) {
    const std::string blocker = Folder + "/file";
    { std::FILE* f = std::fopen(blocker.c_str(), "w"); ASSERT_NE(f, nullptr); std::fclose(f); }
    SqliteSessionStore store(NyxString((blocker + "/below/sessions.db").c_str()));  // a file stands where a folder must
    EXPECT_FALSE(store.IsOpen());
    VarInteger n("n");
    store.Save(1, n);
    store.Touch(1);
    store.Expire(0);
    EXPECT_FALSE(store.Exists(1));
    EXPECT_EQ(store.Load(1, "n"), nullptr);
    SqliteSessionStore empty(NyxString(""));
    EXPECT_FALSE(empty.IsOpen());
}

TEST_F(SessionStoreTest, SaveCreatesTheSessionAndLoadGivesANewVariable) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    VarInteger n("count");
    n.SetIntegerValue(-42);
    store.Save(7, n);
    EXPECT_TRUE(store.Exists(7));
    EXPECT_FALSE(store.Exists(8));
    std::unique_ptr<Variable> loaded(store.Load(7, "count"));
    ASSERT_NE(loaded, nullptr);
    EXPECT_NE(loaded.get(), &n);
    EXPECT_EQ(loaded->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(loaded->GetIntegerValue(), -42);
    EXPECT_EQ(loaded->GetVarName().ToStd(), "count");
    EXPECT_EQ(store.Load(7, "other"), nullptr);
    EXPECT_EQ(store.Load(8, "count"), nullptr);
}

TEST_F(SessionStoreTest, ScalarsRoundTripExactly) {
    VarBoolean b("b");
    b.SetBoolValue(5);  // not normalised
    EXPECT_EQ(RoundTrip(b)->GetBoolValue(), 5);
    VarChar c("c");
    c.SetCharValue(static_cast<char>(0xE9));
    EXPECT_EQ(RoundTrip(c)->GetCharValue(), static_cast<char>(0xE9));
    VarFloat f("f");
    f.SetFloatValue(0.1f);
    EXPECT_EQ(RoundTrip(f)->GetFloatValue(), 0.1f);
    VarDouble d("d");
    d.SetDoubleValue(0.1 + 0.2);  // needs 17 digits
    EXPECT_EQ(RoundTrip(d)->GetDoubleValue(), 0.1 + 0.2);
    d.SetDoubleValue(-std::numeric_limits<double>::infinity());
    EXPECT_EQ(RoundTrip(d)->GetDoubleValue(), -std::numeric_limits<double>::infinity());
    for (Variable* v : {static_cast<Variable*>(&b), static_cast<Variable*>(&c), static_cast<Variable*>(&f),
                        static_cast<Variable*>(&d)}) {
        EXPECT_EQ(RoundTrip(*v)->GetTypeId(), v->GetTypeId());
    }
}

TEST_F(SessionStoreTest, StringsKeepEveryByte) {
    VarString s("s");
    const std::string bytes("quote' \"x\" ; DROP TABLE sessions; --\0end\xff", 42);
    s.SetStringValue(bytes.data(), static_cast<unsigned>(bytes.size()));
    std::unique_ptr<Variable> loaded = RoundTrip(s);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetText().ToStd(), bytes);
    VarString empty("e");
    EXPECT_EQ(RoundTrip(empty)->GetText().ToStd(), "");
    EXPECT_EQ(CountRows("sessions"), 1);
}

TEST_F(SessionStoreTest, ArraysRoundTripWithTheirTypeAndNesting) {
    VarIntegerArray ints("ints");
    ints.SetArraySize(3);
    ints.GetArrayElement(2)->SetIntegerValue(9);
    std::unique_ptr<Variable> loaded = RoundTrip(ints);
    ASSERT_NE(loaded, nullptr);
    NyxString type;
    loaded->DumpType(type, "", 0);
    EXPECT_EQ(type.ToStd(), "integer[]");
    EXPECT_EQ(loaded->GetText().ToStd(), "[0,0,9]");

    VarArray mixed("mixed");
    auto* text = new VarString;
    text->SetStringValue(NyxString("a:3:b,c"));
    mixed.AddArrayElement(text);
    auto* inner = new VarStringArray;
    inner->SetArraySize(2);
    inner->GetArrayElement(0)->SetStringValue(NyxString("x"));
    mixed.AddArrayElement(inner);
    auto* number = new VarDouble;
    number->SetDoubleValue(2.5);
    mixed.AddArrayElement(number);
    loaded = RoundTrip(mixed);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetText().ToStd(), "[a:3:b,c,[x,],2.5]");
    EXPECT_EQ(loaded->GetArrayElement(1)->GetArrayElementType()->GetTypeId(), Variable::TypeString);

    VarDoubleArray empty("none");
    loaded = RoundTrip(empty);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetElementCount(), 0u);
}

TEST_F(SessionStoreTest, SaveReplacesTheValueAndItsType) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    VarInteger n("x");
    n.SetIntegerValue(1);
    store.Save(3, n);
    VarString s("x");
    s.SetStringValue(NyxString("now text"));
    store.Save(3, s);
    std::unique_ptr<Variable> loaded(store.Load(3, "x"));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetTypeId(), Variable::TypeString);
    EXPECT_EQ(loaded->GetText().ToStd(), "now text");
    EXPECT_EQ(CountRows("session_variables"), 1);
}

TEST_F(SessionStoreTest, SessionsKeepTheirVariablesApart) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    VarInteger n("n");
    n.SetIntegerValue(1);
    store.Save(1, n);
    n.SetIntegerValue(2);
    store.Save(0xFFFFFFFFu, n);  // the whole unsigned range is a session number
    EXPECT_EQ(std::unique_ptr<Variable>(store.Load(1, "n"))->GetIntegerValue(), 1);
    EXPECT_EQ(std::unique_ptr<Variable>(store.Load(0xFFFFFFFFu, "n"))->GetIntegerValue(), 2);
}

TEST_F(SessionStoreTest, TouchCreatesTheSession) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    store.Touch(12);
    EXPECT_TRUE(store.Exists(12));
}

TEST_F(SessionStoreTest, ExpireDeletesIdleSessionsWithTheirVariables) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    VarInteger n("n");
    store.Save(1, n);
    store.Save(2, n);
    store.Save(3, n);
    AgeSession(1, 100);
    AgeSession(2, 59);
    store.Expire(60);
    EXPECT_FALSE(store.Exists(1));
    EXPECT_EQ(store.Load(1, "n"), nullptr);
    EXPECT_TRUE(store.Exists(2));
    EXPECT_TRUE(store.Exists(3));
    EXPECT_EQ(CountRows("session_variables"), 2);
}

TEST_F(SessionStoreTest, TouchKeepsASessionFromExpiring) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    VarInteger n("n");
    store.Save(5, n);
    AgeSession(5, 1000);
    store.Touch(5);
    store.Expire(60);
    EXPECT_TRUE(store.Exists(5));
}

TEST_F(SessionStoreTest, AReferenceIsStoredAsItsOrigin) {
    VarString origin("greeting");
    origin.SetStringValue(NyxString("hi"));
    Variable* reference = origin.Duplicate();
    SqliteSessionStore store(NyxString(Path.c_str()));
    store.Save(1, *reference);
    Variable::Delete(reference);
    std::unique_ptr<Variable> loaded(store.Load(1, "greeting"));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->GetText().ToStd(), "hi");
    EXPECT_EQ(loaded->Dereference(), nullptr);
}

TEST_F(SessionStoreTest, ACorruptValueLoadsAsNothing) {
    {
        SqliteSessionStore store(NyxString(Path.c_str()));
        VarIntegerArray a("a");
        a.SetArraySize(2);
        store.Save(1, a);
    }
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(Path.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "UPDATE session_variables SET value = 'int:99:1'", nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    SqliteSessionStore store(NyxString(Path.c_str()));
    EXPECT_EQ(store.Load(1, "a"), nullptr);
}

TEST_F(SessionStoreTest, SeveralProcessesWriteAtOnce) {
    constexpr int kProcesses = 4;
    constexpr int kVariablesEach = 40;
    { SqliteSessionStore create(NyxString(Path.c_str())); }
    pid_t children[kProcesses];
    for (int p = 0; p < kProcesses; ++p) {
        children[p] = fork();
        ASSERT_GE(children[p], 0);
        if (children[p] == 0) {
            SqliteSessionStore store(NyxString(Path.c_str()));
            for (int i = 0; i < kVariablesEach; ++i) {
                VarInteger n(NyxString(("v" + std::to_string(i)).c_str()));
                n.SetIntegerValue(p * 1000 + i);
                store.Save(static_cast<uint32_t>(p + 1), n);
                store.Touch(static_cast<uint32_t>(100 + p));
            }
            _exit(0);
        }
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    SqliteSessionStore store(NyxString(Path.c_str()));
    for (int p = 0; p < kProcesses; ++p) {
        for (int i = 0; i < kVariablesEach; ++i) {
            std::unique_ptr<Variable> v(store.Load(static_cast<uint32_t>(p + 1), ("v" + std::to_string(i)).c_str()));
            ASSERT_NE(v, nullptr) << "process " << p << " variable " << i;
            EXPECT_EQ(v->GetIntegerValue(), p * 1000 + i);
        }
    }
    EXPECT_EQ(CountRows("session_variables"), kProcesses * kVariablesEach);
}

const char kSecret[] = "00112233445566778899aabbccddeeff";

TEST_F(SessionStoreTest, ASessionIsResumedOnlyWithItsSecretAndWhileFresh) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    ASSERT_TRUE(store.Create(9, kSecret));
    EXPECT_TRUE(store.Resume(9, kSecret, 3600));
    EXPECT_FALSE(store.Resume(9, "00112233445566778899aabbccddeefe", 3600));  // one digit off
    EXPECT_FALSE(store.Resume(9, "00112233445566778899aabbccddeef", 3600));   // one short
    EXPECT_FALSE(store.Resume(9, "", 3600));
    EXPECT_FALSE(store.Resume(10, kSecret, 3600));  // no such session
    AgeSession(9, 100);
    EXPECT_TRUE(store.Resume(9, kSecret, 101));
    EXPECT_FALSE(store.Resume(9, kSecret, 99));  // idle too long, though not yet removed
    EXPECT_TRUE(store.Exists(9));
}

TEST_F(SessionStoreTest, ANumberChosenByTheCallerHasNoSecretToResume) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    store.Touch(12);
    EXPECT_FALSE(store.Resume(12, kSecret, 3600));
    EXPECT_FALSE(store.Create(12, kSecret)) << "a taken number is not handed out again";
    EXPECT_FALSE(store.Resume(12, kSecret, 3600));
}

TEST_F(SessionStoreTest, SaveAllWritesEveryVariableAndTouches) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    VarInteger a("a");
    a.SetIntegerValue(1);
    VarString b("b");
    b.SetStringValue(NyxString("two"));
    Variable* both[] = {&a, &b};
    ASSERT_TRUE(store.SaveAll(5, both, 2));
    std::unique_ptr<Variable> loaded(store.Load(5, "b"));
    ASSERT_NE(loaded, nullptr);
    EXPECT_STREQ(loaded->GetStringValue(), "two");
    EXPECT_EQ(CountRows("session_variables"), 2);
    EXPECT_TRUE(store.SaveAll(6, nullptr, 0));  // nothing to write: the session is still touched
    EXPECT_TRUE(store.Exists(6));
}

TEST_F(SessionStoreTest, ExpiryNowAndThenRunsOncePerInterval) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    store.Touch(1);
    AgeSession(1, 100);
    store.ExpireNowAndThen(50, 60);  // first time: runs
    EXPECT_FALSE(store.Exists(1));
    store.Touch(2);
    AgeSession(2, 100);
    store.ExpireNowAndThen(50, 60);  // within the interval: waits
    EXPECT_TRUE(store.Exists(2));
    store.Expire(50);  // the explicit form always runs
    EXPECT_FALSE(store.Exists(2));
}

TEST_F(SessionStoreTest, OneSessionsLockExcludesOthersButNotOtherSessions) {
    SqliteSessionStore first(NyxString(Path.c_str()));
    SqliteSessionStore second(NyxString(Path.c_str()));  // another request, on its own connection
    ASSERT_TRUE(first.Lock(3, 0));
    EXPECT_FALSE(second.Lock(3, 50));
    EXPECT_TRUE(second.Lock(4, 0));
    first.Unlock(3);
    EXPECT_TRUE(second.Lock(3, 0));
}

TEST_F(SessionStoreTest, TheLockGoesWithItsHolder) {
    { SqliteSessionStore create(NyxString(Path.c_str())); }
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        SqliteSessionStore store(NyxString(Path.c_str()));
        const bool locked = store.Lock(8, 0);
        if (write(ready[1], locked ? "y" : "n", 1) != 1) _exit(2);
        _exit(0);  // dies holding the lock
    }
    char answer = 0;
    ASSERT_EQ(read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    int status = 0;
    waitpid(child, &status, 0);
    close(ready[0]);
    close(ready[1]);
    SqliteSessionStore store(NyxString(Path.c_str()));
    EXPECT_TRUE(store.Lock(8, 0));
}

TEST_F(SessionStoreTest, FoldersAndFilesAreTheOwnersAlone) {
    SqliteSessionStore store(NyxString(Path.c_str()));
    ASSERT_TRUE(store.IsOpen());
    EXPECT_EQ(std::filesystem::status(Folder + "/nested/folder").permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_all);
    for (const std::string& file : {Path, Path + "-locks"}) {
        EXPECT_EQ(std::filesystem::status(file).permissions() & std::filesystem::perms::all,
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
            << file;
    }
}

TEST_F(SessionStoreTest, AStoreOthersMayWriteIsRefused) {
    std::filesystem::create_directories(Folder + "/open");
    std::filesystem::permissions(Folder + "/open", std::filesystem::perms::all);  // 0777, as a stranger left it
    SqliteSessionStore inOpenFolder(NyxString((Folder + "/open/sessions.db").c_str()));
    EXPECT_FALSE(inOpenFolder.IsOpen());
    EXPECT_NE(inOpenFolder.Problem().find("may be written by other users"), std::string::npos)
        << inOpenFolder.Problem();

    { SqliteSessionStore create(NyxString(Path.c_str())); }
    std::filesystem::permissions(Path, std::filesystem::perms::others_write, std::filesystem::perm_options::add);
    SqliteSessionStore writableFile(NyxString(Path.c_str()));
    EXPECT_FALSE(writableFile.IsOpen());
}

TEST_F(SessionStoreTest, AnotherUsersPreparedStoreIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to give files to another user";
    const uid_t stranger = 65534;  // nobody
    std::filesystem::create_directories(Folder + "/theirs");
    ASSERT_EQ(chown((Folder + "/theirs").c_str(), stranger, stranger), 0);
    std::filesystem::permissions(Folder + "/theirs", std::filesystem::perms::owner_all);
    SqliteSessionStore inTheirFolder(NyxString((Folder + "/theirs/sessions.db").c_str()));
    EXPECT_FALSE(inTheirFolder.IsOpen());
    EXPECT_NE(inTheirFolder.Problem().find("belongs to another user"), std::string::npos) << inTheirFolder.Problem();

    { SqliteSessionStore create(NyxString(Path.c_str())); }
    ASSERT_EQ(chown(Path.c_str(), stranger, stranger), 0);
    SqliteSessionStore theirFile(NyxString(Path.c_str()));
    EXPECT_FALSE(theirFile.IsOpen());
    EXPECT_NE(theirFile.Problem().find("belongs to another user"), std::string::npos) << theirFile.Problem();
}

TEST_F(SessionStoreTest, AStoreFromBeforeSecretsGainsTheColumn) {
    std::filesystem::create_directories(std::filesystem::path(Path).parent_path());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(Path.c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db,
                           "CREATE TABLE sessions (id INTEGER PRIMARY KEY, last_access INTEGER NOT NULL);"
                           "CREATE TABLE session_variables (session_id INTEGER NOT NULL, name TEXT NOT NULL,"
                           " type TEXT NOT NULL, value BLOB NOT NULL, PRIMARY KEY (session_id, name));"
                           "INSERT INTO sessions VALUES (1, strftime('%s','now'));"
                           "INSERT INTO session_variables VALUES (1, 'n', 'int', '7');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    chmod(Path.c_str(), 0600);
    SqliteSessionStore store(NyxString(Path.c_str()));
    ASSERT_TRUE(store.IsOpen()) << store.Problem();
    std::unique_ptr<Variable> n(store.Load(1, "n"));
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(n->GetIntegerValue(), 7);
    EXPECT_FALSE(store.Resume(1, kSecret, 3600));  // no secret: no cookie reaches it
    EXPECT_TRUE(store.Create(2, kSecret));
}

}  // namespace
