// Opcodes: the instructions of the Quince VM, in one list with their stack
// effect ("before -- after", top of the stack on the right) and operands.
// An instruction has a 32-bit operand A and a 16-bit operand B.
#pragma once

#include <cstdint>

namespace quince {

// X(name, stack effect, operands)
#define QUINCE_OPCODES(X)                                                                                    \
    /* Values */                                                                                             \
    X(Constant, "-- v", "A: constant number")                                                                \
    X(PushInt, "-- int", "A: the value")                                                                     \
    X(PushBool, "-- bool", "A: 0 or 1")                                                                      \
    X(Pop, "v --", "")                                                                                       \
    X(MakeArray, "v1 .. vN -- array", "A: N; B: element type")                                               \
    X(MakeMap, "k1 v1 .. kN vN -- map", "A: N")                                                              \
    /* Locals and parameters (slots of the frame) */                                                         \
    X(LoadLocal, "-- v", "A: slot")                                                                          \
    X(LoadLocalScalar, "-- v", "A: slot of a declared number, bool or char (no reference count)")           \
    X(LoadLocalPair, "-- v w", "A: slot of v; B: slot of w; both declared numbers, bools or chars")          \
    X(StoreLocal, "v --", "A: slot; B: declared type, converted unless Any")                                 \
    X(StoreLocalScalar, "v --", "A: slot, declared and set before; v is known to be of its scalar type")     \
    X(LoadArg, "-- v", "A: slot; B: declared type; follows a reference")                                     \
    X(StoreArg, "v --", "A: slot; B: declared type; writes through a reference")                             \
    X(TakeLocal, "-- v", "A: slot; the value moves out of the slot (for functions that change an argument)") \
    X(TakeArg, "-- v", "A: slot; B: declared type; as TakeLocal, through a reference")                       \
    X(RefLocal, "-- ref", "A: slot; B: declared type; a reference for a procedure argument")                 \
    X(RefArg, "-- ref", "A: slot; passes the parameter's own reference on")                                  \
    /* Variables of the context by name (global, session, page), through a cache */                         \
    X(LoadName, "-- v", "A: name site")                                                                      \
    X(StoreName, "v --", "A: name site; makes a page variable if no list holds the name")                    \
    X(TakeName, "-- v", "A: name site; as LoadName (the variable keeps its value)")                          \
    X(RefName, "-- ref", "A: name site")                                                                     \
    X(IndexName, "i -- item", "A: name site; an item without copying the whole array")                       \
    X(IsSet, "-- bool", "A: name site; whether a list holds the name")                                       \
    X(DeclareGlobal, "v --", "A: name site; B: declared type; makes the global unless it exists")            \
    X(DeclareSession, "v --", "A: name site; B: declared type; binds the session variable")                  \
    /* Arithmetic and comparison; the Int forms are chosen when both sides are known ints */                \
    X(Add, "x y -- x+y", "strings on either side join")                                                      \
    X(Subtract, "x y -- x-y", "")                                                                            \
    X(Multiply, "x y -- x*y", "")                                                                            \
    X(Divide, "x y -- x/y", "")                                                                              \
    X(Modulo, "x y -- x%y", "")                                                                              \
    X(AddInt, "int int -- int", "")                                                                          \
    X(SubtractInt, "int int -- int", "")                                                                     \
    X(MultiplyInt, "int int -- int", "")                                                                     \
    X(DivideInt, "int int -- int", "")                                                                       \
    X(ModuloInt, "int int -- int", "")                                                                       \
    X(AddIntConstant, "int -- int", "A: the constant")                                                       \
    X(MultiplyIntConstant, "int -- int", "A: the constant")                                                  \
    X(ModuloIntConstant, "int -- int", "A: the constant, not 0")                                             \
    X(Negate, "x -- -x", "")                                                                                 \
    X(Not, "x -- bool", "")                                                                                  \
    X(ToBool, "x -- bool", "")                                                                               \
    X(Equal, "x y -- bool", "")                                                                              \
    X(NotEqual, "x y -- bool", "")                                                                           \
    X(Less, "x y -- bool", "")                                                                               \
    X(LessEqual, "x y -- bool", "")                                                                          \
    X(Greater, "x y -- bool", "")                                                                            \
    X(GreaterEqual, "x y -- bool", "")                                                                       \
    X(EqualInt, "int int -- bool", "")                                                                       \
    X(NotEqualInt, "int int -- bool", "")                                                                    \
    X(LessInt, "int int -- bool", "")                                                                        \
    X(LessEqualInt, "int int -- bool", "")                                                                   \
    X(GreaterInt, "int int -- bool", "")                                                                     \
    X(GreaterEqualInt, "int int -- bool", "")                                                                \
    /* Items */                                                                                              \
    X(Index, "container i -- item", "")                                                                      \
    X(SetIndexLocal, "i v --", "A: slot")                                                                    \
    X(SetIndexArg, "i v --", "A: slot")                                                                      \
    X(SetIndexName, "i v --", "A: name site")                                                                \
    X(SetPathLocal, "i1 .. iN v --", "A: slot; B: N (2 or more)")                                            \
    X(SetPathArg, "i1 .. iN v --", "A: slot; B: N")                                                          \
    X(SetPathName, "i1 .. iN v --", "A: name site; B: N")                                                    \
    /* x = x + v, in place for strings (a run of appends stays linear) */                                    \
    X(AppendLocal, "v --", "A: slot; B: declared type")                                                      \
    X(AppendArg, "v --", "A: slot; B: declared type")                                                        \
    X(AppendName, "v --", "A: name site")                                                                    \
    /* Control */                                                                                            \
    X(Jump, "--", "A: offset from the next instruction")                                                     \
    X(JumpIfFalse, "cond --", "A: offset")                                                                   \
    X(JumpIfFalseKeep, "cond -- false | --", "A: offset; on false leaves false and jumps, else pops")        \
    X(JumpIfTrueKeep, "cond -- true | --", "A: offset; on true leaves true and jumps, else pops")            \
    X(Loop, "--", "A: offset (negative); counts one step of the budget")                                     \
    X(ForPrep, "--", "A: offset past the loop; B: slot of the counter, limit and step follow it")            \
    X(ForNext, "--", "A: offset back to the body; B: slot of the counter; counts one step")                  \
    X(ForEach, "-- item | --", "A: offset past the loop, taken when no item is left; B: slot of the container, its position follows") \
    X(ForEachPair, "-- key item | --", "as ForEach; the key is the position in an array or string")         \
    X(ForPrepInt, "--", "as ForPrep, all three known ints")                                                  \
    X(ForNextInt, "--", "as ForNext, all three known ints")                                                  \
    /* Calls and output */                                                                                   \
    X(Call, "args -- result", "A: call site; B: argument count, bit 8: the result is used")                  \
    X(CallBuiltin, "args -- result", "A: built-in function number; B: argument count")                       \
    X(CallBuiltinUpdate, "args v -- result v'", "as CallBuiltin; v, taken last, is the first argument, changed") \
    X(RaisePending, "--", "fails with the failure of the CallBuiltinUpdate before, once its variable has its value back") \
    X(TryBegin, "--", "A: offset to the catch block; B: slot that receives the message")                   \
    X(TryEnd, "--", "the try block ended without a failure")                                                 \
    X(Return, "--", "")                                                                                      \
    X(ReturnValue, "v --", "")                                                                               \
    X(Print, "v --", "")                                                                                     \
    X(PrintLine, "--", "writes a line end")

enum class Opcode : uint16_t {
#define QUINCE_OPCODE_ENUM(name, effect, operands) name,
    QUINCE_OPCODES(QUINCE_OPCODE_ENUM)
#undef QUINCE_OPCODE_ENUM
    Count
};

const char* OpcodeName(Opcode op);

// Operand B of Call: the caller uses the result (a missing result is an error).
inline constexpr uint16_t kResultUsedBit = 0x100;

struct Instruction {
    Opcode Op;
    uint16_t B;
    int32_t A;
};
static_assert(sizeof(Instruction) == 8, "an instruction is one word");

}  // namespace quince
