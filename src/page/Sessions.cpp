// VexlPage sessions: choosing the session number, showing it to scripts as
// HTTP_SESSION_ID and to the caller as the header pair http_session_id.
#include "page/VexlPage.h"

#include "page/Contained.h"

namespace {
// A store that claims every number taken is broken; stop drawing after this
// many tries rather than loop forever, and use the last draw.
constexpr int kMaxSessionDraws = 1000;
}  // namespace

unsigned VexlPage::SetSessionId(unsigned id, unsigned expiry) {
    return ContainedOr(0u, [&] { return ChooseSession(id, expiry); });
}

unsigned VexlPage::ChooseSession(unsigned id, unsigned expiry) {
    if (id == 0) {
        // 0 means "no session" to every caller, so it is never handed out.
        for (int draw = 0; draw < kMaxSessionDraws; ++draw) {
            id = DrawSessionNumber();
            if (id != 0 && !Context->DoesSessionExist(id)) break;
        }
        if (id == 0) id = 1;
    }
    SessionId = id;
    Context->SetSessionId(id);
    Context->ExpireOldSessions(expiry);
    NyxString text;
    text.Printf("%lu", static_cast<unsigned long>(SessionId));
    CreateOneVariable(SESSIONID_NAME, text, static_cast<QuinceContext::enum_VarListType>(2));
    return SessionId;
}

void VexlPage::SetSessionCookie() {
    NyxString text;
    text.Printf("%lu", static_cast<unsigned long>(SessionId));
    Headers.Add(SESSIONID_NAME, text);
}
