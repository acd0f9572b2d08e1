// PageResponse helpers: error answers, the standard reason phrases, and the
// CGI form of a response (Status and header lines, empty line, body).
#pragma once

#include <string>

#include "app/RequestTypes.h"

// "Not Found" for 404; "Unknown" for a code without a phrase here.
const char* GetReasonPhrase(int status);

// A small HTML page that names the status and says `message` (plain text).
PageResponse MakeErrorResponse(int status, const std::string& message);

// The status line text: the page's own text if it gave one, else code and phrase.
std::string GetStatusText(const PageResponse& response);

// Writes the response in CGI form. A "Status" line goes out when the status
// is not 200 or the page asked for one, so that a bare Location header
// keeps its meaning for the web server.
bool WriteCgiResponse(const PageResponse& response, ResponseWriter& writer, bool withBody);
