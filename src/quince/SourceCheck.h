// SourceCheck: compiles Quince text the way a page would, without running
// it, and tells what it found: the first error and its line, and the context
// variables the text names. For `vexl check` and editors.
#pragma once

#include <string_view>
#include <vector>

#include "values/NyxString.h"

class QuinceContext;

struct QuinceSourceReport {
    bool Compiled = false;
    NyxString Error;        // the compiler's message when not compiled
    unsigned ErrorLine = 0; // counted from the text's first line
    // An expression: the variables it reads. A script: every global, session
    // or page variable it names (read, assigned or declared).
    std::vector<NyxString> Names;
    std::vector<NyxString> SessionNames;  // a script's `session` and `global` declarations
};

// A run of statements or procedures, as a SCRIPT body, an initialiser or an
// iterator is compiled; `firstLine` is the line of its first character.
// Procedures it defines join the context (so that later calls see their
// parameters), as they would on the page; nothing runs.
QuinceSourceReport CheckQuinceScript(QuinceContext& context, std::string_view text, const NyxString& file,
                                     unsigned firstLine);

// One expression, as a condition or an `(expression)` parameter is compiled.
QuinceSourceReport CheckQuinceExpression(QuinceContext& context, std::string_view text);
