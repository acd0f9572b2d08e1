// ExpressionCompiler: one expression, compiled through the context's cache.
#include "quince/ExpressionCompiler.h"

#include "quince/Engine.h"
#include "quince/QuinceContext.h"

ExpressionCompiler::ExpressionCompiler(QuinceContext* context) : Context(context) {}

ExpressionCompiler::~ExpressionCompiler() { ClearExpression(); }

int ExpressionCompiler::CompileExpression(const NyxString& text, const NyxString&) {
    ClearExpression();
    if (Context == nullptr) return 0;
    Compiled = Context->GetEngine().CompileExpression(text);
    return Compiled != nullptr ? 1 : 0;
}

int ExpressionCompiler::EvaluateExpression(Stack* stack) {
    if (Context == nullptr || Compiled == nullptr) return 0;
    return Context->GetEngine().EvaluateExpression(Compiled, stack) ? 1 : 0;
}

Variable* ExpressionCompiler::EvaluateExpressionView() {
    if (Context == nullptr || Compiled == nullptr) return nullptr;
    return Context->GetEngine().EvaluateExpressionView(Compiled);
}

void ExpressionCompiler::ClearExpression() {
    if (Compiled != nullptr) quince::ReleaseExpression(Compiled);
    Compiled = nullptr;
}
