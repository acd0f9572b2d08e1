// SessionStoreCache: each thread's open session stores, kept across
// requests so that a long-running front end opens its store once, and
// opened again when the file at the path is replaced.
#pragma once

#include <string>

#include "values/NyxString.h"

class SessionStore;

// This thread's store for `location` ("sqlite:PATH" or a plain path),
// opened on first use. Null, with the reason in `problem`, when it cannot be
// opened; the next call tries again. The store stays this thread's.
SessionStore* UseSessionStore(const NyxString& location, std::string& problem);

// Closes this thread's stores (tests use it to start from nothing).
void CloseSessionStores();
