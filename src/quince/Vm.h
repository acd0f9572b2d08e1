// Vm: runs compiled procedures. Frames live in one value stack reserved for
// the context; a call from Quince to Quince pushes a frame without recursing
// in C++, so only the call depth bounds the nesting.
#pragma once

#include <cstdint>
#include <vector>

#include "quince/Library.h"
#include "quince/Procedure.h"
#include "quince/Value.h"
#include "values/NyxString.h"

namespace quince {

class Engine;

// A failure at run time: what, and where in the source.
struct RuntimeError {
    NyxString Message;
    NyxString File;
    unsigned Line = 0;
};

class Vm {
public:
    explicit Vm(Engine& engine);
    ~Vm();
    Vm(const Vm&) = delete;
    Vm& operator=(const Vm&) = delete;

    // Runs `procedure` with `count` arguments (taken over; Ref kinds allowed).
    // Missing arguments get their parameter's default. On success `result`
    // holds the returned value (None if the procedure returned none).
    bool Run(Procedure* procedure, Value* arguments, unsigned count, Value& result, RuntimeError& error);

    // Whether a run is in progress (a native function may run procedures again).
    bool IsRunning() const { return !Frames.empty(); }

private:
    struct Frame {
        Procedure* Proc;
        const Instruction* Ip;  // next instruction
        Value* Slots;           // the frame's first slot; arguments are the first slots
    };
    // An open try block: where a failure in it goes on.
    struct Handler {
        std::size_t FrameIndex;      // the frame whose code holds the try
        const Instruction* Target;   // the first instruction of the catch block
        Value* Sp;                   // the stack's top when the try began
        uint16_t Slot;               // the catch name's slot in that frame
    };

    bool Execute(std::size_t baseFrame, Value& result, RuntimeError& error);
    bool EnterProcedure(Procedure* procedure, Value* arguments, unsigned count, NyxString& message);
    bool CheckBudget(NyxString& message);
    void Unwind(std::size_t baseFrame, Value* top);
    // Whether a failure may go to a catch block: not one of the request's limits.
    static bool IsCatchable(const NyxString& message);

    Engine& Owner;
    Value* StackBase = nullptr;   // kValueStackSlots values, taken on the first run
    Value* StackEnd = nullptr;
    Value* Top = nullptr;         // first free slot between runs
    std::vector<Frame> Frames;
    std::vector<Handler> Handlers;  // innermost last; each belongs to a frame in Frames
    bool FailurePending = false;    // a CallBuiltinUpdate failed; RaisePending raises it

    // Budget of the outermost run.
    uint64_t StepsTaken = 0;
    uint32_t StepsChunk = 0;      // steps between the last look and the next
    uint32_t StepsToCheck = 0;    // counts down to the next look at steps and clock
    int64_t Deadline = 0;         // monotonic milliseconds; 0: none; -1: set at the first look
    NyxString Message;            // the failure being raised (kept to spare a string per run)
    NyxString NativeError;        // what a native function reports
    CallContext Call;             // handed to the built-in functions
};

}  // namespace quince
