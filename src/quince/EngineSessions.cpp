// Engine: session variables. `session int visits = 0` binds visits to the
// session store under the session's number; the values go back to the store
// at the end of the request. The store is key "SessionStore" in section
// "QuinceConfig", by default in the user's private state folder. A request's
// session holds its lock from its first bound variable to the write-back,
// so that two requests of one session never lose each other's changes.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "foundation/IniFile.h"
#include "foundation/Random.h"
#include "quince/Engine.h"
#include "quince/SessionStore.h"
#include "quince/SessionStoreCache.h"
#include "quince/VariableBridge.h"
#include "values/Variable.h"

namespace quince {

namespace {

// How long a request waits for another request of its session by default:
// long enough for any ordinary page, short enough that a stuck one is told.
constexpr unsigned kDefaultSessionLockSeconds = 10;
// The longest wait the configuration may ask for.
constexpr unsigned kMaxSessionLockSeconds = 3600;
// The store's own transactions are short; even with no wait for a session's
// lock, a write waits this long for another one to end.
constexpr unsigned kMinBusyMilliseconds = 1000;
// Idle sessions are removed at most this often (and at least as often as
// they expire); Resume refuses them in the meantime.
constexpr unsigned kExpiryIntervalSeconds = 60;
// A store that refuses every new number is broken; give up after this many.
constexpr int kMaxNewSessionDraws = 100;
// 128 random bits, as hex.
constexpr int kSecretWords = 4;

std::string NewSessionSecret() {
    static const char kHex[] = "0123456789abcdef";
    std::string secret;
    for (int word = 0; word < kSecretWords; ++word) {
        uint32_t bits = SecureRandom32();
        for (int nibble = 0; nibble < 8; ++nibble, bits >>= 4) secret += kHex[bits & 0xF];
    }
    return secret;
}

// The user's state folder (XDG), never a shared one such as the temporary
// folder: another user could make it first and read every session. Empty
// when no home is known.
std::string DefaultSessionStorePath() {
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    if (state != nullptr && state[0] == '/') return std::string(state) + "/vexl/sessions.db";
    if (home != nullptr && home[0] == '/') return std::string(home) + "/.local/state/vexl/sessions.db";
    return std::string();
}

}  // namespace

void Engine::ReadSessionSettings() {
    if (SessionSettingsRead) return;
    SessionSettingsRead = true;
    SessionLockMilliseconds = kDefaultSessionLockSeconds * 1000;
    const IniFile& file = GetConfig();  // read once per request
    SessionStoreConfigured = file.GetEntryValue("QuinceConfig", "SessionStore", SessionStoreSetting, NyxString());
    NyxString lock;
    if (file.GetEntryValue("QuinceConfig", "SessionLockSeconds", lock, NyxString()) && lock.IsNotEmpty()) {
        char* end = nullptr;
        const unsigned long seconds = std::strtoul(lock.GetString(), &end, 10);
        if (end != lock.GetString())
            SessionLockMilliseconds = static_cast<unsigned>(seconds > kMaxSessionLockSeconds ? kMaxSessionLockSeconds
                                                                                            : seconds) * 1000;
    }
}

SessionStore* Engine::GetSessionStore() {
    if (Store != nullptr || StoreTried) return Store;
    StoreTried = true;
    ReadSessionSettings();
    std::string location;
    if (SessionStoreConfigured) {
        // "SessionStore =" turns sessions off: variables live for one request.
        if (SessionStoreSetting.IsEmpty()) return nullptr;
        location = SessionStoreSetting.ToStd();
    } else {
        location = DefaultSessionStorePath();
        if (location.empty()) {
            SessionProblem = "sessions are not kept: HOME is not set, so there is no private folder for them; "
                             "name a store with SessionStore in [QuinceConfig]";
            return nullptr;
        }
    }
    std::string problem;
    Store = UseSessionStore(NyxString(location.c_str()), problem);
    if (Store == nullptr) {
        SessionProblem = "sessions are not kept: ";
        SessionProblem += problem.c_str();
        return nullptr;
    }
    // The same patience for the store as for the session (the connection
    // may have served a request with another configuration).
    Store->SetBusyTimeout(SessionLockMilliseconds > kMinBusyMilliseconds ? SessionLockMilliseconds
                                                                         : kMinBusyMilliseconds);
    return Store;
}

bool Engine::DoesSessionExist(unsigned id) {
    SessionStore* store = GetSessionStore();
    return store != nullptr && store->Exists(id);
}

void Engine::ExpireSessions(unsigned ageSeconds) {
    if (SessionStore* store = GetSessionStore()) store->Expire(ageSeconds);
}

void Engine::SetSessionId(unsigned id) {
    SessionId = id;
    SessionIdSet = true;
    SessionIsNew = false;
    // The end of the request touches the session (not now: the caller
    // expires idle sessions next, and this one must not look active before).
    SessionDirty = true;
}

void Engine::ClaimSession(unsigned id, const std::string& secret, unsigned expirySeconds,
                          std::function<void(unsigned)> settled) {
    Claim.Active = true;
    Claim.Id = id;
    Claim.Secret = secret;
    Claim.ExpirySeconds = expirySeconds;
    Claim.Settled = std::move(settled);
    Claim.SettleTried = false;
    SessionIdSet = false;
    SessionIsNew = false;
}

bool Engine::SettleClaim(NyxString& error) {
    Claim.SettleTried = true;
    SessionStore* store = GetSessionStore();
    if (store == nullptr) return true;  // no store: the variables live for this request
    unsigned id = Claim.Id;
    if (id == 0 || !store->Resume(id, Claim.Secret, Claim.ExpirySeconds)) {
        // A made-up, guessed, expired or forgotten session: a new visitor.
        id = 0;
        for (int draw = 0; draw < kMaxNewSessionDraws && id == 0; ++draw) {
            const unsigned candidate = SecureRandom32();
            if (candidate == 0) continue;
            std::string secret = NewSessionSecret();
            if (store->Create(candidate, secret)) {
                id = candidate;
                Claim.Secret = std::move(secret);
                SessionIsNew = true;
            }
        }
        if (id == 0) {
            SessionProblem = "no new session could be stored (the session store is busy or failing)";
            SessionBusy = true;
            error = SessionProblem;
            return false;
        }
        store->ExpireNowAndThen(Claim.ExpirySeconds, Claim.ExpirySeconds < kExpiryIntervalSeconds
                                                         ? Claim.ExpirySeconds
                                                         : kExpiryIntervalSeconds);
    }
    SessionId = id;
    SessionIdSet = true;
    if (Claim.Settled) Claim.Settled(id);
    return true;
}

bool Engine::LockSession(NyxString& error) {
    if (SessionLocked) return true;
    ReadSessionSettings();
    if (Store->Lock(SessionId, SessionLockMilliseconds)) {
        SessionLocked = true;
        return true;
    }
    SessionBusy = true;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%u", SessionLockMilliseconds / 1000);
    SessionProblem = "the session is busy: another request of it has held it for more than ";
    SessionProblem += seconds;
    SessionProblem += " s";
    error = SessionProblem;
    return false;
}

bool Engine::DeclareSessionVariable(std::string_view name, DeclaredType type, Value& initial, NyxString& error) {
    if (!ConvertTo(initial, type, Memory, error)) return false;
    if (Sessions.Find(name) != nullptr) return true;  // bound already in this request
    if (SessionBusy) {
        error = SessionProblem;
        return false;
    }
    if (Claim.Active && !SessionIdSet && !Claim.SettleTried && !SettleClaim(error)) return false;
    SessionStore* store = SessionIdSet ? GetSessionStore() : nullptr;
    if (store != nullptr && !LockSession(error)) return false;

    const NyxString variableName(name);
    Variable* made = VariableFromValue(initial, variableName);
    if (made == nullptr) {
        error = "no value for the session variable";
        return false;
    }
    if (Variable* stored = store != nullptr && !SessionIsNew ? store->Load(SessionId, variableName) : nullptr) {
        // The declared type stands; the stored value is converted to it.
        Value value = Value::MakeNone();
        NyxString ignored;
        if (ValueFromVariable(stored, Memory, value, ignored)) {
            if (type.Base == StaticType::Any) {
                Variable::Delete(made);
                made = VariableFromValue(value, variableName);
            } else if (!StoreIntoVariable(made, value, ignored)) {
                // A stored value of another shape: the initial value stands.
            }
            Release(value);
        }
        Variable::Delete(stored);
        if (made == nullptr) {
            error = "no value for the session variable";
            return false;
        }
    }
    AddVariable(made, 3);
    SessionDirty = true;
    return true;
}

void Engine::SaveSessionVariables() {
    const bool write = SessionIdSet && SessionDirty && !SessionBusy;
    SessionDirty = false;
    SessionStore* store = write || SessionLocked ? GetSessionStore() : nullptr;
    if (write && store != nullptr) {
        std::vector<Variable*> variables;
        variables.reserve(Sessions.Count());
        for (unsigned i = 0; i < Sessions.Count(); ++i) variables.push_back(Sessions.At(i));
        if (!store->SaveAll(SessionId, variables.data(), static_cast<unsigned>(variables.size()))) {
            SessionProblem = "the session's changes could not be stored (the session store is busy or failing)";
            SessionBusy = true;
            Output() += "<P>The session's changes could not be stored: the session store is busy or failing.</P>\n";
        }
    }
    if (SessionLocked && store != nullptr) store->Unlock(SessionId);
    SessionLocked = false;
}

}  // namespace quince
