// SessionCookies: a visitor's session in two cookies, the number
// (http_session_id, as pages know it) and the secret that proves the
// visitor was given that number (http_session_secret).
#pragma once

#include <string>
#include <utility>
#include <vector>

extern const char kSessionCookieName[];
extern const char kSessionSecretCookieName[];

struct SessionCookieClaim {
    unsigned Id = 0;     // 0: no usable number
    std::string Secret;  // empty: none, or not of the form a secret has
};

// The session the request's Cookie header names; a number without a secret
// of the right form claims nothing the store will grant.
SessionCookieClaim ReadSessionCookies(const std::string& cookieHeader);

// The two Set-Cookie headers for a settled session: HttpOnly, SameSite=Lax,
// and Secure when the request came over HTTPS.
void AddSessionCookies(unsigned id, const std::string& secret, bool secure,
                       std::vector<std::pair<std::string, std::string>>& headers);
