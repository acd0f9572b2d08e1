// Stack: the value stack through which the page hands variables to the
// script engine (procedure arguments) and takes results back (expressions).
#pragma once

#include <vector>

class Variable;

class Stack {
public:
    Stack();
    virtual ~Stack();  // deletes every variable still on the stack

    // Takes ownership; callers that want a write-through push a Duplicate().
    void PushVariable(Variable* variable);
    // Hands the top variable over (release it with Variable::Delete); null if empty.
    Variable* PopVariable();
    unsigned GetCount() const;
    // The i-th variable counted from the bottom (0 = pushed first); null out of range.
    Variable* GetAt(unsigned index) const;

private:
    std::vector<Variable*> Items;  // owned, bottom first
};
