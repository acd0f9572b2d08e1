// Procedure: the compiled form; and the names of the opcodes, for listings.
#include "quince/Procedure.h"

namespace quince {

Procedure::~Procedure() {
    for (Value& constant : Constants) Release(constant);
}

const char* OpcodeName(Opcode op) {
    static const char* const kNames[] = {
#define QUINCE_OPCODE_NAME(name, effect, operands) #name,
        QUINCE_OPCODES(QUINCE_OPCODE_NAME)
#undef QUINCE_OPCODE_NAME
    };
    const auto index = static_cast<unsigned>(op);
    return index < static_cast<unsigned>(Opcode::Count) ? kNames[index] : "?";
}

}  // namespace quince
