// VexlPage sessions: choosing the session number, showing it to scripts as
// HTTP_SESSION_ID and to the caller as the header pair http_session_id.
#include "page/VexlPage.h"

#include "page/Contained.h"

#include <cstdint>

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
    CreateOneVariable(SESSIONID_NAME, text, QuinceContext::VarListPage);
    return SessionId;
}

void VexlPage::ClaimSession(unsigned id, const NyxString& secret, unsigned expiry) {
    Contained([&] {
        SessionClaimed = true;
        CreateOneVariable(SESSIONID_NAME, NyxString("0"), QuinceContext::VarListPage);
        Context->ClaimSession(id, secret, expiry, [this](unsigned settled) {
            SessionId = settled;
            // Read as a 32-bit integer, as the number in the header would be.
            if (Variable* shown = Context->GetVariable(SESSIONID_NAME, QuinceContext::VarListPage))
                shown->SetIntegerValue(static_cast<long>(static_cast<int32_t>(settled)));
        });
    });
}

bool VexlPage::IsSessionSettled() const { return Context->IsSessionSettled(); }

NyxString VexlPage::GetSessionSecret() const { return Context->GetSessionSecret(); }

NyxString VexlPage::GetSessionProblem() const { return Context->GetSessionProblem(); }

bool VexlPage::HasSessionFailed() const { return Context->HasSessionFailed(); }

void VexlPage::SetSessionCookie() {
    // A claimed session that no script used leaves the visitor without one.
    if (SessionClaimed && !Context->IsSessionSettled()) return;
    NyxString text;
    text.Printf("%lu", static_cast<unsigned long>(SessionId));
    Headers.Add(SESSIONID_NAME, text);
}
