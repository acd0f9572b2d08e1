// Tests of src/app/PageRequest.cpp: the request handling shared by cgi, fcgi
// and serve, run on pages in a scratch site.
#include "app/PageRequest.cpp"
#include "app/HtmlFileRedirect.cpp"

#include "quince/SqliteSessionStore.h"

#include <sqlite3.h>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>
#include <utility>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class StringReader : public BodyReader {
public:
    explicit StringReader(std::string bytes) : Bytes(std::move(bytes)) {}
    long Read(char* buffer, std::size_t size) override
    {
        std::size_t count = std::min(size, Bytes.size() - Position);
        Bytes.copy(buffer, count, Position);
        Position += count;
        return static_cast<long>(count);
    }
    std::size_t Position = 0;

private:
    std::string Bytes;
};

class StringWriter : public ResponseWriter {
public:
    bool Write(const char* data, std::size_t size) override
    {
        Text.append(data, size);
        return true;
    }
    std::string Text;
};

std::string FindHeader(const PageResponse& response, const std::string& name)
{
    for (const auto& [headerName, value] : response.Headers) {
        if (headerName == name)
            return value;
    }
    return "(absent)";
}

// A scratch site: base/site is the root, base/outside.vxl lies beside it.
class PageRequestTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        Base = Temporary.Get();
        Site = Base + "/site";
        ASSERT_EQ(mkdir(Site.c_str(), 0700), 0);
        ASSERT_EQ(mkdir((Site + "/sub").c_str(), 0700), 0);
        Write(Site + "/index.vxl", "<p>start page</p>");
        Write(Site + "/sub/page.vxl", "<p>sub page</p>");
        Write(Site + "/show.vxl", "<b title=\"(who)\">shown</b>");
        Write(Site + "/notes.txt", "not a page");
        Write(Base + "/outside.vxl", "<p>outside</p>");
        ASSERT_EQ(symlink("../outside.vxl", (Site + "/escape.vxl").c_str()), 0);
        // Sessions go to a store in the scratch folder, not the user's own.
        Write(Base + "/test.ini", "[QuinceConfig]\nSessionStore = " + Base + "/sessions.db\n");
        Settings.Root = Site;
        Settings.IniPath = Base + "/test.ini";
        Environment["REQUEST_METHOD"] = "GET";
        Environment["DOCUMENT_ROOT"] = Site;
        Environment["SCRIPT_NAME"] = "/cgi-bin/vexl";
    }

    static void Write(const std::string& path, const std::string& text)
    {
        std::FILE* file = std::fopen(path.c_str(), "w");
        ASSERT_NE(file, nullptr) << path;
        std::fwrite(text.data(), 1, text.size(), file);
        std::fclose(file);
    }

    PageResponse Run(const std::string& body = std::string())
    {
        StringReader reader(body);
        return RenderPageRequest(Environment, reader, Settings);
    }

    TemporaryFolder Temporary;
    std::string Base, Site;
    HandlerSettings Settings;
    RequestEnvironment Environment;
};

TEST_F(PageRequestTest, WithoutAPageNameTheRootIndexRuns)
{
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 200);
    EXPECT_NE(response.Body.find("start page"), std::string::npos) << response.Body;
    EXPECT_EQ(FindHeader(response, "Content-Type"), "text/html; charset=utf-8");
}

TEST_F(PageRequestTest, HtmlFileFieldChoosesThePage)
{
    Environment["QUERY_STRING"] = "_htmlfile=sub/page.vxl";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 200);
    EXPECT_NE(response.Body.find("sub page"), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, HtmlFileWinsOverThePathAndCountsFromItsFolder)
{
    Environment["PATH_INFO"] = "/sub/page.vxl";
    Environment["PATH_TRANSLATED"] = Site + "/sub/page.vxl";
    Environment["QUERY_STRING"] = "_htmlfile=../show.vxl&who=x";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 200);
    EXPECT_NE(response.Body.find("shown"), std::string::npos) << response.Body;
}

// With RedirectHtmlFile, a page named by _htmlfile is served only at its own
// address, where the web server's rules for it apply.
TEST_F(PageRequestTest, RedirectSendsHtmlFileToThePagesOwnAddress)
{
    Write(Base + "/test.ini", "[QuinceConfig]\nSessionStore = " + Base + "/sessions.db\nRedirectHtmlFile = 1\n");
    Environment["SCRIPT_NAME"] = "/shop/index.vxl";
    Environment["SCRIPT_FILENAME"] = Site + "/index.vxl";
    Environment["QUERY_STRING"] = "who=a%26b&_htmlfile=sub/page.vxl&n.i=3";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 303);
    EXPECT_EQ(FindHeader(response, "Location"), "/shop/sub/page.vxl?who=a%26b&n.i=3");

    // A form's post is posted again (307); its body still names the page from
    // the first folder, so the query names it from its own.
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "application/x-www-form-urlencoded";
    Environment["QUERY_STRING"] = "";
    Environment["CONTENT_LENGTH"] = "22";
    response = Run("_htmlfile=sub/page.vxl");
    EXPECT_EQ(response.Status, 307);
    EXPECT_EQ(FindHeader(response, "Location"), "/shop/sub/page.vxl?_htmlfile=page.vxl");

    // In the same folder the body's name holds as it is.
    Environment["CONTENT_LENGTH"] = "18";
    response = Run("_htmlfile=show.vxl");
    EXPECT_EQ(response.Status, 307);
    EXPECT_EQ(FindHeader(response, "Location"), "/shop/show.vxl");

    // The post again, at the page's own address: served there.
    Environment["CONTENT_LENGTH"] = "22";
    Environment["SCRIPT_NAME"] = "/shop/sub/page.vxl";
    Environment["SCRIPT_FILENAME"] = Site + "/sub/page.vxl";
    Environment["QUERY_STRING"] = "_htmlfile=page.vxl";
    response = Run("_htmlfile=sub/page.vxl");
    EXPECT_EQ(response.Status, 200);
    EXPECT_NE(response.Body.find("sub page"), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, RedirectLeavesLinksToThePageItselfAndIsOffByDefault)
{
    Environment["SCRIPT_NAME"] = "/index.vxl";
    Environment["SCRIPT_FILENAME"] = Site + "/index.vxl";
    Environment["QUERY_STRING"] = "_htmlfile=sub/page.vxl";
    EXPECT_EQ(Run().Status, 200);  // no RedirectHtmlFile: served in place

    Write(Base + "/test.ini", "[QuinceConfig]\nSessionStore = " + Base + "/sessions.db\nRedirectHtmlFile = 1\n");
    Environment["QUERY_STRING"] = "_htmlfile=index.vxl";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 200);
    EXPECT_NE(response.Body.find("start page"), std::string::npos) << response.Body;

    // An address that does not end in the page's own path cannot be told.
    Environment["SCRIPT_NAME"] = "/elsewhere.vxl";
    Environment["QUERY_STRING"] = "_htmlfile=sub/page.vxl";
    EXPECT_EQ(Run().Status, 403);
}

TEST_F(PageRequestTest, PathTranslatedChoosesThePage)
{
    Environment["PATH_INFO"] = "/sub/page.vxl";
    Environment["PATH_TRANSLATED"] = Site + "/sub/page.vxl";
    EXPECT_NE(Run().Body.find("sub page"), std::string::npos);
}

TEST_F(PageRequestTest, ScriptFilenameOfAPageChoosesIt)
{
    Environment["SCRIPT_FILENAME"] = Site + "/sub/page.vxl";
    EXPECT_NE(Run().Body.find("sub page"), std::string::npos);
}

TEST_F(PageRequestTest, ScriptFilenameOfApacheProxyFcgiChoosesThePageBehindTheHost)
{
    Environment["SCRIPT_FILENAME"] = "proxy:fcgi://localhost" + Site + "/sub/page.vxl";
    EXPECT_NE(Run().Body.find("sub page"), std::string::npos);
    Environment["SCRIPT_FILENAME"] = "proxy:fcgi://localhost";
    EXPECT_EQ(Run().Body.find("sub page"), std::string::npos);
}

TEST_F(PageRequestTest, MissingPageIs404)
{
    Environment["QUERY_STRING"] = "_htmlfile=gone.vxl";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 404);
    EXPECT_NE(response.Body.find("404 Not Found"), std::string::npos);
}

TEST_F(PageRequestTest, ClimbingOutOfTheRootIs403)
{
    Environment["QUERY_STRING"] = "_htmlfile=../outside.vxl";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 403);
    EXPECT_EQ(response.Body.find("outside</p>"), std::string::npos);
}

TEST_F(PageRequestTest, LinkLeadingOutOfTheRootIs403)
{
    Environment["QUERY_STRING"] = "_htmlfile=escape.vxl";
    EXPECT_EQ(Run().Status, 403);
}

TEST_F(PageRequestTest, PathTranslatedOutsideTheRootIs403)
{
    Environment["PATH_INFO"] = "/x.vxl";
    Environment["PATH_TRANSLATED"] = Base + "/outside.vxl";
    EXPECT_EQ(Run().Status, 403);
}

TEST_F(PageRequestTest, FilesThatAreNoPagesAre403)
{
    Environment["QUERY_STRING"] = "_htmlfile=notes.txt";
    EXPECT_EQ(Run().Status, 403);
}

TEST_F(PageRequestTest, MissingRootIs500)
{
    Settings.Root = Base + "/nowhere";
    EXPECT_EQ(Run().Status, 500);
}

TEST_F(PageRequestTest, OtherMethodsAre405)
{
    Environment["REQUEST_METHOD"] = "DELETE";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 405);
    EXPECT_EQ(FindHeader(response, "Allow"), "GET, HEAD, POST");
}

TEST_F(PageRequestTest, QueryFieldsReachThePage)
{
    Environment["QUERY_STRING"] = "_htmlfile=show.vxl&who=Ada+L%2E";
    PageResponse response = Run();
    EXPECT_NE(response.Body.find("title=\"Ada L.\""), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, RepeatedFieldsJoinOnLines)
{
    Environment["QUERY_STRING"] = "_htmlfile=show.vxl&who=abc&who=def";
    PageResponse response = Run();
    EXPECT_NE(response.Body.find("title=\"abc\ndef\""), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, UrlEncodedBodyReachesThePage)
{
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "application/x-www-form-urlencoded";
    std::string body = "_htmlfile=show.vxl&who=posted+value";
    Environment["CONTENT_LENGTH"] = std::to_string(body.size());
    PageResponse response = Run(body);
    EXPECT_NE(response.Body.find("title=\"posted value\""), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, MultipartFileBecomesNameAndTemporaryCopy)
{
    Write(Site + "/upload.vxl", "<i data-name=\"(doc)\" data-size=\"(doc_size)\" data-type=\"(doc_type)\">x</i>");
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "multipart/form-data; boundary=B";
    std::string body = "--B\r\nContent-Disposition: form-data; name=\"_htmlfile\"\r\n\r\nupload.vxl\r\n"
                       "--B\r\nContent-Disposition: form-data; name=\"doc\"; filename=\"a.txt\"\r\n"
                       "Content-Type: text/plain\r\n\r\nhello\r\n--B--\r\n";
    Environment["CONTENT_LENGTH"] = std::to_string(body.size());
    PageResponse response = Run(body);
    EXPECT_EQ(response.Status, 200);
    EXPECT_NE(response.Body.find("data-name=\"a.txt\""), std::string::npos) << response.Body;
    EXPECT_NE(response.Body.find("data-size=\"5\""), std::string::npos) << response.Body;
    EXPECT_NE(response.Body.find("data-type=\"text/plain\""), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, BodyAtTheLimitIsReadAndPastItIs413)
{
    Settings.MaxBodyBytes = 64;
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "application/x-www-form-urlencoded";
    std::string body = "who=" + std::string(60, 'a');
    Environment["CONTENT_LENGTH"] = "64";
    EXPECT_EQ(Run(body).Status, 200);
    Environment["CONTENT_LENGTH"] = "65";
    StringReader reader(body + "b");
    EXPECT_EQ(RenderPageRequest(Environment, reader, Settings).Status, 413);
    EXPECT_EQ(reader.Position, 0u);  // refused without reading
}

TEST_F(PageRequestTest, ShortBodyIs400)
{
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "application/x-www-form-urlencoded";
    Environment["CONTENT_LENGTH"] = "100";
    EXPECT_EQ(Run("who=x").Status, 400);
}

TEST_F(PageRequestTest, MalformedMultipartIs400)
{
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "multipart/form-data; boundary=B";
    std::string body = "--B\r\nno headers end";
    Environment["CONTENT_LENGTH"] = std::to_string(body.size());
    EXPECT_EQ(Run(body).Status, 400);
}

// Sessions through the front end: a visitor's session is two cookies, made
// only for pages that bind a session variable.
class PageRequestSessionTest : public PageRequestTest {
protected:
    void SetUp() override
    {
        PageRequestTest::SetUp();
        Write(Site + "/counter.vxl",
              "<SCRIPT>\nsession int visits = 0\nvisits += 1\nprint \"visits \", visits, \" in \", HTTP_SESSION_ID\n"
              "</SCRIPT>");
        Environment["SCRIPT_FILENAME"] = Site + "/counter.vxl";
    }

    struct Visit {
        PageResponse Response;
        std::string Id, Secret;  // from its Set-Cookie headers; empty if none
    };

    // One request with `cookies` as the Cookie header.
    Visit Request(const std::string& cookies)
    {
        Environment["HTTP_COOKIE"] = cookies;
        Visit visit{Run(), "", ""};
        for (const auto& [name, value] : visit.Response.Headers) {
            if (name != "Set-Cookie")
                continue;
            std::string pair = value.substr(0, value.find(';'));
            std::string cookieName = pair.substr(0, pair.find('='));
            std::string cookieValue = pair.substr(pair.find('=') + 1);
            (cookieName == "http_session_id" ? visit.Id : visit.Secret) = cookieValue;
        }
        return visit;
    }

    static std::string Cookies(const Visit& visit)
    {
        return "http_session_id=" + visit.Id + "; http_session_secret=" + visit.Secret;
    }

    static int32_t Signed(const std::string& id) { return static_cast<int32_t>(std::stoul(id)); }
};

TEST_F(PageRequestSessionTest, APageWithoutSessionVariablesLeavesTheStoreUntouched)
{
    Environment["SCRIPT_FILENAME"] = Site + "/index.vxl";
    Visit first = Request("");
    EXPECT_EQ(first.Response.Status, 200);
    EXPECT_EQ(FindHeader(first.Response, "Set-Cookie"), "(absent)");
    Visit claimed = Request("http_session_id=5; http_session_secret=0123456789abcdef0123456789abcdef");
    EXPECT_EQ(FindHeader(claimed.Response, "Set-Cookie"), "(absent)");
    EXPECT_NE(access((Base + "/sessions.db").c_str(), F_OK), 0) << "the store was opened";

    // With a store and a real session: its files do not change.
    Environment["SCRIPT_FILENAME"] = Site + "/counter.vxl";
    Visit owner = Request("");
    Environment["SCRIPT_FILENAME"] = Site + "/index.vxl";
    auto facts = [&] {
        std::string all;
        for (const char* suffix : {"", "-wal", "-shm", "-locks"}) {
            struct stat file {};
            if (stat((Base + "/sessions.db" + suffix).c_str(), &file) == 0)
                all += std::to_string(file.st_size) + "/" + std::to_string(file.st_mtim.tv_sec) + "." +
                       std::to_string(file.st_mtim.tv_nsec) + " ";
        }
        return all;
    };
    const std::string before = facts();
    Visit withCookies = Request(Cookies(owner));
    EXPECT_EQ(FindHeader(withCookies.Response, "Set-Cookie"), "(absent)");
    Request("");
    EXPECT_EQ(facts(), before);
}

TEST_F(PageRequestSessionTest, TheCounterCountsFromTheFirstVisit)
{
    Visit first = Request("");
    ASSERT_FALSE(first.Id.empty());
    EXPECT_EQ(first.Secret.size(), 32u);
    EXPECT_EQ(first.Response.Body, "visits 1 in " + std::to_string(Signed(first.Id)));
    Visit second = Request(Cookies(first));
    EXPECT_EQ(second.Id, first.Id);
    EXPECT_EQ(second.Response.Body, "visits 2 in " + std::to_string(Signed(first.Id)));
    Visit third = Request(Cookies(first));
    EXPECT_EQ(third.Response.Body, "visits 3 in " + std::to_string(Signed(first.Id)));
    EXPECT_EQ(FindHeader(third.Response, "Set-Cookie"),
              "http_session_id=" + first.Id + "; Path=/; HttpOnly; SameSite=Lax");
}

TEST_F(PageRequestSessionTest, ANumberWithoutItsSecretReachesNoSession)
{
    Visit owner = Request("");
    Request(Cookies(owner));  // the owner's count is 2
    const std::string wrongSecret = owner.Secret.substr(0, 31) + (owner.Secret[31] == '0' ? "1" : "0");
    const std::string attempts[] = {
        "http_session_id=" + owner.Id,                                       // no secret
        "http_session_id=" + owner.Id + "; http_session_secret=" + wrongSecret,  // a guessed one
        "http_session_id=4242",                                              // made up
        "http_session_id=4242; http_session_secret=" + owner.Secret,         // another session's secret
    };
    for (const std::string& cookies : attempts) {
        Visit stranger = Request(cookies);
        EXPECT_NE(stranger.Id, owner.Id) << cookies;
        EXPECT_NE(stranger.Id, "4242") << cookies;
        EXPECT_NE(stranger.Secret, owner.Secret) << cookies;
        EXPECT_EQ(stranger.Response.Body.rfind("visits 1 in ", 0), 0u) << cookies << ": " << stranger.Response.Body;
    }
    EXPECT_EQ(Request(Cookies(owner)).Response.Body, "visits 3 in " + std::to_string(Signed(owner.Id)));
}

TEST_F(PageRequestSessionTest, AnExpiredSessionIsReplaced)
{
    Visit first = Request("");
    // As if it had been idle for 100 s, against an expiry of 10 s.
    {
        SqliteSessionStore store(NyxString((Base + "/sessions.db").c_str()));
        ASSERT_TRUE(store.IsOpen());
    }
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open((Base + "/sessions.db").c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, "UPDATE sessions SET last_access = last_access - 100", nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    Settings.SessionExpirySeconds = 10;
    Visit later = Request(Cookies(first));
    EXPECT_NE(later.Id, first.Id);
    EXPECT_EQ(later.Response.Body.rfind("visits 1 in ", 0), 0u) << later.Response.Body;
}

TEST_F(PageRequestSessionTest, CookiesAreSecureOverHttps)
{
    Environment["HTTPS"] = "on";
    Visit visit = Request("");
    EXPECT_EQ(FindHeader(visit.Response, "Set-Cookie"),
              "http_session_id=" + visit.Id + "; Path=/; HttpOnly; SameSite=Lax; Secure");
}

TEST_F(PageRequestSessionTest, ABusySessionEndsTheRequestWithAMessage)
{
    Visit first = Request("");
    Write(Base + "/test.ini", "[QuinceConfig]\nSessionStore = " + Base + "/sessions.db\nSessionLockSeconds = 1\n");
    {
        SqliteSessionStore holder(NyxString((Base + "/sessions.db").c_str()));  // another request of the session
        ASSERT_TRUE(holder.Lock(static_cast<uint32_t>(std::stoul(first.Id)), 0));
        Visit blocked = Request(Cookies(first));
        EXPECT_EQ(blocked.Response.Status, 503);
        EXPECT_EQ(FindHeader(blocked.Response, "Retry-After"), "2");
        EXPECT_NE(blocked.Response.Body.find("session is busy"), std::string::npos) << blocked.Response.Body;
    }
    EXPECT_EQ(Request(Cookies(first)).Response.Body, "visits 2 in " + std::to_string(Signed(first.Id)));
}

TEST_F(PageRequestSessionTest, AStoreLockedPastTheWaitEndsTheRequestWithAMessage)
{
    Visit first = Request("");
    Write(Base + "/test.ini", "[QuinceConfig]\nSessionStore = " + Base + "/sessions.db\nSessionLockSeconds = 1\n");
    sqlite3* writer = nullptr;  // another program holding the store's write lock
    ASSERT_EQ(sqlite3_open((Base + "/sessions.db").c_str(), &writer), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(writer, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    Visit blocked = Request(Cookies(first));
    EXPECT_EQ(blocked.Response.Status, 503);
    EXPECT_NE(blocked.Response.Body.find("could not be stored"), std::string::npos) << blocked.Response.Body;
    sqlite3_exec(writer, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(writer);
    // The failed request changed nothing; the next one goes on from 1.
    EXPECT_EQ(Request(Cookies(first)).Response.Body, "visits 2 in " + std::to_string(Signed(first.Id)));
}

TEST_F(PageRequestSessionTest, AnEmptySessionStoreTurnsSessionsOff)
{
    Write(Base + "/test.ini", "[QuinceConfig]\nSessionStore =\n");
    Visit first = Request("");
    EXPECT_EQ(first.Response.Body, "visits 1 in 0");
    EXPECT_EQ(FindHeader(first.Response, "Set-Cookie"), "(absent)");
}

// Runs with HOME and XDG_STATE_HOME as given ("" unsets), then puts them back.
class StateEnvironment {
public:
    StateEnvironment(const std::string& home, const std::string& state)
    {
        Save("HOME", home);
        Save("XDG_STATE_HOME", state);
    }
    ~StateEnvironment()
    {
        for (const auto& [name, value] : Saved) {
            if (value.first)
                setenv(name.c_str(), value.second.c_str(), 1);
            else
                unsetenv(name.c_str());
        }
    }

private:
    void Save(const std::string& name, const std::string& value)
    {
        const char* old = std::getenv(name.c_str());
        Saved.emplace_back(name, std::make_pair(old != nullptr, old != nullptr ? std::string(old) : std::string()));
        if (value.empty())
            unsetenv(name.c_str());
        else
            setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<std::pair<std::string, std::pair<bool, std::string>>> Saved;
};

TEST_F(PageRequestSessionTest, WithoutAHomeThereIsNoDefaultStore)
{
    Write(Base + "/test.ini", "[QuinceConfig]\n");
    const std::string scratch = Base + "/tmp";
    ASSERT_EQ(mkdir(scratch.c_str(), 0700), 0);
    StateEnvironment noHome("", "");
    setenv("TMPDIR", scratch.c_str(), 1);
    Visit visit = Request("");
    unsetenv("TMPDIR");
    EXPECT_EQ(visit.Response.Status, 200);
    EXPECT_EQ(visit.Response.Body, "visits 1 in 0");
    EXPECT_EQ(FindHeader(visit.Response, "Set-Cookie"), "(absent)");
    EXPECT_NE(access((scratch + "/vexl-state").c_str(), F_OK), 0) << "the shared temporary folder was used";
}

TEST_F(PageRequestSessionTest, AStateFolderOthersMayWriteIsRefused)
{
    Write(Base + "/test.ini", "[QuinceConfig]\n");
    const std::string state = Base + "/state";
    ASSERT_EQ(mkdir(state.c_str(), 0700), 0);
    ASSERT_EQ(mkdir((state + "/vexl").c_str(), 0700), 0);
    ASSERT_EQ(chmod((state + "/vexl").c_str(), 0777), 0);  // prepared by someone else to read the sessions
    StateEnvironment prepared(Base, state);
    Visit visit = Request("");
    EXPECT_EQ(visit.Response.Body, "visits 1 in 0");
    EXPECT_EQ(FindHeader(visit.Response, "Set-Cookie"), "(absent)");
    EXPECT_NE(access((state + "/vexl/sessions.db").c_str(), F_OK), 0);

    ASSERT_EQ(chmod((state + "/vexl").c_str(), 0700), 0);  // the owner's own: used
    Visit owned = Request("");
    EXPECT_FALSE(owned.Id.empty());
    EXPECT_EQ(access((state + "/vexl/sessions.db").c_str(), F_OK), 0);
}

TEST_F(PageRequestTest, PageHeadersBecomeResponseHeaders)
{
    Write(Site + "/headers.vxl",
          "<SETHEADER name=\"Content-Type\" value=\"text/plain\">"
          "<SETHEADER name=\"Status\" value=\"404 Gone Fishing\">"
          "<SETHEADER name=\"X-Note\" value=\"one\ntwo\">"
          "<SETHEADER name=\"Content-Length\" value=\"1\">text");
    Environment["QUERY_STRING"] = "_htmlfile=headers.vxl";
    PageResponse response = Run();
    EXPECT_EQ(response.Status, 404);
    EXPECT_TRUE(response.StatusFromPage);
    EXPECT_EQ(GetStatusText(response), "404 Gone Fishing");
    EXPECT_EQ(FindHeader(response, "Content-Type"), "text/plain");
    EXPECT_EQ(FindHeader(response, "X-Note"), "one two");
    EXPECT_EQ(FindHeader(response, "Content-Length"), "(absent)");
}

TEST_F(PageRequestTest, FieldsNamedLikeServerValuesAreDropped)
{
    Write(Site + "/url.vxl", "<i data-url=\"(HTTP_URL)\">x</i>");
    Environment["REQUEST_URI"] = "/real";
    Environment["QUERY_STRING"] = "_htmlfile=url.vxl&HTTP_URL=forged";
    PageResponse response = Run();
    EXPECT_NE(response.Body.find("data-url=\"/real\""), std::string::npos) << response.Body;
}

TEST_F(PageRequestTest, TextTheLibraryPrintsItselfLeadsTheBody)
{
    Write(Site + "/outer.vxl", "<p>before</p><INCLUDE file=\"inner.vxl\"><p>after</p>");
    Write(Site + "/inner.vxl", "<INCLUDE file=\"missing.vxl\">");
    Environment["QUERY_STRING"] = "_htmlfile=outer.vxl";
    PageResponse response = Run();
    EXPECT_EQ(response.Body.rfind("Failed to parse ", 0), 0u) << response.Body;
}

// Undoes the five entities that SafeOutput writes.
std::string HtmlUnescaped(std::string text)
{
    static const std::pair<std::string, char> kEntities[] = {
        {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}, {"&amp;", '&'}};
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool replaced = false;
        for (const auto& [entity, byte] : kEntities) {
            if (text.compare(i, entity.size(), entity) == 0) {
                out += byte;
                i += entity.size() - 1;
                replaced = true;
                break;
            }
        }
        if (!replaced)
            out += text[i];
    }
    return out;
}

std::string PercentEncoded(const std::string& text)
{
    std::string out;
    for (unsigned char c : text) {
        char piece[4];
        std::snprintf(piece, sizeof piece, "%%%02X", c);
        out += piece;
    }
    return out;
}

// What the page printed between "[" and "]" on the line that starts with `label`.
std::string Shown(const std::string& body, const std::string& label)
{
    const std::size_t start = body.find(label + "[");
    if (start == std::string::npos)
        return "(missing " + label + ")";
    const std::size_t from = start + label.size() + 1;
    return body.substr(from, body.find("]\n", from) - from);
}

// Under SafeOutput every value of every type, and every byte of a string,
// comes back the same through a generated link and through a form's hidden
// fields (a browser posts their values, HTML-decoded and percent-encoded).
TEST_F(PageRequestTest, SafeOutputCarriesEveryByteThroughLinksAndForms)
{
    Write(Base + "/test.ini", "[General]\nPropagatedVariables = s, n, d, f, c, b\n[QuinceConfig]\nSafeOutput = 1\n"
                              "SessionStore = " + Base + "/sessions.db\n");
    const std::string echo = "<SCRIPT>println \"s[\", s, \"]\"\nprintln \"n[\", typeof(n), \" \", n, \"]\"\n"
                             "println \"d[\", typeof(d), \" \", d, \"]\"\nprintln \"f[\", typeof(f), \" \", f, \"]\"\n"
                             "println \"c[\", typeof(c), \" \", c, \"]\"\nprintln \"b[\", typeof(b), \" \", b, \"]\"</SCRIPT>\n";
    Write(Site + "/start.vxl", "<SETVAR name=\"n\" value=\"-7\"><SETVAR name=\"d\" value=\"0.1\">"
                               "<SETVAR name=\"f\" value=\"1.1f\"><SETVAR name=\"c\" value=\"'q'\">"
                               "<SETVAR name=\"b\" value=\"true\">\n" + echo +
                               "<a htmlfile=\"echo.vxl\" vars=\"s n d f c b\">next</a>\n"
                               "<form action=\"echo.vxl\" _htmlfile=\"echo.vxl\"></form>\n");
    Write(Site + "/echo.vxl", echo);
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    Environment["QUERY_STRING"] = "_htmlfile=start.vxl&s.s=" + PercentEncoded(everyByte);
    const PageResponse first = Run();
    ASSERT_EQ(first.Status, 200) << first.Body;
    ASSERT_EQ(Shown(first.Body, "s"), everyByte);

    const std::size_t href = first.Body.find("href='?");
    ASSERT_NE(href, std::string::npos) << first.Body;
    const std::size_t hrefEnd = first.Body.find('\'', href + 7);
    const std::string query = HtmlUnescaped(first.Body.substr(href + 7, hrefEnd - href - 7));
    EXPECT_EQ(query.find_first_of(" \"'<>"), std::string::npos) << query;
    Environment["QUERY_STRING"] = query;
    const PageResponse byLink = Run();

    std::string body;
    const std::regex field("<INPUT type=\"hidden\" name=\"([^\"]*)\" value=\"([^\"]*)\">");
    for (std::sregex_iterator it(first.Body.begin(), first.Body.end(), field), end; it != end; ++it)
        body += (body.empty() ? "" : "&") + PercentEncoded(HtmlUnescaped((*it)[1])) + "=" +
                PercentEncoded(HtmlUnescaped((*it)[2]));
    Environment.erase("QUERY_STRING");
    Environment["REQUEST_METHOD"] = "POST";
    Environment["CONTENT_TYPE"] = "application/x-www-form-urlencoded";
    Environment["CONTENT_LENGTH"] = std::to_string(body.size());
    const PageResponse byForm = Run(body);

    for (const char* label : {"s", "n", "d", "f", "c", "b"}) {
        EXPECT_EQ(Shown(byLink.Body, label), Shown(first.Body, label)) << label << " through the link";
        EXPECT_EQ(Shown(byForm.Body, label), Shown(first.Body, label)) << label << " through the form";
    }
    EXPECT_EQ(Shown(first.Body, "n"), "int -7");
}

TEST_F(PageRequestTest, CgiFormSendsStatusOnlyWhenNeeded)
{
    StringReader reader("");
    StringWriter writer;
    ASSERT_TRUE(HandleCgiRequest(Environment, reader, writer, Settings));
    EXPECT_EQ(writer.Text.rfind("Content-Type: text/html; charset=utf-8\r\n", 0), 0u) << writer.Text;
    EXPECT_NE(writer.Text.find("\r\n\r\n"), std::string::npos);

    Environment["QUERY_STRING"] = "_htmlfile=gone.vxl";
    StringWriter missing;
    ASSERT_TRUE(HandleCgiRequest(Environment, reader, missing, Settings));
    EXPECT_EQ(missing.Text.rfind("Status: 404 Not Found\r\n", 0), 0u) << missing.Text;
}

TEST_F(PageRequestTest, HeadGetsNoBody)
{
    Environment["REQUEST_METHOD"] = "HEAD";
    StringReader reader("");
    StringWriter writer;
    ASSERT_TRUE(HandleCgiRequest(Environment, reader, writer, Settings));
    std::size_t end = writer.Text.find("\r\n\r\n");
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(writer.Text.size(), end + 4);
}

}  // namespace
