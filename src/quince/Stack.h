// Stack: the value stack through which the page hands variables to the
// script engine (procedure arguments) and takes results back (expressions).
#pragma once

#include <vector>

class Variable;

class Stack {
public:
    Stack();
    virtual ~Stack();  // deletes every variable still on the stack
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    // Takes ownership; callers that want a write-through push a Duplicate().
    void PushVariable(Variable* variable);
    // Hands the top variable over (release it with Variable::Delete); null if empty.
    Variable* PopVariable();
    unsigned GetCount() const;
    // The i-th variable counted from the bottom (0 = pushed first); null out of range.
    Variable* GetAt(unsigned index) const;

private:
    // The page pushes at most two variables; they stay here, without a heap block.
    static constexpr unsigned kInline = 4;

    Variable* Inline[kInline] = {};
    unsigned InlineCount = 0;
    std::vector<Variable*> More;  // owned, above the inline ones
};
