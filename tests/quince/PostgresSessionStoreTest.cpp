// The session store's behaviour on both back ends, SQLite and PostgreSQL (one
// suite, two instantiations): round trips of every kind of value, NUL bytes
// included; secrets; expiry; a session's lock across connections; and parallel
// increments of one counter, each under the session's lock, that lose none.
#include "quince/PostgresSessionStore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "PostgresServer.h"
#include "quince/SessionStoreCopy.h"
#include "quince/SqliteSessionStore.h"
#include "values/VarArray.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

enum class BackEnd { Sqlite, Postgres };

class SessionBackEndTest : public testing::TestWithParam<BackEnd> {
protected:
    void SetUp() override {
        char folder[] = "/tmp/vexl-sessions-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        Folder = folder;
        if (GetParam() == BackEnd::Postgres) {
            Server = std::make_unique<PostgresDatabase>();
            if (Server->Uri.empty()) GTEST_SKIP() << "no PostgreSQL for this test: " << Server->WhyNot;
        }
    }
    void TearDown() override { std::filesystem::remove_all(Folder); }

    // A store of its own connection, as each request process or thread has.
    std::unique_ptr<SessionStore> Open() {
        if (GetParam() == BackEnd::Sqlite)
            return std::make_unique<SqliteSessionStore>(NyxString((Folder + "/sessions.db").c_str()));
        return std::make_unique<PostgresSessionStore>(NyxString(Server->Uri.c_str()));
    }

    std::string Folder;
    std::unique_ptr<PostgresDatabase> Server;
};

TEST_P(SessionBackEndTest, ValuesRoundTripThroughAnotherConnection) {
    auto store = Open();
    ASSERT_TRUE(store->IsOpen()) << store->Problem();
    VarString text;
    text.SetVarName("text");
    text.SetStringValue(NyxString(std::string_view("a\0b\xff\n\"", 6)));
    VarInteger number;
    number.SetVarName("number");
    number.SetIntegerValue(-2147483647 - 1);
    Variable* both[] = {&text, &number};
    ASSERT_TRUE(store->SaveAll(7, both, 2));
    auto other = Open();
    std::unique_ptr<Variable> readText(other->Load(7, NyxString("text")));
    std::unique_ptr<Variable> readNumber(other->Load(7, NyxString("number")));
    ASSERT_NE(readText, nullptr);
    ASSERT_NE(readNumber, nullptr);
    EXPECT_EQ(readText->GetText().ToStd(), std::string("a\0b\xff\n\"", 6));
    EXPECT_EQ(readNumber->GetIntegerValue(), -2147483647L - 1);
    EXPECT_EQ(other->Load(8, NyxString("text")), nullptr);  // another session's
    number.SetIntegerValue(5);
    ASSERT_TRUE(store->Save(7, number));  // replaced, not added
    std::unique_ptr<Variable> again(other->Load(7, NyxString("number")));
    EXPECT_EQ(again->GetIntegerValue(), 5);
}

TEST_P(SessionBackEndTest, ASessionIsResumedOnlyWithItsSecretAndCreatedOnce) {
    auto store = Open();
    ASSERT_TRUE(store->Create(9, "0123456789abcdef0123456789abcdef"));
    EXPECT_FALSE(store->Create(9, "another secret of the same size!"));  // the number is taken
    EXPECT_TRUE(store->Resume(9, "0123456789abcdef0123456789abcdef", 3600));
    EXPECT_FALSE(store->Resume(9, "0123456789abcdef0123456789abcdeX", 3600));
    EXPECT_FALSE(store->Resume(9, "", 3600));
    EXPECT_FALSE(store->Resume(10, "0123456789abcdef0123456789abcdef", 3600));
    EXPECT_TRUE(store->Exists(9));
    store->Touch(11);  // a number chosen by the caller: no secret resumes it
    EXPECT_TRUE(store->Exists(11));
    EXPECT_FALSE(store->Resume(11, "0123456789abcdef0123456789abcdef", 3600));
}

TEST_P(SessionBackEndTest, ExpiryTakesIdleSessionsWithTheirVariables) {
    auto store = Open();
    VarInteger number;
    number.SetVarName("n");
    number.SetIntegerValue(1);
    ASSERT_TRUE(store->Save(3, number));
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    store->Touch(4);
    store->Expire(0);  // everything older than now
    EXPECT_FALSE(store->Exists(3));
    EXPECT_EQ(store->Load(3, NyxString("n")), nullptr);
    EXPECT_TRUE(store->Exists(4));
}

TEST_P(SessionBackEndTest, ALockExcludesOtherConnectionsUntilLetGo) {
    auto first = Open();
    auto second = Open();
    ASSERT_TRUE(first->Lock(5, 1000));
    EXPECT_FALSE(second->Lock(5, 100));
    EXPECT_TRUE(second->Lock(6, 100));  // another session is free
    first->Unlock(5);
    EXPECT_TRUE(second->Lock(5, 1000));
    second->Unlock(5);
    second->Unlock(6);
}

// Eight connections increment one counter 100 times in all, each increment
// under the session's lock (read, add one, write): the end is exactly 100.
TEST_P(SessionBackEndTest, ParallelIncrementsUnderTheLockLoseNone) {
    constexpr int kThreads = 8, kEach = 12, kLast = 100 - 7 * 12;
    {
        auto store = Open();
        VarInteger start;
        start.SetVarName("count");
        start.SetIntegerValue(0);
        ASSERT_TRUE(store->Save(42, start));
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            auto store = Open();
            for (int i = 0; i < (t == kThreads - 1 ? kLast : kEach); ++i) {
                if (!store->Lock(42, 10000)) {
                    ++failures;
                    continue;
                }
                std::unique_ptr<Variable> count(store->Load(42, NyxString("count")));
                VarInteger next;
                next.SetVarName("count");
                next.SetIntegerValue(count != nullptr ? count->GetIntegerValue() + 1 : -1000);
                if (!store->Save(42, next)) ++failures;
                store->Unlock(42);
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    std::unique_ptr<Variable> count(Open()->Load(42, NyxString("count")));
    ASSERT_NE(count, nullptr);
    EXPECT_EQ(count->GetIntegerValue(), 100);
}

INSTANTIATE_TEST_SUITE_P(Sqlite, SessionBackEndTest, testing::Values(BackEnd::Sqlite));
INSTANTIATE_TEST_SUITE_P(Postgres, SessionBackEndTest, testing::Values(BackEnd::Postgres));

TEST(PostgresSessionStore, AnUnreachableServerIsAStoreThatSaysWhy) {
    PostgresSessionStore store(NyxString("postgresql:///none?host=/nonexistent&connect_timeout=2"));
    EXPECT_FALSE(store.IsOpen());
    EXPECT_FALSE(store.Problem().empty());
    EXPECT_FALSE(store.Exists(1));
    EXPECT_FALSE(store.Lock(1, 10));
}

// A site moving to PostgreSQL copies its sessions there, and they resume
// with their secrets and values; copied back, the same.
TEST(PostgresSessionCopy, SessionsMoveToPostgresAndBack) {
    PostgresDatabase server;
    if (server.Uri.empty()) GTEST_SKIP() << "no PostgreSQL for this test: " << server.WhyNot;
    char folder[] = "/tmp/vexl-session-copy-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string first = std::string(folder) + "/first.db", back = std::string(folder) + "/back.db";
    const std::string secret = "0123456789abcdef0123456789abcdef";
    {
        SqliteSessionStore store{NyxString(first.c_str())};
        ASSERT_TRUE(store.Create(21, secret));
        VarString text;
        text.SetVarName("text");
        text.SetStringValue(NyxString(std::string_view("x\0y", 3)));
        ASSERT_TRUE(store.Save(21, text));
        store.Touch(22);
    }
    std::string problem;
    EXPECT_EQ(CopySessions(NyxString(first.c_str()), NyxString(server.Uri.c_str()), problem), 2) << problem;
    EXPECT_EQ(CopySessions(NyxString(server.Uri.c_str()), NyxString(back.c_str()), problem), 2) << problem;
    PostgresSessionStore onServer{NyxString(server.Uri.c_str())};
    SqliteSessionStore copied{NyxString(back.c_str())};
    for (SessionStore* store : {static_cast<SessionStore*>(&onServer), static_cast<SessionStore*>(&copied)}) {
        EXPECT_TRUE(store->Resume(21, secret, 3600));
        EXPECT_FALSE(store->Resume(22, secret, 3600));  // no secret: a number chosen by the caller
        EXPECT_TRUE(store->Exists(22));
        std::unique_ptr<Variable> text(store->Load(21, NyxString("text")));
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(text->GetText().ToStd(), std::string("x\0y", 3));
    }
    const std::string missing = std::string(folder) + "/missing.db";
    EXPECT_EQ(CopySessions(NyxString(missing.c_str()), NyxString(back.c_str()), problem), -1);
    EXPECT_FALSE(std::filesystem::exists(missing));  // the source is not made
    EXPECT_FALSE(problem.empty());
    std::filesystem::remove_all(folder);
}

}  // namespace
