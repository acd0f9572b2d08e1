// Tests of src/app/PageResponse.cpp: error pages and the CGI response form.
#include "app/PageResponse.cpp"

#include <gtest/gtest.h>

namespace {

class StringWriter : public ResponseWriter {
public:
    bool Write(const char* data, std::size_t size) override
    {
        Text.append(data, size);
        return true;
    }
    std::string Text;
};

TEST(PageResponseTest, ErrorPageNamesTheStatusAndEscapesTheMessage)
{
    PageResponse response = MakeErrorResponse(403, "no <script> & such");
    EXPECT_EQ(response.Status, 403);
    EXPECT_NE(response.Body.find("<title>403 Forbidden</title>"), std::string::npos);
    EXPECT_NE(response.Body.find("no &lt;script&gt; &amp; such"), std::string::npos);
    ASSERT_EQ(response.Headers.size(), 1u);
    EXPECT_EQ(response.Headers[0].second, "text/html; charset=utf-8");
}

TEST(PageResponseTest, StatusTextFromPageOrPhrase)
{
    PageResponse response;
    response.Status = 413;
    EXPECT_EQ(GetStatusText(response), "413 Content Too Large");
    response.StatusText = "418 Teapot";
    EXPECT_EQ(GetStatusText(response), "418 Teapot");
    response.StatusText.clear();
    response.Status = 299;
    EXPECT_EQ(GetStatusText(response), "299 Unknown");
}

TEST(PageResponseTest, CgiFormOmitsStatus200SoLocationKeepsItsMeaning)
{
    PageResponse response;
    response.Headers.emplace_back("Content-Type", "text/html");
    response.Headers.emplace_back("Location", "/next");
    response.Body = "body";
    StringWriter writer;
    ASSERT_TRUE(WriteCgiResponse(response, writer, true));
    EXPECT_EQ(writer.Text, "Content-Type: text/html\r\nLocation: /next\r\n\r\nbody");
}

TEST(PageResponseTest, CgiFormSendsStatusAPageAskedFor)
{
    PageResponse response;
    response.StatusFromPage = true;
    response.Body = "x";
    StringWriter writer;
    ASSERT_TRUE(WriteCgiResponse(response, writer, false));
    EXPECT_EQ(writer.Text, "Status: 200 OK\r\n\r\n");
}

}  // namespace
