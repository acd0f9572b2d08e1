// Stack: variables handed between the page and the engine.
#include "quince/Stack.h"

#include "values/Variable.h"

Stack::Stack() = default;

Stack::~Stack() {
    for (unsigned i = 0; i < InlineCount; ++i) Variable::Delete(Inline[i]);
    for (Variable* variable : More) Variable::Delete(variable);
}

void Stack::PushVariable(Variable* variable) {
    if (variable == nullptr) return;
    if (More.empty() && InlineCount < kInline) Inline[InlineCount++] = variable;
    else More.push_back(variable);
}

Variable* Stack::PopVariable() {
    if (!More.empty()) {
        Variable* top = More.back();
        More.pop_back();
        return top;
    }
    if (InlineCount == 0) return nullptr;
    return Inline[--InlineCount];
}

unsigned Stack::GetCount() const { return InlineCount + static_cast<unsigned>(More.size()); }

Variable* Stack::GetAt(unsigned index) const {
    if (index < InlineCount) return Inline[index];
    index -= InlineCount;
    return index < More.size() ? More[index] : nullptr;
}
