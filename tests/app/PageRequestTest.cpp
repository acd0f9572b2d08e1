// Tests of src/app/PageRequest.cpp: the request handling shared by cgi, fcgi
// and serve, run on pages in a scratch site.
#include "app/PageRequest.cpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
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
        const char* folder = std::getenv("VEXL_TEST_TMP");
        std::string parent = folder && *folder ? folder : "/tmp";
        std::string command = "mkdir -p '" + parent + "'";
        ASSERT_EQ(std::system(command.c_str()), 0);
        std::string pattern = parent + "/pagerequest-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        Base = pattern;
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

    void TearDown() override
    {
        std::string command = "rm -rf '" + Base + "'";
        std::system(command.c_str());
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

TEST_F(PageRequestTest, NewSessionGetsACookie)
{
    PageResponse response = Run();
    std::string cookie = FindHeader(response, "Set-Cookie");
    ASSERT_EQ(cookie.rfind("http_session_id=", 0), 0u) << cookie;
    EXPECT_NE(cookie.find("; Path=/; HttpOnly; SameSite=Lax"), std::string::npos);
    EXPECT_EQ(cookie.find("http_session_id=0;"), std::string::npos);
}

TEST_F(PageRequestTest, SessionComesFromTheCookie)
{
    Environment["HTTP_COOKIE"] = "a=b; http_session_id=4242";
    EXPECT_EQ(FindHeader(Run(), "Set-Cookie"), "http_session_id=4242; Path=/; HttpOnly; SameSite=Lax");
}

TEST_F(PageRequestTest, CookieIsSecureOverHttps)
{
    Environment["HTTP_COOKIE"] = "http_session_id=7";
    Environment["HTTPS"] = "on";
    EXPECT_EQ(FindHeader(Run(), "Set-Cookie"), "http_session_id=7; Path=/; HttpOnly; SameSite=Lax; Secure");
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
