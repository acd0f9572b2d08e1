// Lexer: turns Quince source text into tokens, one at a time, on demand.
// Statements end at a line end or `;`; inside parentheses and brackets line
// ends are skipped, so a long call or expression may span lines.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quince {

#define QUINCE_KEYWORDS(X)                                                     \
    X(Proc, "proc") X(EndProc, "endproc") X(If, "if") X(ElseIf, "elseif")      \
    X(Else, "else") X(EndIf, "endif") X(While, "while") X(EndWhile, "endwhile") \
    X(For, "for") X(To, "to") X(Step, "step") X(Next, "next")                  \
    X(Break, "break") X(Continue, "continue") X(Return, "return")              \
    X(Print, "print") X(PrintLine, "println") X(Global, "global")              \
    X(Session, "session") X(Ref, "ref") X(True, "true") X(False, "false")      \
    X(TypeVar, "var") X(TypeInt, "int") X(TypeDouble, "double")                \
    X(TypeFloat, "float") X(TypeChar, "char") X(TypeBool, "bool")              \
    X(TypeString, "string")

enum class TokenKind : uint8_t {
    End,
    Separator,  // a line end or ';'
    Integer,
    Double,
    Float,
    String,
    Char,
    Name,
#define QUINCE_KEYWORD_KIND(kind, text) kind,
    QUINCE_KEYWORDS(QUINCE_KEYWORD_KIND)
#undef QUINCE_KEYWORD_KIND
    LeftParen, RightParen, LeftBracket, RightBracket, LeftBrace, RightBrace, Colon, Comma,
    Plus, Minus, Star, Slash, Percent, Bang, AndAnd, OrOr,
    Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
    Assign, PlusAssign, MinusAssign, StarAssign, SlashAssign, PercentAssign,
    Error,  // Text holds the message
};

// How a token reads in a message: "'endif'", "a line end", "the end of the script".
std::string DescribeToken(TokenKind kind, std::string_view text);

struct Token {
    TokenKind Kind = TokenKind::End;
    unsigned Line = 0;
    std::string_view Text;  // the token as written (for Error: the message)
    int32_t IntValue = 0;   // Integer, Char (its code)
    double DoubleValue = 0; // Double, Float
    std::string StringValue;  // String: the text with escapes resolved
    std::string Message;      // Error: what is wrong
};

class Lexer {
public:
    Lexer(std::string_view text, unsigned firstLine);

    Token NextToken();

    // The lexer's position, for a look ahead that is taken back.
    struct State {
        std::size_t Position;
        unsigned Line;
        unsigned GroupDepth;
    };
    State Save() const { return {Position, Line, GroupDepth}; }
    void Restore(const State& state) {
        Position = state.Position;
        Line = state.Line;
        GroupDepth = state.GroupDepth;
    }
    // Stops the token stream: every later token is End (after an error).
    void Stop() { Position = Text.size(); }

private:
    Token Make(TokenKind kind, std::size_t start);
    Token MakeError(std::string message);
    Token ReadNumber(std::size_t start);
    Token ReadString(std::size_t start);
    Token ReadChar(std::size_t start);
    Token ReadName(std::size_t start);
    bool ReadEscape(std::string& out, std::string& message);

    std::string_view Text;
    std::size_t Position = 0;
    unsigned Line;
    unsigned GroupDepth = 0;  // open ( and [; line ends inside do not separate
};

}  // namespace quince
