// HandlerSettings: where pages, configuration and translations lie for the
// front ends that answer web requests (cgi, fcgi, serve), and their limits.
#pragma once

#include <cstddef>
#include <string>

#include "app/RequestTypes.h"

constexpr std::size_t kDefaultMaxBodyBytes = 1024 * 1024;
constexpr unsigned kDefaultSessionExpirySeconds = 3600;

// What the command line fixed; empty strings and zeros mean "not given".
struct HandlerOptions {
    std::string Root;
    std::string IniPath;
    std::string TranslationPath;
    std::size_t MaxBodyBytes = 0;
    unsigned SessionExpirySeconds = 0;
};

struct HandlerSettings {
    std::string Root;             // folder the pages must lie in (before realpath)
    std::string IniPath;          // empty: no configuration
    std::string TranslationPath;  // empty: none handed to the page
    std::size_t MaxBodyBytes = kDefaultMaxBodyBytes;
    unsigned SessionExpirySeconds = kDefaultSessionExpirySeconds;
    // A long-running front end keeps parsed pages between requests.
    bool KeepParsedPages = false;
};

// Settings for one request. Each value comes from the command line if given
// there, else from the request's own variables (VEXL_ROOT, VEXL_INI,
// VEXL_TRANSLATIONS, VEXL_MAX_BODY, VEXL_SESSION_EXPIRY), else from the
// process environment; the root falls back to DOCUMENT_ROOT, and the
// configuration to a file vexl.ini in the root when one is there.
HandlerSettings ResolveHandlerSettings(const HandlerOptions& options, const RequestEnvironment& environment);

// Parses the options shared by cgi and fcgi (--root, --ini, --translations,
// --max-body, --expiry). Unknown options are left to the caller: returns the
// number of arguments consumed at `index` (0 when argv[index] is none of
// these), or -1 after reporting a usage error.
int ParseHandlerOption(const char* command, int argc, char** argv, int index, HandlerOptions& options);

// The help lines for those options.
extern const char kHandlerOptionsHelp[];
