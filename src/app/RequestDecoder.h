// RequestDecoder: turns the parts of an HTTP request that carry values (query
// string, url-encoded and multipart form bodies, cookies, Basic credentials)
// into plain name/value pairs. Pure functions on bytes; no I/O.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Every field becomes a script variable, so a request may carry only so many.
constexpr std::size_t kMaxFormFields = 1000;
// A part's header block in a multipart body; real browsers send a few hundred bytes.
constexpr std::size_t kMaxPartHeaderBytes = 8192;

// `text` without the blanks and tabs at either end (HTTP's optional white space).
std::string_view TrimBlanks(std::string_view text);

struct FormField {
    std::string Name;
    std::string Value;        // the bytes of the field; of a file part, its contents
    bool IsFile = false;      // a multipart part with a filename parameter
    std::string FileName;     // the client's name for the file, without folders
    std::string ContentType;  // of a file part, as the client sent it
};

enum class DecodeStatus { Ok, TooManyFields, Malformed };

// The value of a hexadecimal digit, -1 for any other character.
int HexDigitValue(char c);

// Decodes one component of a url-encoded text: "+" is a blank, %XX a byte.
// A "%" not followed by two hex digits stays as it is (links carry raw "%").
std::string DecodeFormComponent(std::string_view text);

// Appends the pairs of an application/x-www-form-urlencoded text (a query
// string or a POST body) to `fields`, in order. "a" alone gives an empty
// value; empty pieces and pieces with an empty name are skipped.
DecodeStatus DecodeUrlEncoded(std::string_view text, std::vector<FormField>& fields);

// The boundary parameter of a multipart/form-data content type; empty when
// the type is another or has none.
std::string GetMultipartBoundary(std::string_view contentType);

// True when the media type of a Content-Type value is `type` (case ignored).
bool IsMediaType(std::string_view contentType, std::string_view type);

// Appends the parts of a multipart/form-data body to `fields`, in order.
DecodeStatus DecodeMultipart(std::string_view body, std::string_view boundary, std::vector<FormField>& fields);

// Finds a cookie by name in a Cookie header value ("a=1; b=2").
bool FindCookie(std::string_view cookieHeader, std::string_view name, std::string& value);

// Reads a decimal unsigned 32-bit number that fills the whole text.
bool ParseUnsigned32(std::string_view text, unsigned& value);

// Decodes "Basic base64(user:password)"; false for another scheme or bad data.
bool DecodeBasicAuthorization(std::string_view header, std::string& user, std::string& password);
