// Procedure: the compiled form of one Quince procedure (or expression):
// instructions with their source lines, constants, and the sites through
// which instructions reach variables and procedures by name.
#pragma once

#include <cstdint>
#include <vector>

#include "quince/Opcodes.h"
#include "quince/Value.h"
#include "values/NyxString.h"

class Variable;

namespace quince {

struct NativeFunction;
struct Procedure;

// A variable of the context (global, session or page) named in the code. The
// variable found is kept until the context's variable generation changes, so
// that a repeated run costs no lookup by name.
struct NameSite {
    NyxString Name;
    Variable* Cached = nullptr;
    uint64_t Generation = 0;  // the context's variable generation at the lookup; 0: never looked up
};

// A procedure or registered native function called by name; resolved on the
// first call and again whenever the context's procedure generation changes.
struct CallSite {
    NyxString Name;
    Procedure* CachedProcedure = nullptr;
    const NativeFunction* CachedNative = nullptr;
    uint64_t Generation = 0;
};

struct Parameter {
    NyxString Name;
    DeclaredType Type;
    bool IsRef = false;
};

struct Procedure {
    NyxString Name;
    NyxString File;
    unsigned Line = 0;  // of the `proc` line
    std::vector<Parameter> Parameters;

    std::vector<Instruction> Code;
    std::vector<unsigned> Lines;     // source line of each instruction
    std::vector<Value> Constants;    // owned
    std::vector<NameSite> Names;
    std::vector<CallSite> Calls;
    unsigned SlotCount = 0;          // parameters, locals and hidden loop slots
    unsigned MaxStack = 0;           // deepest operand stack above the slots
    // Whether the body is one integer assignment (StraightInts.h); worked out on the first run.
    enum class Straightness : uint8_t { Unknown, No, Assignment } Straight = Straightness::Unknown;

    uint32_t RefCount = 1;           // the procedure list's; each running frame adds one

    ~Procedure();
};

inline void RetainProcedure(Procedure* procedure) { ++procedure->RefCount; }
inline void ReleaseProcedure(Procedure* procedure) {
    if (--procedure->RefCount == 0) delete procedure;
}

}  // namespace quince
