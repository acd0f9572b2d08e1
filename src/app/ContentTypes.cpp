// ContentTypes: table of servable extensions.
#include "app/ContentTypes.h"

#include <cstddef>

namespace {

struct ContentTypeEntry {
    const char* Extension;  // lower case, with the point
    const char* ContentType;
};

constexpr ContentTypeEntry kContentTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".htm", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".txt", "text/plain; charset=utf-8"},
    {".xml", "application/xml"},
    {".svg", "image/svg+xml"},
    {".png", "image/png"},
    {".jpg", "image/jpeg"},
    {".jpeg", "image/jpeg"},
    {".gif", "image/gif"},
    {".webp", "image/webp"},
    {".ico", "image/x-icon"},
    {".woff", "font/woff"},
    {".woff2", "font/woff2"},
    {".pdf", "application/pdf"},
};

}  // namespace

const char* FindStaticContentType(std::string_view path)
{
    std::size_t slash = path.rfind('/');
    std::size_t point = path.rfind('.');
    if (point == std::string_view::npos || (slash != std::string_view::npos && point < slash))
        return nullptr;
    std::string_view extension = path.substr(point);
    for (const ContentTypeEntry& entry : kContentTypes) {
        std::string_view known = entry.Extension;
        if (known.size() != extension.size())
            continue;
        bool same = true;
        for (std::size_t i = 0; i < known.size() && same; ++i) {
            char c = extension[i];
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
            same = c == known[i];
        }
        if (same)
            return entry.ContentType;
    }
    return nullptr;
}
