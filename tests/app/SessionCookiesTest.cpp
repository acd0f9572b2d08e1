// Tests of SessionCookies: what a Cookie header claims, and the two
// Set-Cookie headers of a settled session.
#include "app/SessionCookies.cpp"

#include <gtest/gtest.h>

namespace {

const std::string kSecret = "0123456789abcdef0123456789abcdef";

TEST(SessionCookiesTest, ANumberAndASecretAreClaimed) {
    SessionCookieClaim claim = ReadSessionCookies("a=b; http_session_id=4242; http_session_secret=" + kSecret);
    EXPECT_EQ(claim.Id, 4242u);
    EXPECT_EQ(claim.Secret, kSecret);
}

TEST(SessionCookiesTest, WhatIsNotASecretIsDropped) {
    const char* const wrong[] = {
        "0123456789abcdef0123456789abcde",    // one digit short
        "0123456789abcdef0123456789abcdef0",  // one too many
        "0123456789ABCDEF0123456789ABCDEF",   // not as the engine writes them
        "0123456789abcdef0123456789abcdeg",
        "",
    };
    for (const char* secret : wrong) {
        SessionCookieClaim claim = ReadSessionCookies(std::string("http_session_id=7; http_session_secret=") + secret);
        EXPECT_EQ(claim.Id, 7u) << secret;
        EXPECT_EQ(claim.Secret, "") << secret;
    }
}

TEST(SessionCookiesTest, ANumberThatIsNotOneClaimsNoSession) {
    EXPECT_EQ(ReadSessionCookies("http_session_id=12x").Id, 0u);
    EXPECT_EQ(ReadSessionCookies("http_session_id=4294967296").Id, 0u);
    EXPECT_EQ(ReadSessionCookies("").Id, 0u);
}

TEST(SessionCookiesTest, BothCookiesAreHttpOnlyAndLax) {
    std::vector<std::pair<std::string, std::string>> headers;
    AddSessionCookies(7, kSecret, false, headers);
    ASSERT_EQ(headers.size(), 2u);
    EXPECT_EQ(headers[0].first, "Set-Cookie");
    EXPECT_EQ(headers[0].second, "http_session_id=7; Path=/; HttpOnly; SameSite=Lax");
    EXPECT_EQ(headers[1].second, "http_session_secret=" + kSecret + "; Path=/; HttpOnly; SameSite=Lax");
}

TEST(SessionCookiesTest, OverHttpsBothAreSecure) {
    std::vector<std::pair<std::string, std::string>> headers;
    AddSessionCookies(4294967295u, kSecret, true, headers);
    ASSERT_EQ(headers.size(), 2u);
    EXPECT_EQ(headers[0].second, "http_session_id=4294967295; Path=/; HttpOnly; SameSite=Lax; Secure");
    EXPECT_EQ(headers[1].second, "http_session_secret=" + kSecret + "; Path=/; HttpOnly; SameSite=Lax; Secure");
}

}  // namespace
