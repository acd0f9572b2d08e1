// Tokeniser: words separated by blanks and tabs.
#include "quince/Tokeniser.h"

Tokeniser::Tokeniser(const NyxString& text) : Text(text) {}

NyxString Tokeniser::GetNextToken(int, int) {
    const std::string_view text = Text.View();
    while (Position < text.size() && (text[Position] == ' ' || text[Position] == '\t')) ++Position;
    const std::size_t start = Position;
    while (Position < text.size() && text[Position] != ' ' && text[Position] != '\t') ++Position;
    return NyxString(text.substr(start, Position - start));
}
