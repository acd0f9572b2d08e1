// HtmlFileRedirect: with RedirectHtmlFile = 1 in [QuinceConfig], a request
// whose _htmlfile field names another page than its own URL's is sent to that
// page's own URL, so that the web server's rules for that URL (a password, a
// denied folder) apply to it as to any request for it.
#pragma once

#include <string>
#include <string_view>

#include "app/PageResponse.h"
#include "app/RequestTypes.h"

constexpr const char* kRedirectHtmlFileKey = "RedirectHtmlFile";  // section "QuinceConfig"

// Whether the site's configuration file turns the redirect on.
bool RedirectsHtmlFile(const std::string& iniPath);

// The answer for a request whose URL shows `ownPage` and whose _htmlfile
// chose `namedPage` (both real paths inside `root`): a 303 (GET, HEAD) or 307
// (POST, which the browser posts again) to the named page's URL, with the
// query's other fields; a POST to another folder has its query name the page
// again by its file name, since its body still holds the first folder's name.
// A 403 when the page's URL cannot be told from the request.
PageResponse RedirectToNamedPage(const RequestEnvironment& environment, const std::string& root,
                                 const std::string& ownPage, const std::string& namedPage);
