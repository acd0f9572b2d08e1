// PreparedExpression: the cache's entry for the text, held, and checked
// before each run as a lookup in the cache would check it.
#include "quince/PreparedExpression.h"

#include <utility>

#include "quince/Engine.h"
#include "quince/QuinceContext.h"
#include "quince/StraightInts.h"
#include "quince/Value.h"

PreparedExpression::PreparedExpression(QuinceContext* context, const NyxString& text) : Context(context) {
    if (Context == nullptr) return;
    Compiled = Context->GetEngine().FindOrCompileExpression(text);
    quince::RetainExpression(Compiled);
}

PreparedExpression::~PreparedExpression() {
    if (Compiled != nullptr) quince::ReleaseExpression(Compiled);
}

PreparedExpression::PreparedExpression(PreparedExpression&& other) noexcept
    : Context(other.Context), Compiled(std::exchange(other.Compiled, nullptr)) {}

Variable* PreparedExpression::EvaluateView() {
    if (Compiled == nullptr) return nullptr;
    quince::Engine& engine = Context->GetEngine();
    if (!engine.IsExpressionUsable(Compiled)) return nullptr;
    return engine.EvaluateExpressionView(Compiled);
}

bool PreparedExpression::TryEvaluateInt(int32_t& value) {
    if (Compiled == nullptr || !Compiled->StraightInts) return false;
    quince::Engine& engine = Context->GetEngine();
    if (!engine.IsExpressionUsable(Compiled)) return false;
    quince::Value result = quince::Value::MakeNone();
    if (!quince::RunStraightInts(engine, *Compiled->Code, result)) return false;
    value = static_cast<int32_t>(result.i);
    return true;
}
