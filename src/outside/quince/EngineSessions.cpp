// Engine: session variables. `session int visits = 0` binds visits to the
// session store under the id given with SetSessionId; the values go back to
// the store at ResetContext. The store file is key "SessionStore" in section
// "QuinceConfig", by default under the user's state folder.
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "outside/foundation/Paths.h"
#include "outside/quince/Engine.h"
#include "outside/quince/VariableBridge.h"
#include "values/Variable.h"

#if __has_include("outside/quince/SessionStore.h")
#include "outside/quince/SessionStore.h"
#define QUINCE_HAVE_SESSION_STORE 1
#else
#define QUINCE_HAVE_SESSION_STORE 0
#endif

namespace quince {

NyxString Engine::SessionStorePath() {
    NyxString configured = ReadConfig("SessionStore");
    if (configured.IsNotEmpty()) return configured;
    // The user's state folder (XDG), so that sessions survive a cleaned
    // temporary folder; the temporary folder only when no home is known.
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    NyxString folder;
    if (state != nullptr && state[0] == '/') {
        folder = state;
        folder += "/vexl";
    } else if (home != nullptr && home[0] == '/') {
        folder = home;
        folder += "/.local/state/vexl";
    } else {
        folder = GetTemporaryDirectory();
        folder += "/vexl-state";
    }
    folder += "/sessions.db";
    return folder;
}

#if QUINCE_HAVE_SESSION_STORE

SessionStore* Engine::GetSessionStore() {
    if (Store != nullptr || StoreTried) return Store;
    StoreTried = true;
    const NyxString path = SessionStorePath();
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path.ToStd()).parent_path(), ignored);
    auto* store = new SessionStore(path);
    if (!store->IsOpen()) {
        delete store;
        return nullptr;
    }
    Store = store;
    return Store;
}

void Engine::CloseSessionStore() {
    delete Store;
    Store = nullptr;
    StoreTried = false;
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
    // No touch here: the caller expires idle sessions next, and this request
    // must not make its own session look active before that. The end of the
    // request touches it.
}

bool Engine::DeclareSessionVariable(std::string_view name, DeclaredType type, Value& initial, NyxString& error) {
    if (!ConvertTo(initial, type, Memory, error)) return false;
    if (Sessions.Find(name) != nullptr) return true;  // bound already in this request
    const NyxString variableName(name);
    Variable* made = VariableFromValue(initial, variableName);
    if (made == nullptr) {
        error = "no value for the session variable";
        return false;
    }
    SessionStore* store = SessionIdSet ? GetSessionStore() : nullptr;
    if (Variable* stored = store != nullptr ? store->Load(SessionId, variableName) : nullptr) {
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
    return true;
}

void Engine::SaveSessionVariables() {
    if (!SessionIdSet) return;
    SessionStore* store = GetSessionStore();
    if (store == nullptr) return;
    for (unsigned i = 0; i < Sessions.Count(); ++i) store->Save(SessionId, *Sessions.At(i));
    store->Touch(SessionId);
}

#else  // no session store yet: session variables live for one request

SessionStore* Engine::GetSessionStore() { return nullptr; }
void Engine::CloseSessionStore() {}
bool Engine::DoesSessionExist(unsigned) { return false; }
void Engine::ExpireSessions(unsigned) {}
void Engine::SetSessionId(unsigned id) {
    SessionId = id;
    SessionIdSet = true;
}
bool Engine::DeclareSessionVariable(std::string_view name, DeclaredType type, Value& initial, NyxString& error) {
    if (!ConvertTo(initial, type, Memory, error)) return false;
    if (Sessions.Find(name) != nullptr) return true;
    Variable* made = VariableFromValue(initial, NyxString(name));
    if (made == nullptr) {
        error = "no value for the session variable";
        return false;
    }
    AddVariable(made, 3);
    return true;
}
void Engine::SaveSessionVariables() {}

#endif

}  // namespace quince
