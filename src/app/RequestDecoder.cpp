// RequestDecoder: query strings, form bodies, cookies and Basic credentials.
#include "app/RequestDecoder.h"

#include <cstdint>

int HexDigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

std::string_view TrimBlanks(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

namespace {

char LowerAscii(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i]))
            return false;
    }
    return true;
}

// Reads the value of a header parameter at the start of `text`: a quoted
// string (backslash escapes one character) or a token up to ";".
std::string ReadParameterValue(std::string_view text)
{
    std::string value;
    if (text.empty() || text.front() != '"') {
        std::size_t end = text.find(';');
        return std::string(TrimBlanks(text.substr(0, end)));
    }
    for (std::size_t i = 1; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\\' && i + 1 < text.size()) {
            value += text[++i];
        } else if (c == '"') {
            break;
        } else {
            value += c;
        }
    }
    return value;
}

// Finds parameter `name` in a header value such as
// `form-data; name="a"; filename="b"`. Quoted semicolons are skipped over.
bool FindHeaderParameter(std::string_view header, std::string_view name, std::string& value)
{
    std::size_t position = 0;
    while (position < header.size()) {
        // Move to the start of the next parameter, past a ";" outside quotes.
        bool quoted = false;
        while (position < header.size()) {
            char c = header[position];
            if (c == '"')
                quoted = !quoted;
            else if (c == '\\' && quoted)
                ++position;
            else if (c == ';' && !quoted)
                break;
            ++position;
        }
        if (position >= header.size())
            return false;
        ++position;  // past ";"
        std::string_view rest = header.substr(position);
        std::size_t equals = rest.find('=');
        if (equals == std::string_view::npos)
            return false;
        std::string_view key = TrimBlanks(rest.substr(0, equals));
        if (EqualsIgnoringCase(key, name)) {
            value = ReadParameterValue(TrimBlanks(rest.substr(equals + 1)));
            return true;
        }
    }
    return false;
}

// The base name of a client's file name: browsers of old sent whole paths.
std::string StripFolders(const std::string& fileName)
{
    std::size_t slash = fileName.find_last_of("/\\");
    return slash == std::string::npos ? fileName : fileName.substr(slash + 1);
}

// Reads one part's header block ("Name: value" lines) into the field.
bool ReadPartHeaders(std::string_view block, FormField& field)
{
    bool haveDisposition = false;
    while (!block.empty()) {
        std::size_t lineEnd = block.find("\r\n");
        std::string_view line = block.substr(0, lineEnd);
        block = lineEnd == std::string_view::npos ? std::string_view() : block.substr(lineEnd + 2);
        std::size_t colon = line.find(':');
        if (colon == std::string_view::npos)
            continue;
        std::string_view name = TrimBlanks(line.substr(0, colon));
        std::string_view value = TrimBlanks(line.substr(colon + 1));
        if (EqualsIgnoringCase(name, "content-disposition")) {
            if (!FindHeaderParameter(value, "name", field.Name))
                return false;
            haveDisposition = true;
            std::string fileName;
            if (FindHeaderParameter(value, "filename", fileName)) {
                field.IsFile = true;
                field.FileName = StripFolders(fileName);
            }
        } else if (EqualsIgnoringCase(name, "content-type")) {
            field.ContentType = std::string(value);
        }
    }
    return haveDisposition;
}

int Base64Value(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

bool DecodeBase64(std::string_view text, std::string& bytes)
{
    uint32_t accumulator = 0;
    int bits = 0;
    std::size_t padding = 0;
    for (char c : text) {
        if (c == '=') {
            ++padding;
            continue;
        }
        int value = Base64Value(c);
        if (value < 0 || padding > 0)
            return false;
        accumulator = (accumulator << 6) | static_cast<uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>((accumulator >> bits) & 0xFF);
        }
    }
    return padding <= 2;
}

}  // namespace

std::string DecodeFormComponent(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '+') {
            decoded += ' ';
        } else if (c == '%' && i + 2 < text.size() && HexDigitValue(text[i + 1]) >= 0 &&
                   HexDigitValue(text[i + 2]) >= 0) {
            decoded += static_cast<char>(HexDigitValue(text[i + 1]) * 16 + HexDigitValue(text[i + 2]));
            i += 2;
        } else {
            decoded += c;
        }
    }
    return decoded;
}

DecodeStatus DecodeUrlEncoded(std::string_view text, std::vector<FormField>& fields)
{
    while (!text.empty()) {
        std::size_t ampersand = text.find('&');
        std::string_view piece = text.substr(0, ampersand);
        text = ampersand == std::string_view::npos ? std::string_view() : text.substr(ampersand + 1);
        if (piece.empty())
            continue;
        std::size_t equals = piece.find('=');
        FormField field;
        field.Name = DecodeFormComponent(piece.substr(0, equals));
        if (field.Name.empty())
            continue;
        if (equals != std::string_view::npos)
            field.Value = DecodeFormComponent(piece.substr(equals + 1));
        if (fields.size() >= kMaxFormFields)
            return DecodeStatus::TooManyFields;
        fields.push_back(std::move(field));
    }
    return DecodeStatus::Ok;
}

bool IsMediaType(std::string_view contentType, std::string_view type)
{
    std::size_t semicolon = contentType.find(';');
    return EqualsIgnoringCase(TrimBlanks(contentType.substr(0, semicolon)), type);
}

std::string GetMultipartBoundary(std::string_view contentType)
{
    std::string boundary;
    if (!IsMediaType(contentType, "multipart/form-data"))
        return boundary;
    if (!FindHeaderParameter(contentType, "boundary", boundary))
        boundary.clear();
    // A boundary has 1 to 70 characters.
    if (boundary.size() > 70)
        boundary.clear();
    return boundary;
}

DecodeStatus DecodeMultipart(std::string_view body, std::string_view boundary, std::vector<FormField>& fields)
{
    if (boundary.empty())
        return DecodeStatus::Malformed;
    const std::string delimiter = "--" + std::string(boundary);
    const std::string innerDelimiter = "\r\n" + delimiter;

    // The first delimiter may follow a preamble, which is ignored.
    std::size_t position;
    if (body.substr(0, delimiter.size()) == delimiter) {
        position = delimiter.size();
    } else {
        position = body.find(innerDelimiter);
        if (position == std::string_view::npos)
            return DecodeStatus::Malformed;
        position += innerDelimiter.size();
    }

    // Each pass reads one part; the loop ends at the closing delimiter, and
    // cannot run more often than there are delimiters in the body.
    while (true) {
        if (body.substr(position, 2) == "--")
            return DecodeStatus::Ok;
        // Transport padding, then the line end behind the delimiter.
        while (position < body.size() && (body[position] == ' ' || body[position] == '\t'))
            ++position;
        if (body.substr(position, 2) != "\r\n")
            return DecodeStatus::Malformed;
        position += 2;

        std::size_t headerEnd = body.find("\r\n\r\n", position);
        std::string_view headerBlock;
        std::size_t contentStart;
        if (body.substr(position, 2) == "\r\n") {
            headerBlock = std::string_view();  // a part with no headers at all
            contentStart = position + 2;
        } else {
            if (headerEnd == std::string_view::npos || headerEnd - position > kMaxPartHeaderBytes)
                return DecodeStatus::Malformed;
            headerBlock = body.substr(position, headerEnd - position);
            contentStart = headerEnd + 4;
        }
        std::size_t contentEnd = body.find(innerDelimiter, contentStart);
        if (contentEnd == std::string_view::npos)
            return DecodeStatus::Malformed;

        FormField field;
        if (!ReadPartHeaders(headerBlock, field))
            return DecodeStatus::Malformed;
        field.Value = std::string(body.substr(contentStart, contentEnd - contentStart));
        if (!field.Name.empty()) {
            if (fields.size() >= kMaxFormFields)
                return DecodeStatus::TooManyFields;
            fields.push_back(std::move(field));
        }
        position = contentEnd + innerDelimiter.size();
    }
}

bool FindCookie(std::string_view cookieHeader, std::string_view name, std::string& value)
{
    while (!cookieHeader.empty()) {
        std::size_t semicolon = cookieHeader.find(';');
        std::string_view piece = TrimBlanks(cookieHeader.substr(0, semicolon));
        cookieHeader = semicolon == std::string_view::npos ? std::string_view() : cookieHeader.substr(semicolon + 1);
        std::size_t equals = piece.find('=');
        if (equals == std::string_view::npos)
            continue;
        if (TrimBlanks(piece.substr(0, equals)) != name)
            continue;
        std::string_view found = TrimBlanks(piece.substr(equals + 1));
        if (found.size() >= 2 && found.front() == '"' && found.back() == '"')
            found = found.substr(1, found.size() - 2);
        value = std::string(found);
        return true;
    }
    return false;
}

bool ParseUnsigned32(std::string_view text, unsigned& value)
{
    if (text.empty() || text.size() > 10)
        return false;
    uint64_t parsed = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
        parsed = parsed * 10 + static_cast<uint64_t>(c - '0');
    }
    if (parsed > 0xFFFFFFFFull)
        return false;
    value = static_cast<unsigned>(parsed);
    return true;
}

bool DecodeBasicAuthorization(std::string_view header, std::string& user, std::string& password)
{
    header = TrimBlanks(header);
    if (header.size() < 6 || !EqualsIgnoringCase(header.substr(0, 6), "basic "))
        return false;
    std::string credentials;
    if (!DecodeBase64(TrimBlanks(header.substr(6)), credentials))
        return false;
    std::size_t colon = credentials.find(':');
    if (colon == std::string::npos)
        return false;
    user = credentials.substr(0, colon);
    password = credentials.substr(colon + 1);
    return true;
}
