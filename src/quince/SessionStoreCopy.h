// SessionStoreCopy: moves a site's sessions from one store to another (an
// SQLite file to a PostgreSQL database, or back), for `vexl copy-store`.
#pragma once

#include <string>

#include "values/NyxString.h"

// Copies every session (number, last use, secret) and its variables from the
// store at `from` to the store at `to` ("sqlite:PATH", a plain path or a
// postgresql:// URI); the target's tables are made if missing, and a session
// already there is replaced. Returns the number of sessions copied, or -1
// with the reason in `problem`.
long CopySessions(const NyxString& from, const NyxString& to, std::string& problem);
