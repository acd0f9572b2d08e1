// HttpRequestHead: parsing of request heads and targets.
#include "app/HttpRequestHead.h"

#include "app/RequestDecoder.h"

namespace {

bool IsTokenCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           c == '.' || c == '!' || c == '#' || c == '$' || c == '%' || c == '&' || c == '\'' || c == '*' ||
           c == '+' || c == '^' || c == '`' || c == '|' || c == '~';
}

std::string ToLower(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

// Takes the next line off `text`, without its CRLF or LF.
std::string_view TakeLine(std::string_view& text)
{
    std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

}  // namespace

HeadParseStatus ParseRequestHead(std::string_view text, HttpRequestHead& head)
{
    // Request line: METHOD SP TARGET SP HTTP/1.x
    std::string_view line = TakeLine(text);
    std::size_t firstBlank = line.find(' ');
    std::size_t lastBlank = line.rfind(' ');
    if (firstBlank == std::string_view::npos || firstBlank == lastBlank)
        return HeadParseStatus::BadRequest;
    std::string_view method = line.substr(0, firstBlank);
    std::string_view target = line.substr(firstBlank + 1, lastBlank - firstBlank - 1);
    std::string_view version = line.substr(lastBlank + 1);
    if (method.empty() || target.empty() || target.find(' ') != std::string_view::npos)
        return HeadParseStatus::BadRequest;
    for (char c : method) {
        if (!IsTokenCharacter(c))
            return HeadParseStatus::BadRequest;
    }
    if (version.size() != 8 || version.substr(0, 7) != "HTTP/1." || version[7] < '0' || version[7] > '9')
        return version.substr(0, 5) == "HTTP/" ? HeadParseStatus::BadVersion : HeadParseStatus::BadRequest;
    head.Method = std::string(method);
    head.Target = std::string(target);
    head.MinorVersion = version[7] - '0';

    // Fields: name ":" value; no folded lines.
    while (!text.empty()) {
        line = TakeLine(text);
        if (line.empty())
            break;
        if (line.front() == ' ' || line.front() == '\t')
            return HeadParseStatus::BadRequest;
        std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0)
            return HeadParseStatus::BadRequest;
        std::string_view name = line.substr(0, colon);
        for (char c : name) {
            if (!IsTokenCharacter(c))
                return HeadParseStatus::BadRequest;
        }
        if (head.Fields.size() >= kMaxHeaderFields)
            return HeadParseStatus::TooManyFields;
        head.Fields.emplace_back(ToLower(name), std::string(TrimBlanks(line.substr(colon + 1))));
    }
    return HeadParseStatus::Ok;
}

std::string GetHeaderField(const HttpRequestHead& head, std::string_view name)
{
    std::string wanted = ToLower(name);
    const char* separator = wanted == "cookie" ? "; " : ", ";
    std::string value;
    bool found = false;
    for (const auto& [fieldName, fieldValue] : head.Fields) {
        if (fieldName != wanted)
            continue;
        if (found)
            value += separator;
        value += fieldValue;
        found = true;
    }
    return value;
}

bool SplitRequestTarget(std::string_view target, std::string& path, std::string& query)
{
    if (target.empty() || target.front() != '/')
        return false;
    std::size_t question = target.find('?');
    std::string_view rawPath = target.substr(0, question);
    query = question == std::string_view::npos ? std::string() : std::string(target.substr(question + 1));
    std::size_t hash = query.find('#');
    if (hash != std::string::npos)
        query.resize(hash);
    path.clear();
    for (std::size_t i = 0; i < rawPath.size(); ++i) {
        char c = rawPath[i];
        if (c == '#')
            break;
        if (c == '%' && i + 2 < rawPath.size() && HexDigitValue(rawPath[i + 1]) >= 0 && HexDigitValue(rawPath[i + 2]) >= 0) {
            c = static_cast<char>(HexDigitValue(rawPath[i + 1]) * 16 + HexDigitValue(rawPath[i + 2]));
            i += 2;
            if (c == '\0')
                return false;
        }
        path += c;
    }
    return true;
}
