// SessionStore: where the variables of sessions live between requests. One
// small interface, so that a back end other than the SQLite file
// (SqliteSessionStore) can take its place; each back end keeps its SQL to
// itself and passes every value as a bound parameter.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "values/NyxString.h"

class Variable;

class SessionStore {
public:
    virtual ~SessionStore() = default;

    // False when the store could not be opened; Problem() then says why and
    // every call answers as an empty store that keeps nothing.
    virtual bool IsOpen() const = 0;
    const std::string& Problem() const { return OpenProblem; }

    // Whether a session of that number is stored.
    virtual bool Exists(uint32_t id) = 0;
    // Whether the session is stored, bound to `secret`, and used within the
    // last `maxIdleSeconds`: the test a visitor's cookies must pass.
    virtual bool Resume(uint32_t id, std::string_view secret, uint32_t maxIdleSeconds) = 0;
    // Stores a new session bound to `secret`; false if the number is taken
    // (by a live or an expired session) or the store failed.
    virtual bool Create(uint32_t id, std::string_view secret) = 0;

    // A new variable of the stored type and value named `name`, or null.
    virtual Variable* Load(uint32_t id, const NyxString& name) = 0;
    // Stores the variables under their names (replacing those of the same
    // names) and marks the session as used now, creating it if needed, all
    // in one transaction. Values that cannot be stored (handles) are left
    // out. False if the store failed and nothing was kept.
    virtual bool SaveAll(uint32_t id, Variable* const* variables, unsigned count) = 0;
    bool Save(uint32_t id, const Variable& variable) {
        Variable* one = const_cast<Variable*>(&variable);
        return SaveAll(id, &one, 1);
    }
    // Marks the session as used now, creating it if needed.
    virtual void Touch(uint32_t id) = 0;

    // Deletes the sessions idle for more than `ageSeconds`, with their variables.
    virtual void Expire(uint32_t ageSeconds) = 0;
    // The same, but only when no request of any process did it within the
    // last `intervalSeconds`: idle sessions are already refused by Resume,
    // so removing them can wait and be shared out.
    virtual void ExpireNowAndThen(uint32_t ageSeconds, uint32_t intervalSeconds) = 0;

    // Serialises the requests of one session: waits up to
    // `timeoutMilliseconds` for the session's lock. False when it could not
    // be had. The lock ends with Unlock, or with the process.
    virtual bool Lock(uint32_t id, unsigned timeoutMilliseconds) = 0;
    virtual void Unlock(uint32_t id) = 0;
    // How long a statement may wait for other connections' hold on the
    // store before it fails (and the request is told).
    virtual void SetBusyTimeout(unsigned milliseconds) = 0;

protected:
    std::string OpenProblem;  // why IsOpen is false

    static int64_t Now();  // unix seconds, the stores' time stamps
    // Compares every byte whatever the first difference, so that the time
    // taken tells a guesser nothing about how much of a secret was right.
    static bool SameSecret(std::string_view stored, std::string_view given);
};
