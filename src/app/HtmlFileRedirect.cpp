#include "app/HtmlFileRedirect.h"

#include "app/RequestDecoder.h"
#include "foundation/IniFile.h"

namespace {

// A path inside the root as it follows the root: "/admin/secret.vxl"; empty
// when the path is not inside it.
std::string InsideRoot(const std::string& root, const std::string& path) {
    if (path.size() <= root.size() || path.compare(0, root.size(), root) != 0 || path[root.size()] != '/') return {};
    return path.substr(root.size());
}

bool EndsWith(std::string_view text, std::string_view tail) {
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

// Percent-encodes every byte of a URL path but letters, digits, "-._~" and "/".
std::string EncodePath(std::string_view path) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
            c == '-' || c == '.' || c == '_' || c == '~' || c == '/') {
            encoded += c;
        } else {
            encoded += '%';
            encoded += kHex[byte >> 4];
            encoded += kHex[byte & 15];
        }
    }
    return encoded;
}

// The query without its _htmlfile fields, the others as they came.
std::string QueryWithoutHtmlFile(std::string_view query) {
    std::string kept;
    while (!query.empty()) {
        const std::size_t end = query.find('&');
        const std::string_view piece = query.substr(0, end);
        query = end == std::string_view::npos ? std::string_view() : query.substr(end + 1);
        if (piece.empty() || DecodeFormComponent(piece.substr(0, piece.find('='))) == "_htmlfile") continue;
        if (!kept.empty()) kept += '&';
        kept += piece;
    }
    return kept;
}

// The URL path that the web server maps to `page`, told from the request's
// own page and URL; empty when they do not fit together.
std::string UrlOf(const RequestEnvironment& environment, const std::string& root, const std::string& ownPage,
                  const std::string& page) {
    const std::string target = InsideRoot(root, page);
    if (target.empty()) return {};
    std::string scriptName = GetEnvironmentValue(environment, "SCRIPT_NAME");
    // Behind a program in cgi-bin the page is the path behind the program.
    if (!GetEnvironmentValue(environment, "PATH_INFO").empty()) return scriptName + target;
    const std::string own = InsideRoot(root, ownPage);
    if (own.empty()) return {};
    if (!scriptName.empty() && scriptName.back() == '/') scriptName += own.substr(own.rfind('/') + 1);
    if (!EndsWith(scriptName, own)) return {};
    return scriptName.substr(0, scriptName.size() - own.size()) + target;
}

}  // namespace

bool RedirectsHtmlFile(const std::string& iniPath) {
    if (iniPath.empty()) return false;
    return IniFile::Load(NyxString(iniPath.c_str()))->IsSwitchedOn("QuinceConfig", kRedirectHtmlFileKey);
}

PageResponse RedirectToNamedPage(const RequestEnvironment& environment, const std::string& root,
                                 const std::string& ownPage, const std::string& namedPage) {
    const std::string url = UrlOf(environment, root, ownPage, namedPage);
    if (url.empty()) return MakeErrorResponse(403, "The page named by _htmlfile has no address of its own here.");
    const bool post = GetEnvironmentValue(environment, "REQUEST_METHOD") == "POST";
    std::string query = QueryWithoutHtmlFile(GetEnvironmentValue(environment, "QUERY_STRING"));
    // A post's body names the page from the first page's folder: in another
    // folder the query names it again, from its own.
    const std::size_t folderEnd = namedPage.rfind('/');
    if (post && ownPage.compare(0, ownPage.rfind('/'), namedPage, 0, folderEnd) != 0) {
        query = "_htmlfile=" + EncodePath(namedPage.substr(folderEnd + 1)) + (query.empty() ? "" : "&" + query);
    }
    PageResponse response = MakeErrorResponse(post ? 307 : 303, "The page is at its own address.");
    response.Headers.emplace_back("Location", EncodePath(url) + (query.empty() ? "" : "?" + query));
    return response;
}
