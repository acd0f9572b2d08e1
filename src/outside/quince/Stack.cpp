// Stack: variables handed between the page and the engine.
#include "outside/quince/Stack.h"

#include "values/Variable.h"

Stack::Stack() = default;

Stack::~Stack() {
    for (Variable* variable : Items) Variable::Delete(variable);
}

void Stack::PushVariable(Variable* variable) {
    if (variable != nullptr) Items.push_back(variable);
}

Variable* Stack::PopVariable() {
    if (Items.empty()) return nullptr;
    Variable* top = Items.back();
    Items.pop_back();
    return top;
}

unsigned Stack::GetCount() const { return static_cast<unsigned>(Items.size()); }

Variable* Stack::GetAt(unsigned index) const { return index < Items.size() ? Items[index] : nullptr; }
