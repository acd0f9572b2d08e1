// Tokeniser: cuts a text into words separated by blanks and tabs. Nothing
// else separates, so a name such as `a.b` or `x,y` stays one word.
#pragma once

#include "values/NyxString.h"

class Tokeniser {
public:
    explicit Tokeniser(const NyxString& text);
    virtual ~Tokeniser() = default;

    // The next word; the empty string at the end. The two arguments are kept
    // for callers' sake and do not change the splitting.
    NyxString GetNextToken(int skipBlanks, int stopAtBlank);

private:
    NyxString Text;
    unsigned Position = 0;  // first byte not yet handed out
};
