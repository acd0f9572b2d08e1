// VexlBase conditions: the truth of a Quince expression, by the type of the
// value it leaves.
#include "quince/ExpressionCompiler.h"
#include "quince/PreparedExpression.h"
#include "page/VexlPage.h"
#include "tags/VexlBase.h"
#include "values/Variable.h"

namespace {

// The truth of an expression's value by its type; none is false.
int ConditionTruth(Variable* value) {
    if (value == nullptr) return 0;
    switch (value->GetTypeId()) {
    case Variable::TypeString:
        return (value->GetLength() != 0 || value->GetIntegerValue() != 0) ? 1 : 0;
    case Variable::TypeFloat:
        return value->GetFloatValue() != 0.0f ? 1 : 0;
    default:
        return value->GetIntegerValue() != 0 ? 1 : 0;
    }
}

}  // namespace

int VexlBase::EvaluateCondition(const NyxString& condition) {
    ExpressionCompiler compiler(Page->Context);
    if (compiler.CompileExpression(condition, NyxString()) == 0) return 0;
    // The value as EvaluateExpression would push it, read in place: a
    // condition in a loop costs no Variable per pass.
    return ConditionTruth(compiler.EvaluateExpressionView());
}

int VexlBase::EvaluateCondition(PreparedExpression& condition) {
    int32_t number = 0;
    if (condition.TryEvaluateInt(number)) return number != 0 ? 1 : 0;
    return ConditionTruth(condition.EvaluateView());
}
