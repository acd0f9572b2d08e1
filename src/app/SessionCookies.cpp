// SessionCookies: reading and writing the session's two cookies.
#include "app/SessionCookies.h"

#include "app/RequestDecoder.h"

const char kSessionCookieName[] = "http_session_id";
const char kSessionSecretCookieName[] = "http_session_secret";

namespace {

// What the engine hands out: 32 lower-case hex digits. Anything else is not
// worth a look in the store.
bool LooksLikeSecret(const std::string& text) {
    if (text.size() != 32) return false;
    for (char c : text) {
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
    }
    return true;
}

std::string CookieAttributes(bool secure) {
    return std::string("; Path=/; HttpOnly; SameSite=Lax") + (secure ? "; Secure" : "");
}

}  // namespace

SessionCookieClaim ReadSessionCookies(const std::string& cookieHeader) {
    SessionCookieClaim claim;
    std::string number;
    std::string secret;
    if (!FindCookie(cookieHeader, kSessionCookieName, number) || !ParseUnsigned32(number, claim.Id)) claim.Id = 0;
    if (FindCookie(cookieHeader, kSessionSecretCookieName, secret) && LooksLikeSecret(secret))
        claim.Secret = secret;
    return claim;
}

void AddSessionCookies(unsigned id, const std::string& secret, bool secure,
                       std::vector<std::pair<std::string, std::string>>& headers) {
    headers.emplace_back("Set-Cookie",
                         std::string(kSessionCookieName) + "=" + std::to_string(id) + CookieAttributes(secure));
    if (!secret.empty())
        headers.emplace_back("Set-Cookie",
                             std::string(kSessionSecretCookieName) + "=" + secret + CookieAttributes(secure));
}
