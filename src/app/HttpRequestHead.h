// HttpRequestHead: the request line and header fields of an HTTP/1.x
// request, as the development server reads them, with the limits it keeps.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The whole head (request line and fields): enough for long cookies and URLs.
constexpr std::size_t kMaxRequestHeadBytes = 16 * 1024;
// Header fields in one request; browsers send about 20.
constexpr std::size_t kMaxHeaderFields = 100;

struct HttpRequestHead {
    std::string Method;
    std::string Target;      // as sent: path and query
    int MinorVersion = 1;    // HTTP/1.<MinorVersion>
    std::vector<std::pair<std::string, std::string>> Fields;  // names in lower case, in order
};

enum class HeadParseStatus { Ok, BadRequest, TooManyFields, BadVersion };

// Parses the head, from the request line up to (not including) the empty
// line. Line ends may be CRLF or LF.
HeadParseStatus ParseRequestHead(std::string_view text, HttpRequestHead& head);

// The value of a field (case of the name ignored); repeated fields are
// joined with ", ", cookies with "; ". Empty when absent.
std::string GetHeaderField(const HttpRequestHead& head, std::string_view name);

// Splits a target into its path (percent escapes decoded, "+" kept) and
// query string; false for a target that is no origin-form path or whose
// path decodes to a NUL byte.
bool SplitRequestTarget(std::string_view target, std::string& path, std::string& query);
