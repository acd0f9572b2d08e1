// PreparedExpression: one expression text compiled once and held, for a
// caller that evaluates it over and over, as a loop's body does. Every
// evaluation gives what compiling the same text afresh and evaluating it
// would give at that moment: nothing while the text does not compile, or
// names a variable or procedure that does not exist.
#pragma once

#include <cstdint>

#include "values/NyxString.h"

class QuinceContext;
class Variable;
namespace quince {
struct CachedExpression;
}

class PreparedExpression {
public:
    PreparedExpression(QuinceContext* context, const NyxString& text);
    ~PreparedExpression();
    PreparedExpression(PreparedExpression&& other) noexcept;
    PreparedExpression& operator=(PreparedExpression&&) = delete;
    PreparedExpression(const PreparedExpression&) = delete;
    PreparedExpression& operator=(const PreparedExpression&) = delete;

    // As ExpressionCompiler::EvaluateExpressionView after a compile of the
    // text: a value the context keeps until the next evaluation, or null.
    Variable* EvaluateView();
    // The value of straight integer code (a comparison's as 0 or 1) while
    // its variables hold integers, without a Variable. False when the value
    // must come from EvaluateView; nothing has run then.
    bool TryEvaluateInt(int32_t& value);

private:
    QuinceContext* Context;
    quince::CachedExpression* Compiled = nullptr;  // a reference of our own, so the entry outlives a clear of the cache
};
