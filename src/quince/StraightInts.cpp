// StraightInts: integer expressions without the machine, with the machine's
// own integer fast paths. Every case that is not plainly an integer operation
// that cannot fail goes back to the machine.
#include "quince/StraightInts.h"

#include <cstddef>
#include <cstdint>

#include "quince/Engine.h"
#include "quince/Procedure.h"
#include "quince/VmOperations.h"
#include "values/VarInteger.h"
#include "values/Variable.h"

namespace quince {

namespace {

// Deeper code is rare in a page's expressions and runs on the machine.
constexpr unsigned kMaxStraightStack = 8;

bool IsComparison(Opcode op) {
    switch (op) {
        case Opcode::Equal: case Opcode::NotEqual: case Opcode::Less: case Opcode::LessEqual:
        case Opcode::Greater: case Opcode::GreaterEqual:
            return true;
        default:
            return false;
    }
}

bool IsBinaryArithmetic(Opcode op) {
    switch (op) {
        case Opcode::Add: case Opcode::Subtract: case Opcode::Multiply: case Opcode::Divide: case Opcode::Modulo:
            return true;
        default:
            return false;
    }
}

// Whether the first `count` instructions of `code` are integer operations
// that leave one value. The machine's forms for operands known to be ints
// are not among them: a page's expressions name variables, whose type only
// shows when they run.
bool IsStraightPrefix(const Procedure& code, std::size_t count) {
    unsigned depth = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Instruction& in = code.Code[i];
        const Opcode op = in.Op;
        if (op == Opcode::PushInt || op == Opcode::LoadName) {
            if (++depth > kMaxStraightStack) return false;
        } else if (IsBinaryArithmetic(op) || IsComparison(op)) {
            if (depth < 2) return false;
            --depth;
        } else {
            return false;
        }
    }
    return depth == 1;
}

// Runs the first `count` instructions (a straight prefix) into `value`;
// `truth` tells a comparison's bool from an int. False: the machine must run.
bool RunPrefix(Engine& engine, Procedure& code, std::size_t count, int32_t& value, bool& truth) {
    int32_t stack[kMaxStraightStack];
    bool truths[kMaxStraightStack];
    unsigned depth = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const Instruction& in = code.Code[i];
        switch (in.Op) {
            case Opcode::PushInt:
                stack[depth] = in.A;
                truths[depth++] = false;
                break;
            case Opcode::LoadName: {
                Variable* variable = engine.SiteVariable(code.Names[static_cast<unsigned>(in.A)]);
                if (const VarInteger* plain = VarInteger::Plain(variable)) {
                    stack[depth] = static_cast<int32_t>(plain->GetIntegerValue());
                } else if (variable != nullptr && variable->GetTypeId() == Variable::TypeInteger) {
                    stack[depth] = static_cast<int32_t>(variable->GetIntegerValue());  // a duplicate
                } else {
                    return false;
                }
                truths[depth++] = false;
                break;
            }
            default: {
                // Binary: checked to be arithmetic or a comparison beforehand.
                if (truths[depth - 2] || truths[depth - 1]) return false;
                const int32_t a = stack[depth - 2];
                const int32_t b = stack[depth - 1];
                --depth;
                if (IsComparison(in.Op)) {
                    stack[depth - 1] = CompareInts(in.Op, a, b) ? 1 : 0;
                    truths[depth - 1] = true;
                } else if (!CombineInts(in.Op, a, b, stack[depth - 1])) {
                    return false;
                }
                break;
            }
        }
    }
    value = stack[0];
    truth = truths[0];
    return true;
}

}  // namespace

bool IsStraightIntCode(const Procedure& code) {
    const std::size_t size = code.Code.size();
    return size >= 2 && code.Code[size - 1].Op == Opcode::ReturnValue && IsStraightPrefix(code, size - 1);
}

bool RunStraightInts(Engine& engine, Procedure& code, Value& result) {
    int32_t value = 0;
    bool truth = false;
    if (!RunPrefix(engine, code, code.Code.size() - 1, value, truth)) return false;
    result = truth ? Value::MakeBool(value != 0) : Value::MakeInt(value);
    return true;
}

bool IsStraightIntAssignment(const Procedure& code) {
    const std::size_t size = code.Code.size();
    if (size < 3 || !code.Parameters.empty() || code.SlotCount != 0 || code.Code[size - 1].Op != Opcode::Return) {
        return false;
    }
    const Opcode store = code.Code[size - 2].Op;
    return (store == Opcode::StoreName || store == Opcode::AppendName) && IsStraightPrefix(code, size - 2);
}

bool RunStraightIntAssignment(Engine& engine, Procedure& code) {
    const std::size_t size = code.Code.size();
    int32_t value = 0;
    bool truth = false;
    if (!RunPrefix(engine, code, size - 2, value, truth) || truth) return false;
    const Instruction& store = code.Code[size - 2];
    // A plain integer variable: what StoreName and AppendName do to it then.
    VarInteger* variable = VarInteger::Plain(engine.SiteVariable(code.Names[static_cast<unsigned>(store.A)]));
    if (variable == nullptr) return false;
    if (store.Op == Opcode::AppendName) value = WrapAdd(static_cast<int32_t>(variable->GetIntegerValue()), value);
    variable->SetIntegerValue(value);
    return true;
}

}  // namespace quince
