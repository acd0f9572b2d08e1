// ExpressionCompiler: one Quince expression compiled against a context and
// evaluated onto a Stack. Quiet: failures write nothing; callers decide what
// to say. Compiled forms are cached in the context by text, so compiling the
// same text again costs a lookup, with the same outcome as a fresh compile.
#pragma once

#include "values/NyxString.h"

class QuinceContext;
class Variable;
class Stack;
namespace quince {
struct CachedExpression;
}

class ExpressionCompiler {
public:
    explicit ExpressionCompiler(QuinceContext* context);
    virtual ~ExpressionCompiler();

    // Non-zero on success. `name` is unused (callers pass "").
    int CompileExpression(const NyxString& text, const NyxString& name);
    // Pushes the value (a new Variable) onto the stack; non-zero on success.
    // On failure nothing is pushed.
    int EvaluateExpression(Stack* stack);
    // The value without a new Variable: one that the context keeps, valid
    // until the next evaluation, for callers that only read it. Null on
    // failure (as when EvaluateExpression pushes nothing).
    Variable* EvaluateExpressionView();
    // Forgets the compiled expression; the compiler can be used again.
    void ClearExpression();

private:
    QuinceContext* Context;
    quince::CachedExpression* Compiled = nullptr;  // a reference into the context's cache
};
