// Engine: the cache of compiled expressions. A cached expression behaves as
// a fresh compile would: it is valid only while every variable and procedure
// it names exists, checked again whenever the context's lists have changed.
#include "quince/Engine.h"

#include <algorithm>

#include "quince/Parser.h"
#include "quince/Stack.h"
#include "quince/StraightInts.h"
#include "quince/VariableBridge.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarString.h"
#include "values/Variable.h"

namespace quince {

// One reusable Variable of each simple type: reading the value of a condition
// or a tag parameter then needs no allocation. Arrays and foreign values are
// rare there and get a Variable of their own, kept until the next view.
struct ExpressionViews {
    VarBoolean Bool;
    VarChar Char;
    VarInteger Int;
    VarFloat Float;
    VarDouble Double;
    VarString String;
    std::unique_ptr<Variable, void (*)(Variable*)> Other{nullptr, [](Variable* variable) { Variable::Delete(variable); }};
};

CachedExpression* Engine::FindExpression(const NyxString& text) {
    const std::string_view view = text.View();
    if (Recent == nullptr) Recent.reset(new RecentLookup[kRecentLookups]);
    const auto address = reinterpret_cast<uintptr_t>(view.data());
    RecentLookup& recent = Recent[(address ^ (address >> 9)) % kRecentLookups];
    if (recent.Address == view.data() && recent.Entry->Text == view) return recent.Entry;
    auto found = Expressions.find(view);
    if (found == Expressions.end()) return nullptr;
    recent.Address = view.data();
    recent.Entry = found->second;
    return found->second;
}

CachedExpression* Engine::FindOrCompileExpression(const NyxString& text) {
    CachedExpression* entry = FindExpression(text);
    if (entry != nullptr) return entry;
    if (Expressions.size() >= kMaxCachedExpressions) ClearExpressionCache();
    entry = new CachedExpression;
    CompiledExpression compiled;
    Parser parser(*this, text.View(), NyxString("(expression)"), 1, GetLimits().MaxParseDepth);
    if (parser.CompileExpression(compiled)) {
        entry->Code = compiled.Code;
        entry->RequiredNames = std::move(compiled.RequiredNames);
        entry->RequiredCallees = std::move(compiled.RequiredCallees);
        entry->StraightInts = IsStraightIntCode(*entry->Code);
    }
    entry->Text = Expressions.emplace(text.ToStd(), entry).first->first;
    return entry;
}

bool Engine::IsExpressionUsable(CachedExpression* entry) {
    if (entry->Code == nullptr) return false;
    const uint64_t generation = VariableGeneration + CallGeneration();
    if (entry->CheckedGeneration != generation) {
        bool valid = true;
        for (const NyxString& name : entry->RequiredNames) {
            if (FindContextVariable(name.View()) == nullptr) {
                valid = false;
                break;
            }
        }
        for (std::size_t i = 0; valid && i < entry->RequiredCallees.size(); ++i) {
            const std::string_view callee = entry->RequiredCallees[i].View();
            valid = FindProcedure(callee) != nullptr || FindNative(callee) != nullptr;
        }
        entry->Valid = valid;
        entry->CheckedGeneration = generation;
    }
    return entry->Valid;
}

CachedExpression* Engine::CompileExpression(const NyxString& text) {
    CachedExpression* entry = FindOrCompileExpression(text);
    if (!IsExpressionUsable(entry)) return nullptr;
    RetainExpression(entry);
    return entry;
}

bool Engine::RunExpression(CachedExpression* expression, Value& result) {
    if (expression == nullptr || expression->Code == nullptr) return false;
    GetLimits();  // the configured bounds in force before the machine runs
    result = Value::MakeNone();
    if (expression->StraightInts && RunStraightInts(*this, *expression->Code, result)) return true;
    return Machine.Run(expression->Code, nullptr, 0, result, ExpressionError);
}

bool Engine::EvaluateExpression(CachedExpression* expression, Stack* stack) {
    Value result = Value::MakeNone();
    if (stack == nullptr || !RunExpression(expression, result)) return false;
    static const NyxString kNoName;
    Variable* variable = VariableFromValue(result, kNoName);
    Release(result);
    if (variable == nullptr) return false;
    stack->PushVariable(variable);
    return true;
}

void DeleteExpressionViews(ExpressionViews* views) { delete views; }

Variable* Engine::EvaluateExpressionView(CachedExpression* expression) {
    Value result = Value::MakeNone();
    if (!RunExpression(expression, result)) return nullptr;
    if (Views == nullptr) Views.reset(new ExpressionViews);
    Views->Other.reset();
    Variable* view = nullptr;
    switch (result.kind) {
        case Kind::Bool:
            view = &Views->Bool;
            view->SetBoolValue(result.i != 0 ? 1 : 0);
            break;
        case Kind::Char:
            view = &Views->Char;
            view->SetCharValue(result.c);
            break;
        case Kind::Int:
            view = &Views->Int;
            view->SetIntegerValue(result.i);
            break;
        case Kind::Float:
            view = &Views->Float;
            view->SetFloatValue(result.f);
            break;
        case Kind::Double:
            view = &Views->Double;
            view->SetDoubleValue(result.d);
            break;
        case Kind::String:
            view = &Views->String;
            view->SetStringValue(result.s->Data, result.s->Length);
            break;
        default: {
            static const NyxString kNoName;
            Views->Other.reset(VariableFromValue(result, kNoName));
            view = Views->Other.get();
            break;
        }
    }
    Release(result);
    return view;
}

void Engine::ClearExpressionCache() {
    if (Recent != nullptr) std::fill_n(Recent.get(), kRecentLookups, RecentLookup{});
    TextMap<CachedExpression*> entries;
    entries.swap(Expressions);
    for (auto& entry : entries) ReleaseExpression(entry.second);
}

}  // namespace quince
