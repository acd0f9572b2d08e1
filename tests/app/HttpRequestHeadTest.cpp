// Tests of src/app/HttpRequestHead.cpp: request heads of the development server.
#include "app/HttpRequestHead.cpp"

#include <gtest/gtest.h>

namespace {

TEST(HttpRequestHeadTest, RequestLineAndFields)
{
    HttpRequestHead head;
    ASSERT_EQ(ParseRequestHead("GET /a/b.vxl?x=1 HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nCookie: a=1\r\n"
                               "cookie: b=2\r\nAccept: text/html\r\nAccept: */*\r\n\r\n",
                               head),
              HeadParseStatus::Ok);
    EXPECT_EQ(head.Method, "GET");
    EXPECT_EQ(head.Target, "/a/b.vxl?x=1");
    EXPECT_EQ(head.MinorVersion, 1);
    EXPECT_EQ(GetHeaderField(head, "HOST"), "127.0.0.1:8080");
    EXPECT_EQ(GetHeaderField(head, "cookie"), "a=1; b=2");
    EXPECT_EQ(GetHeaderField(head, "accept"), "text/html, */*");
    EXPECT_EQ(GetHeaderField(head, "absent"), "");
}

TEST(HttpRequestHeadTest, BareLineFeedsAreAccepted)
{
    HttpRequestHead head;
    ASSERT_EQ(ParseRequestHead("POST / HTTP/1.0\nContent-Length: 3\n\n", head), HeadParseStatus::Ok);
    EXPECT_EQ(head.MinorVersion, 0);
    EXPECT_EQ(GetHeaderField(head, "content-length"), "3");
}

TEST(HttpRequestHeadTest, MalformedHeadsAreRefused)
{
    HttpRequestHead head;
    EXPECT_EQ(ParseRequestHead("GET /\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("GET  / HTTP/1.1\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("G(T / HTTP/1.1\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("GET / HTTP/1.1\r\nNo colon here\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("GET / HTTP/1.1\r\nA: 1\r\n folded\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("GET / HTTP/1.1\r\nBad Name: 1\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("GET / FTP/1.1\r\n\r\n", head), HeadParseStatus::BadRequest);
    EXPECT_EQ(ParseRequestHead("GET / HTTP/2.0\r\n\r\n", head), HeadParseStatus::BadVersion);
}

TEST(HttpRequestHeadTest, FieldCountAtTheLimitAndPastIt)
{
    std::string text = "GET / HTTP/1.1\r\n";
    for (std::size_t i = 0; i < kMaxHeaderFields; ++i)
        text += "X-F: 1\r\n";
    HttpRequestHead atLimit;
    EXPECT_EQ(ParseRequestHead(text + "\r\n", atLimit), HeadParseStatus::Ok);
    HttpRequestHead pastLimit;
    EXPECT_EQ(ParseRequestHead(text + "X-F: 1\r\n\r\n", pastLimit), HeadParseStatus::TooManyFields);
}

TEST(HttpRequestHeadTest, TargetSplitsIntoDecodedPathAndRawQuery)
{
    std::string path, query;
    ASSERT_TRUE(SplitRequestTarget("/my%20page.vxl?a=b+c&d=%41", path, query));
    EXPECT_EQ(path, "/my page.vxl");
    EXPECT_EQ(query, "a=b+c&d=%41");
    ASSERT_TRUE(SplitRequestTarget("/a+b/", path, query));
    EXPECT_EQ(path, "/a+b/");
    EXPECT_EQ(query, "");
    ASSERT_TRUE(SplitRequestTarget("/%2e%2e/x", path, query));
    EXPECT_EQ(path, "/../x");  // decoded; the locator refuses the climb
}

TEST(HttpRequestHeadTest, UnusableTargetsAreRefused)
{
    std::string path, query;
    EXPECT_FALSE(SplitRequestTarget("http://host/x", path, query));
    EXPECT_FALSE(SplitRequestTarget("*", path, query));
    EXPECT_FALSE(SplitRequestTarget("/a%00b", path, query));
}

}  // namespace
