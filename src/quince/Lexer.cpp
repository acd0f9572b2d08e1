// Lexer: Quince source text to tokens.
#include "quince/Lexer.h"

#include <cmath>
#include <cstdlib>

namespace quince {

namespace {

struct Keyword {
    std::string_view Text;
    TokenKind Kind;
};

constexpr Keyword kKeywords[] = {
#define QUINCE_KEYWORD_ENTRY(kind, text) {text, TokenKind::kind},
    QUINCE_KEYWORDS(QUINCE_KEYWORD_ENTRY)
#undef QUINCE_KEYWORD_ENTRY
};

bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsNamePart(char c) { return IsNameStart(c) || IsDigit(c); }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

}  // namespace

std::string DescribeToken(TokenKind kind, std::string_view text) {
    switch (kind) {
        case TokenKind::End: return "the end of the script";
        case TokenKind::Separator: return text == ";" ? "';'" : "a line end";
        case TokenKind::String: return "a string";
        case TokenKind::Integer:
        case TokenKind::Double:
        case TokenKind::Float: return "the number " + std::string(text);
        default: return "'" + std::string(text) + "'";
    }
}

Lexer::Lexer(std::string_view text, unsigned firstLine) : Text(text), Line(firstLine) {}

Token Lexer::Make(TokenKind kind, std::size_t start) {
    Token token;
    token.Kind = kind;
    token.Line = Line;
    token.Text = Text.substr(start, Position - start);
    return token;
}

Token Lexer::MakeError(std::string message) {
    Token token;
    token.Kind = TokenKind::Error;
    token.Line = Line;
    token.Message = std::move(message);
    return token;
}

Token Lexer::NextToken() {
    // Blanks, comments, and line ends inside a group.
    while (Position < Text.size()) {
        const char c = Text[Position];
        if (c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') {
            ++Position;
        } else if (c == '\n' && GroupDepth > 0) {
            ++Position;
            ++Line;
        } else if (c == '/' && Position + 1 < Text.size() && Text[Position + 1] == '/') {
            while (Position < Text.size() && Text[Position] != '\n') ++Position;
        } else {
            break;
        }
    }
    const std::size_t start = Position;
    if (Position >= Text.size()) return Make(TokenKind::End, start);

    const char c = Text[Position++];
    auto next = [&](char expected) {
        if (Position < Text.size() && Text[Position] == expected) {
            ++Position;
            return true;
        }
        return false;
    };
    switch (c) {
        case '\n': {
            Token token = Make(TokenKind::Separator, start);
            ++Line;
            return token;
        }
        case ';': return Make(TokenKind::Separator, start);
        case '(': ++GroupDepth; return Make(TokenKind::LeftParen, start);
        case '[': ++GroupDepth; return Make(TokenKind::LeftBracket, start);
        case ')': if (GroupDepth > 0) --GroupDepth; return Make(TokenKind::RightParen, start);
        case ']': if (GroupDepth > 0) --GroupDepth; return Make(TokenKind::RightBracket, start);
        case '{': ++GroupDepth; return Make(TokenKind::LeftBrace, start);
        case '}': if (GroupDepth > 0) --GroupDepth; return Make(TokenKind::RightBrace, start);
        case ':': return Make(TokenKind::Colon, start);
        case ',': return Make(TokenKind::Comma, start);
        case '+': return Make(next('=') ? TokenKind::PlusAssign : TokenKind::Plus, start);
        case '-': return Make(next('=') ? TokenKind::MinusAssign : TokenKind::Minus, start);
        case '*': return Make(next('=') ? TokenKind::StarAssign : TokenKind::Star, start);
        case '/': return Make(next('=') ? TokenKind::SlashAssign : TokenKind::Slash, start);
        case '%': return Make(next('=') ? TokenKind::PercentAssign : TokenKind::Percent, start);
        case '!': return Make(next('=') ? TokenKind::NotEqual : TokenKind::Bang, start);
        case '=': return Make(next('=') ? TokenKind::Equal : TokenKind::Assign, start);
        case '<': return Make(next('=') ? TokenKind::LessEqual : TokenKind::Less, start);
        case '>': return Make(next('=') ? TokenKind::GreaterEqual : TokenKind::Greater, start);
        case '&':
            if (next('&')) return Make(TokenKind::AndAnd, start);
            return MakeError("'&' is no operator; did you mean '&&'?");
        case '|':
            if (next('|')) return Make(TokenKind::OrOr, start);
            return MakeError("'|' is no operator; did you mean '||'?");
        case '"': return ReadString(start);
        case '\'': return ReadChar(start);
        default: break;
    }
    if (IsDigit(c)) return ReadNumber(start);
    if (IsNameStart(c)) return ReadName(start);
    const unsigned char byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F) return MakeError(std::string("unexpected character '") + c + "'");
    char code[8];
    std::snprintf(code, sizeof code, "0x%02X", byte);
    return MakeError(std::string("unexpected byte ") + code);
}

// number := digits [ "." digits ] [ ("e"|"E") ["+"|"-"] digits ] [ "f" ] | "0x" hexdigits
Token Lexer::ReadNumber(std::size_t start) {
    if (Text[start] == '0' && Position < Text.size() && (Text[Position] == 'x' || Text[Position] == 'X')) {
        ++Position;
        uint64_t value = 0;
        std::size_t digits = 0;
        while (Position < Text.size() && IsHexDigit(Text[Position])) {
            const char d = Text[Position++];
            value = value * 16 + (IsDigit(d) ? d - '0' : (d | 0x20) - 'a' + 10);
            if (value > 0xFFFFFFFFu) return MakeError("hex number too large for an int");
            ++digits;
        }
        if (digits == 0) return MakeError("'0x' without hex digits");
        Token token = Make(TokenKind::Integer, start);
        token.IntValue = static_cast<int32_t>(static_cast<uint32_t>(value));
        return token;
    }
    while (Position < Text.size() && IsDigit(Text[Position])) ++Position;
    bool isFloating = false;
    if (Position + 1 < Text.size() && Text[Position] == '.' && IsDigit(Text[Position + 1])) {
        isFloating = true;
        ++Position;
        while (Position < Text.size() && IsDigit(Text[Position])) ++Position;
    }
    if (Position < Text.size() && (Text[Position] == 'e' || Text[Position] == 'E')) {
        std::size_t look = Position + 1;
        if (look < Text.size() && (Text[look] == '+' || Text[look] == '-')) ++look;
        if (look < Text.size() && IsDigit(Text[look])) {
            isFloating = true;
            Position = look;
            while (Position < Text.size() && IsDigit(Text[Position])) ++Position;
        }
    }
    const std::string digits(Text.substr(start, Position - start));
    if (isFloating) {
        const bool isFloat = Position < Text.size() && Text[Position] == 'f';
        if (isFloat) ++Position;
        Token token = Make(isFloat ? TokenKind::Float : TokenKind::Double, start);
        token.DoubleValue = std::strtod(digits.c_str(), nullptr);
        if (std::isinf(token.DoubleValue)) return MakeError("number too large: " + digits);
        if (Position < Text.size() && IsNamePart(Text[Position])) return MakeError("malformed number");
        return token;
    }
    if (Position < Text.size() && IsNamePart(Text[Position])) return MakeError("malformed number");
    if (digits.size() > 10 || std::strtoull(digits.c_str(), nullptr, 10) > 0xFFFFFFFFull)
        return MakeError("number too large for an int: " + digits);
    Token token = Make(TokenKind::Integer, start);
    // Up to 4294967295 is taken as a 32-bit pattern, so that -2147483648 can be written.
    token.IntValue = static_cast<int32_t>(static_cast<uint32_t>(std::strtoull(digits.c_str(), nullptr, 10)));
    return token;
}

// escape := "\" ( "n" | "t" | "r" | "0" | '"' | "'" | "\" | "x" hex hex | "u" hex hex hex hex )
// Appends the bytes an escape stands for: \xHH one byte, \uHHHH the
// character's UTF-8 form.
bool Lexer::ReadEscape(std::string& out, std::string& message) {
    if (Position >= Text.size()) {
        message = "unfinished escape at the end of the script";
        return false;
    }
    const char c = Text[Position++];
    switch (c) {
        case 'n': out.push_back('\n'); return true;
        case 't': out.push_back('\t'); return true;
        case 'r': out.push_back('\r'); return true;
        case '0': out.push_back('\0'); return true;
        case '"': out.push_back('"'); return true;
        case '\'': out.push_back('\''); return true;
        case '\\': out.push_back('\\'); return true;
        case 'x':
        case 'u': {
            const std::size_t digits = c == 'x' ? 2 : 4;
            uint32_t code = 0;
            for (std::size_t i = 0; i < digits; ++i) {
                const char d = Position < Text.size() ? Text[Position] : '\0';
                const int value = d >= '0' && d <= '9' ? d - '0' : (d | 0x20) >= 'a' && (d | 0x20) <= 'f' ? (d | 0x20) - 'a' + 10 : -1;
                if (value < 0) {
                    message = std::string("'\\") + c + "' needs " + (c == 'x' ? "two" : "four") + " hex digits";
                    return false;
                }
                code = code * 16 + static_cast<uint32_t>(value);
                ++Position;
            }
            if (c == 'x') {
                out.push_back(static_cast<char>(code));
            } else if (code >= 0xD800 && code <= 0xDFFF) {
                message = "'\\u' of a surrogate half is no character";
                return false;
            } else if (code < 0x80) {
                out.push_back(static_cast<char>(code));
            } else if (code < 0x800) {
                out.push_back(static_cast<char>(0xC0 | (code >> 6)));
                out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
            } else {
                out.push_back(static_cast<char>(0xE0 | (code >> 12)));
                out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
                out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
            }
            return true;
        }
        default: break;
    }
    message = std::string("unknown escape '\\") + c + "'";
    return false;
}

// string := '"' { character | escape } '"'
Token Lexer::ReadString(std::size_t start) {
    std::string value;
    const unsigned firstLine = Line;
    while (true) {
        if (Position >= Text.size()) {
            Line = firstLine;
            return MakeError("string not closed before the end of the script");
        }
        const char c = Text[Position++];
        if (c == '"') break;
        if (c == '\n') {
            --Position;
            return MakeError("string not closed at the end of the line");
        }
        if (c == '\\') {
            std::string message;
            if (!ReadEscape(value, message)) return MakeError(message);
        } else {
            value.push_back(c);
        }
    }
    Token token = Make(TokenKind::String, start);
    token.StringValue = std::move(value);
    return token;
}

// char := "'" ( character | escape ) "'"
Token Lexer::ReadChar(std::size_t start) {
    if (Position >= Text.size() || Text[Position] == '\n') return MakeError("character not closed");
    char value = Text[Position++];
    if (value == '\\') {
        std::string message;
        std::string bytes;
        if (!ReadEscape(bytes, message)) return MakeError(message);
        if (bytes.size() != 1) return MakeError("character not closed: a char holds one byte");
        value = bytes[0];
    } else if (value == '\'') {
        return MakeError("empty character ''");
    }
    if (Position >= Text.size() || Text[Position] != '\'') return MakeError("character not closed: a char holds one byte");
    ++Position;
    Token token = Make(TokenKind::Char, start);
    token.IntValue = static_cast<unsigned char>(value);
    return token;
}

// name := (letter | "_") { letter | digit | "_" }; keywords are names reserved
Token Lexer::ReadName(std::size_t start) {
    while (Position < Text.size() && IsNamePart(Text[Position])) ++Position;
    const std::string_view word = Text.substr(start, Position - start);
    for (const Keyword& keyword : kKeywords) {
        if (keyword.Text == word) return Make(keyword.Kind, start);
    }
    return Make(TokenKind::Name, start);
}

}  // namespace quince
