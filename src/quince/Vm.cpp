// Vm: the instruction loop. Each instruction has a fast path for the common
// kinds inline here; the general forms are in VmOperations.cpp.
#include "quince/Vm.h"

// GCC would merge the dispatch jumps of all instructions into one, and one
// indirect jump shared by every instruction is predicted badly; each
// instruction keeps its own with these two passes off.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-crossjumping", "no-gcse", "no-tree-slp-vectorize")
#endif

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "quince/Engine.h"
#include "quince/Library.h"
#include "quince/VariableBridge.h"
#include "quince/VmOperations.h"
#include "values/Variable.h"

namespace quince {

namespace {

// Steps between two looks at the clock. A look costs some nanoseconds; a
// thousand steps take a few microseconds, so the time limit is met closely.
constexpr uint32_t kStepCheckInterval = 1024;

// Bytes (or array slots) a library call may go through before the clock is
// looked at: some tens of microseconds of work, against a look's nanoseconds.
constexpr std::size_t kBulkForALook = 64 * 1024;

std::size_t BulkOf(const Value& value) {
    if (value.kind == Kind::String) return value.s->Length;
    if (value.HoldsItems()) return value.a->Items.size() * sizeof(Value);
    return 0;
}

int64_t MonotonicMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// The VM's hot paths move a scalar as its kind byte and its 8-byte payload,
// and write an int result as the whole payload: loads then always meet a
// store of their own size, which the processor forwards without a stall.
inline void MoveScalar(Value& to, const Value& from) {
    to.kind = from.kind;
    to.bits = from.bits;
}
inline void SetInt(Value& value, int32_t number) { value.bits = static_cast<uint32_t>(number); }
inline void SetBool(Value& value, bool truth) {
    value.kind = Kind::Bool;
    value.bits = truth ? 1 : 0;
}

// The counter, limit and step of a for loop must be numbers. `isInteger`:
// the counter counts in whole steps (an int or char counter keeps its type,
// whatever the limit and step are).
bool ForNumbers(const Value* counter, bool& isInteger, NyxString& error) {
    for (int i = 0; i < 3; ++i) {
        if (!counter[i].IsNumber()) {
            static const char* const kParts[] = {"counter", "limit", "step"};
            error.Printf("the %s of 'for' must be a number, not %s", kParts[i], KindName(counter[i].kind));
            return false;
        }
    }
    isInteger = counter[0].kind != Kind::Float && counter[0].kind != Kind::Double;
    return true;
}

bool IsWhole(const Value& value) { return value.kind != Kind::Float && value.kind != Kind::Double; }

// A whole counter steps by the step's whole part, so a step that is 0 as an
// int stops the loop before it starts.
bool ForStepIsZero(const Value* counter, bool isInteger) {
    return isInteger ? ToInt(counter[2]) == 0 : ToDouble(counter[2]) == 0.0;
}

bool ForContinues(const Value* counter, bool isInteger) {
    if (isInteger && IsWhole(counter[1])) {
        const int32_t step = ToInt(counter[2]);
        return step > 0 ? ToInt(counter[0]) <= ToInt(counter[1]) : ToInt(counter[0]) >= ToInt(counter[1]);
    }
    const bool up = isInteger ? ToInt(counter[2]) > 0 : ToDouble(counter[2]) > 0;
    return up ? ToDouble(counter[0]) <= ToDouble(counter[1]) : ToDouble(counter[0]) >= ToDouble(counter[1]);
}

}  // namespace

Vm::Vm(Engine& engine) : Owner(engine), Call{engine, engine.Memory, NyxString()} {}

namespace {

// The value stack of a finished context waits here for the next context of
// the same thread: a request then neither maps nor clears megabytes afresh,
// and the memory is not handed back to the system between requests.
struct SpareValueStack {
    Value* Block = nullptr;
    ~SpareValueStack() { std::free(Block); }
};
thread_local SpareValueStack spareValueStack;

Value* TakeValueStack() {
    Value* block = spareValueStack.Block;
    spareValueStack.Block = nullptr;
    if (block != nullptr) return block;
    // No clearing: a frame sets its slots before reading them.
    return static_cast<Value*>(std::malloc(kValueStackSlots * sizeof(Value)));
}

void ReturnValueStack(Value* block) {
    if (spareValueStack.Block == nullptr) {
        spareValueStack.Block = block;
    } else {
        std::free(block);
    }
}

}  // namespace

Vm::~Vm() {
    if (StackBase != nullptr) ReturnValueStack(StackBase);
}

bool Vm::CheckBudget(NyxString& message) {
    const Limits& limits = Owner.GetLimits();
    StepsTaken += StepsChunk;
    if (limits.MaxSteps != 0 && StepsTaken > limits.MaxSteps) {
        message.Printf("the script took more than %llu steps (QuinceConfig MaxSteps)",
                       static_cast<unsigned long long>(limits.MaxSteps));
        return false;
    }
    // The clock is first read at the first look, a thousand steps in, so that
    // the many short runs (expressions) never read it.
    if (Deadline < 0) {
        Deadline = MonotonicMilliseconds() + int64_t{limits.MaxRunSeconds} * 1000;
        if (Owner.RequestDeadline != 0 && Owner.RequestDeadline < Deadline) Deadline = Owner.RequestDeadline;
    }
    if (Deadline != 0 && MonotonicMilliseconds() > Deadline) {
        message.Printf("the script ran longer than %u second%s (QuinceConfig MaxRunSeconds)", limits.MaxRunSeconds,
                       limits.MaxRunSeconds == 1 ? "" : "s");
        return false;
    }
    StepsChunk = kStepCheckInterval;
    if (limits.MaxSteps != 0 && limits.MaxSteps + 1 - StepsTaken < StepsChunk) {
        StepsChunk = static_cast<uint32_t>(limits.MaxSteps + 1 - StepsTaken);
    }
    StepsToCheck = StepsChunk;
    return true;
}

// Binds the arguments at `arguments` (taken over) to the procedure's
// parameters and pushes its frame. On failure every argument is released.
bool Vm::EnterProcedure(Procedure* procedure, Value* arguments, unsigned count, NyxString& message) {
    const std::vector<Parameter>& parameters = procedure->Parameters;
    auto fail = [&](unsigned filled) {
        for (unsigned i = 0; i < filled; ++i) Release(arguments[i]);
        return false;
    };
    if (count > parameters.size()) {
        message.Printf("'%S' takes %u argument%s, given %u", &procedure->Name, static_cast<unsigned>(parameters.size()),
                       parameters.size() == 1 ? "" : "s", count);
        return fail(count);
    }
    if (Frames.size() >= Owner.GetLimits().MaxCallDepth) {
        message.Printf("calls nested deeper than %u (QuinceConfig MaxCallDepth)", Owner.GetLimits().MaxCallDepth);
        return fail(count);
    }
    if (arguments + procedure->SlotCount + procedure->MaxStack + 1 > StackEnd) {
        message = "out of stack space for this call";
        return fail(count);
    }
    for (unsigned i = 0; i < count; ++i) {
        Value& argument = arguments[i];
        const Parameter& parameter = parameters[i];
        if (argument.kind == Kind::BoundVariable) continue;  // the page's variable: always by reference
        if (argument.kind == Kind::RefSlot || argument.kind == Kind::RefVariable) {
            if (parameter.IsRef) continue;
            Value copy = Value::MakeNone();
            if (!ReadReference(argument, Owner.Memory, copy, message)) {
                argument = Value::MakeNone();
                return fail(count);
            }
            argument = copy;
        }
        if (parameter.Type.Base != StaticType::Any && !ConvertTo(argument, parameter.Type, Owner.Memory, message)) {
            NyxString detail = message;
            message.Printf("argument %u of '%S': %S", i + 1, &procedure->Name, &detail);
            return fail(count);
        }
    }
    for (unsigned i = count; i < parameters.size(); ++i) {
        if (!DefaultValue(parameters[i].Type, Owner.Memory, arguments[i])) {
            message = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
            return fail(i);
        }
    }
    for (unsigned i = static_cast<unsigned>(parameters.size()); i < procedure->SlotCount; ++i) {
        arguments[i] = Value::MakeNone();
    }
    RetainProcedure(procedure);
    Frames.push_back(Frame{procedure, procedure->Code.data(), arguments});
    return true;
}

void Vm::Unwind(std::size_t baseFrame, Value* top) {
    while (!Handlers.empty() && Handlers.back().FrameIndex >= baseFrame) Handlers.pop_back();
    Value* bottom = Frames[baseFrame].Slots;
    for (Value* value = bottom; value < top; ++value) Release(*value);
    for (std::size_t i = Frames.size(); i > baseFrame; --i) ReleaseProcedure(Frames[i - 1].Proc);
    Frames.resize(baseFrame);
    Top = bottom;
}

bool Vm::IsCatchable(const NyxString& message) {
    // Every limit names its key ("... (QuinceConfig MaxMemory)"); the stack's
    // own end is one too.
    return message.View().find("(QuinceConfig Max") == std::string_view::npos &&
           message.View().rfind("out of stack space", 0) != 0;
}

bool Vm::Run(Procedure* procedure, Value* arguments, unsigned count, Value& result, RuntimeError& error) {
    result = Value::MakeNone();
    if (StackBase == nullptr) {
        StackBase = TakeValueStack();
        if (StackBase == nullptr) {
            for (unsigned i = 0; i < count; ++i) Release(arguments[i]);
            error.Message = "out of memory for the value stack";
            error.File = procedure->File;
            error.Line = procedure->Line;
            return false;
        }
        StackEnd = StackBase + kValueStackSlots;
        Top = StackBase;
        Frames.reserve(Owner.GetLimits().MaxCallDepth + std::size_t{1});
    }
    const std::size_t baseFrame = Frames.size();
    if (baseFrame == 0) {
        const Limits& limits = Owner.GetLimits();
        StepsTaken = 0;
        StepsChunk = kStepCheckInterval;
        if (limits.MaxSteps != 0 && limits.MaxSteps + 1 < StepsChunk) StepsChunk = static_cast<uint32_t>(limits.MaxSteps + 1);
        StepsToCheck = StepsChunk;
        Deadline = limits.MaxRunSeconds != 0 ? -1 : 0;
        SetTextBound(limits.MaxMemory >= SIZE_MAX ? SIZE_MAX : static_cast<std::size_t>(limits.MaxMemory) + 1);
    }
    Value* base = Top;
    if (base + count > StackEnd) {
        for (unsigned i = 0; i < count; ++i) Release(arguments[i]);
        error.Message = "out of stack space for this call";
        error.File = procedure->File;
        error.Line = procedure->Line;
        return false;
    }
    for (unsigned i = 0; i < count; ++i) base[i] = arguments[i];
    if (!EnterProcedure(procedure, base, count, error.Message)) {
        error.File = procedure->File;
        error.Line = procedure->Line;
        return false;
    }
    return Execute(baseFrame, result, error);
}

bool Vm::Execute(std::size_t baseFrame, Value& result, RuntimeError& error) {
    static void* const kLabels[] = {
#define QUINCE_OPCODE_LABEL(name, effect, operands) &&op_##name,
        QUINCE_OPCODES(QUINCE_OPCODE_LABEL)
#undef QUINCE_OPCODE_LABEL
    };

    Engine& engine = Owner;
    MemoryAccount& memory = engine.Memory;
    NyxString& message = Message;
    Frame* frame = &Frames.back();
    Procedure* proc = frame->Proc;
    const Instruction* ip = frame->Ip;
    Value* slots = frame->Slots;
    Value* sp = slots + proc->SlotCount;
    Instruction in{};

#define NEXT()                                          \
    do {                                                \
        in = *ip++;                                     \
        goto* kLabels[static_cast<unsigned>(in.Op)];    \
    } while (0)
#define FAIL(...)                       \
    do {                                \
        message.Printf(__VA_ARGS__);    \
        goto failure;                   \
    } while (0)
#define COUNT_STEP()                                               \
    do {                                                           \
        if (--StepsToCheck == 0 && !CheckBudget(message)) goto failure; \
    } while (0)
// Fresh registers after a frame was pushed or popped.
#define LOAD_FRAME()              \
    do {                          \
        frame = &Frames.back();   \
        proc = frame->Proc;       \
        ip = frame->Ip;           \
        slots = frame->Slots;     \
    } while (0)

    NEXT();

op_Constant:
    *sp = proc->Constants[in.A];
    Retain(*sp++);
    NEXT();
op_PushInt:
    sp->kind = Kind::Int;
    SetInt(*sp++, in.A);
    NEXT();
op_PushBool:
    *sp++ = Value::MakeBool(in.A != 0);
    NEXT();
op_Pop:
    Release(*--sp);
    NEXT();
op_MakeArray: {
    const DeclaredType type = DeclaredType::Unpack(in.B);
    ArrayObject* array = NewArray(memory, type.Element);
    Value* items = sp - in.A;
    if (array == nullptr || !ArrayReserve(*array, static_cast<std::size_t>(in.A))) {
        if (array != nullptr) {
            Value dropped = Value::MakeArray(array);
            Release(dropped);
        }
        FAIL("out of memory for strings and arrays (QuinceConfig MaxMemory)");
    }
    Value made = Value::MakeArray(array);
    for (int32_t i = 0; i < in.A; ++i) {
        Value item = items[i];
        items[i] = Value::MakeNone();
        if (type.Element != StaticType::Any && !ConvertTo(item, {type.Element, StaticType::Any}, memory, message)) {
            Release(item);
            Release(made);
            goto failure;
        }
        if (!ArrayPush(*array, item)) {
            Release(made);
            FAIL("arrays nested deeper than %u levels", kMaxArrayNesting);
        }
    }
    sp = items;
    *sp++ = made;
    NEXT();
}

op_MakeMap: {
    ArrayObject* map = NewMap(memory);
    if (map == nullptr) FAIL("out of memory for strings and arrays (QuinceConfig MaxMemory)");
    Value made = Value::MakeMap(map);
    Value* pairs = sp - 2 * in.A;
    bool ok = true;
    for (int32_t i = 0; i < in.A; ++i) {
        Value key = pairs[2 * i];
        Value item = pairs[2 * i + 1];
        NyxString text;
        if (!ok || !MapKeyText(key, text, message)) {
            ok = false;
            Release(key);
            Release(item);
            continue;
        }
        Release(key);
        ok = MapSet(*map, text.View(), item, message);  // takes the item
    }
    sp = pairs;
    if (!ok) {
        Release(made);
        goto failure;
    }
    *sp++ = made;
    NEXT();
}
op_LoadLocal:
    *sp = slots[in.A];
    Retain(*sp++);
    NEXT();
op_LoadLocalScalar:
    MoveScalar(*sp++, slots[in.A]);
    NEXT();
op_LoadLocalPair:
    MoveScalar(sp[0], slots[in.A]);
    MoveScalar(sp[1], slots[in.B]);
    sp += 2;
    NEXT();
op_StoreLocalScalar:
    MoveScalar(slots[in.A], *--sp);
    NEXT();
op_StoreLocal: {
    Value value = *--sp;
    const DeclaredType type = DeclaredType::Unpack(in.B);
    if (type.Base != StaticType::Any && (value.kind != KindOf(type.Base) || type.Base == StaticType::Array)) {
        if (!ConvertTo(value, type, memory, message)) {
            Release(value);
            goto failure;
        }
    }
    Release(slots[in.A]);
    slots[in.A] = value;
    NEXT();
}
op_LoadArg: {
    Value& slot = slots[in.A];
    if (!IsReference(slot.kind)) {
        *sp = slot;
        Retain(*sp++);
        NEXT();
    }
    Value value = Value::MakeNone();
    if (!ReadReference(slot, memory, value, message)) goto failure;
    const DeclaredType type = DeclaredType::Unpack(in.B);
    if (type.Base != StaticType::Any && !ConvertTo(value, type, memory, message)) {
        Release(value);
        goto failure;
    }
    *sp++ = value;
    NEXT();
}
op_StoreArg: {
    Value value = *--sp;
    const DeclaredType type = DeclaredType::Unpack(in.B);
    if (type.Base != StaticType::Any && !ConvertTo(value, type, memory, message)) {
        Release(value);
        goto failure;
    }
    Value& slot = slots[in.A];
    if (IsReference(slot.kind)) {
        if (!WriteReference(slot, value, memory, message)) goto failure;
        NEXT();
    }
    Release(slot);
    slot = value;
    NEXT();
}
op_TakeLocal:
    *sp++ = slots[in.A];
    slots[in.A] = Value::MakeNone();
    NEXT();
op_TakeArg: {
    Value& slot = slots[in.A];
    if (slot.kind == Kind::RefSlot) {
        *sp++ = *slot.slot;
        *slot.slot = Value::MakeNone();
        NEXT();
    }
    if (!IsReference(slot.kind)) {
        *sp++ = slot;
        slot = Value::MakeNone();
        NEXT();
    }
    Value value = Value::MakeNone();
    if (!ReadReference(slot, memory, value, message)) goto failure;
    *sp++ = value;
    NEXT();
}
op_RefLocal: {
    const DeclaredType type = DeclaredType::Unpack(in.B);
    Value reference = Value::MakeNone();
    reference.kind = Kind::RefSlot;
    reference.refBase = type.Base;
    reference.refElement = type.Element;
    reference.slot = &slots[in.A];
    *sp++ = reference;
    NEXT();
}
op_RefArg: {
    Value& slot = slots[in.A];
    if (slot.kind == Kind::RefSlot) {
        *sp++ = slot;
    } else if (IsReference(slot.kind)) {
        Value reference = Value::MakeNone();
        reference.kind = Kind::RefVariable;  // passed on by Quince: written through only to a ref parameter
        reference.var = slot.var;
        *sp++ = reference;
    } else {
        const DeclaredType type = DeclaredType::Unpack(in.B);
        Value reference = Value::MakeNone();
        reference.kind = Kind::RefSlot;
        reference.refBase = type.Base;
        reference.refElement = type.Element;
        reference.slot = &slot;
        *sp++ = reference;
    }
    NEXT();
}

op_LoadName:
op_TakeName: {
    NameSite& site = proc->Names[in.A];
    Variable* variable = engine.SiteVariable(site);
    if (variable == nullptr) FAIL("unknown name '%S'", &site.Name);
    if (!ValueFromVariable(variable, memory, *sp, message)) goto failure;
    ++sp;
    NEXT();
}
op_StoreName: {
    NameSite& site = proc->Names[in.A];
    Value value = *--sp;
    Variable* variable = engine.SiteVariable(site);
    if (variable == nullptr) {
        // A name that no list holds becomes a page variable of the value's type.
        Variable* made = VariableFromValue(value, site.Name);
        Release(value);
        if (made == nullptr) FAIL("no value to assign to '%S'", &site.Name);
        engine.AddVariable(made, 2);
        NEXT();
    }
    const bool stored = StoreIntoVariable(variable, value, message);
    Release(value);
    if (!stored) goto failure;
    NEXT();
}
op_RefName: {
    NameSite& site = proc->Names[in.A];
    Variable* variable = engine.SiteVariable(site);
    if (variable == nullptr) FAIL("unknown name '%S'", &site.Name);
    Value reference = Value::MakeNone();
    reference.kind = Kind::RefVariable;
    reference.var = variable;
    *sp++ = reference;
    NEXT();
}
op_IndexName: {
    NameSite& site = proc->Names[in.A];
    Variable* variable = engine.SiteVariable(site);
    if (variable == nullptr) FAIL("unknown name '%S'", &site.Name);
    Value index = sp[-1];
    Value item = Value::MakeNone();
    if (!IndexVariable(variable, index, memory, item, message)) goto failure;
    Release(sp[-1]);
    sp[-1] = item;
    NEXT();
}
op_IsSet: {
    NameSite& site = proc->Names[in.A];
    *sp++ = Value::MakeBool(engine.SiteVariable(site) != nullptr);
    NEXT();
}
op_DeclareGlobal: {
    NameSite& site = proc->Names[in.A];
    Value value = *--sp;
    if (!ConvertTo(value, DeclaredType::Unpack(in.B), memory, message)) {
        Release(value);
        goto failure;
    }
    if (engine.Globals.Find(site.Name.View()) == nullptr) {
        Variable* made = VariableFromValue(value, site.Name);
        if (made != nullptr) engine.AddVariable(made, 1);
    }
    Release(value);
    NEXT();
}
op_DeclareSession: {
    NameSite& site = proc->Names[in.A];
    Value value = *--sp;
    const bool declared = engine.DeclareSessionVariable(site.Name.View(), DeclaredType::Unpack(in.B), value, message);
    Release(value);
    if (!declared) goto failure;
    NEXT();
}

op_Add:
op_Subtract:
op_Multiply:
op_Divide:
op_Modulo: {
    Value& left = sp[-2];
    Value& right = sp[-1];
    int32_t combined = 0;
    if (left.kind == Kind::Int && right.kind == Kind::Int && CombineInts(in.Op, left.i, right.i, combined)) {
        SetInt(left, combined);
        --sp;
        NEXT();
    }
    const bool ok = Arithmetic(in.Op, left, right, memory, message);
    Release(right);
    --sp;
    if (!ok) goto failure;
    NEXT();
}
op_AddInt:
    SetInt(sp[-2], WrapAdd(sp[-2].i, sp[-1].i));
    --sp;
    NEXT();
op_SubtractInt:
    SetInt(sp[-2], WrapSubtract(sp[-2].i, sp[-1].i));
    --sp;
    NEXT();
op_MultiplyInt:
    SetInt(sp[-2], WrapMultiply(sp[-2].i, sp[-1].i));
    --sp;
    NEXT();
op_DivideInt:
op_ModuloInt: {
    const int32_t divisor = sp[-1].i;
    if (divisor == 0) FAIL("division by zero");
    const int32_t dividend = sp[-2].i;
    if (divisor == -1) SetInt(sp[-2], in.Op == Opcode::DivideInt ? WrapSubtract(0, dividend) : 0);
    else SetInt(sp[-2], in.Op == Opcode::DivideInt ? dividend / divisor : dividend % divisor);
    --sp;
    NEXT();
}
op_AddIntConstant:
    SetInt(sp[-1], WrapAdd(sp[-1].i, in.A));
    NEXT();
op_MultiplyIntConstant:
    SetInt(sp[-1], WrapMultiply(sp[-1].i, in.A));
    NEXT();
op_ModuloIntConstant:
    SetInt(sp[-1], in.A == -1 ? 0 : sp[-1].i % in.A);
    NEXT();
op_Negate:
    if (sp[-1].kind == Kind::Int) {
        SetInt(sp[-1], WrapSubtract(0, sp[-1].i));
        NEXT();
    }
    if (!Negate(sp[-1], message)) goto failure;
    NEXT();
op_Not: {
    const bool truth = IsTrue(sp[-1]);
    Release(sp[-1]);
    sp[-1] = Value::MakeBool(!truth);
    NEXT();
}
op_ToBool: {
    const bool truth = IsTrue(sp[-1]);
    Release(sp[-1]);
    sp[-1] = Value::MakeBool(truth);
    NEXT();
}
op_Equal:
op_NotEqual:
op_Less:
op_LessEqual:
op_Greater:
op_GreaterEqual: {
    Value& left = sp[-2];
    Value& right = sp[-1];
    bool outcome = false;
    if (left.kind == Kind::Int && right.kind == Kind::Int) {
        outcome = CompareInts(in.Op, left.i, right.i);
    } else if (!CompareValues(in.Op, left, right, outcome, message)) {
        goto failure;
    }
    Release(left);
    Release(right);
    --sp;
    sp[-1] = Value::MakeBool(outcome);
    NEXT();
}
op_EqualInt:
    SetBool(sp[-2], sp[-2].i == sp[-1].i);
    --sp;
    NEXT();
op_NotEqualInt:
    SetBool(sp[-2], sp[-2].i != sp[-1].i);
    --sp;
    NEXT();
op_LessInt:
    SetBool(sp[-2], sp[-2].i < sp[-1].i);
    --sp;
    NEXT();
op_LessEqualInt:
    SetBool(sp[-2], sp[-2].i <= sp[-1].i);
    --sp;
    NEXT();
op_GreaterInt:
    SetBool(sp[-2], sp[-2].i > sp[-1].i);
    --sp;
    NEXT();
op_GreaterEqualInt:
    SetBool(sp[-2], sp[-2].i >= sp[-1].i);
    --sp;
    NEXT();

op_Index: {
    Value item = Value::MakeNone();
    if (!IndexValue(sp[-2], sp[-1], item, message)) goto failure;
    Release(sp[-1]);
    Release(sp[-2]);
    --sp;
    sp[-1] = item;
    NEXT();
}
op_SetIndexLocal:
op_SetIndexArg: {
    Value item = sp[-1];
    Value index = sp[-2];
    sp -= 2;
    Value* container = &slots[in.A];
    if (in.Op == Opcode::SetIndexArg && IsReference(container->kind)) {
        if (container->kind == Kind::RefSlot) {
            container = container->slot;
        } else {
            const bool ok = SetItemOfVariable(container->var, index, item, memory, message);
            Release(item);
            Release(index);
            if (!ok) goto failure;
            NEXT();
        }
    }
    const bool ok = SetItem(*container, index, item, memory, message);
    Release(index);
    if (!ok) goto failure;
    NEXT();
}
op_SetIndexName: {
    NameSite& site = proc->Names[in.A];
    Value item = sp[-1];
    Value index = sp[-2];
    sp -= 2;
    Variable* variable = engine.SiteVariable(site);
    const bool ok = variable != nullptr && SetItemOfVariable(variable, index, item, memory, message);
    Release(item);
    Release(index);
    if (variable == nullptr) FAIL("unknown name '%S'", &site.Name);
    if (!ok) goto failure;
    NEXT();
}
op_SetPathLocal:
op_SetPathArg: {
    const unsigned count = in.B;
    Value item = sp[-1];
    Value* indices = sp - 1 - count;
    sp = indices;
    Value* container = &slots[in.A];
    bool ok = true;
    if (in.Op == Opcode::SetPathArg && container->kind == Kind::RefSlot) container = container->slot;
    if (in.Op == Opcode::SetPathArg && IsReference(container->kind)) {
        ok = SetItemAtPathOfVariable(container->var, indices, count, item, memory, message);
        Release(item);
    } else {
        ok = SetItemAtPath(*container, indices, count, item, memory, message);
    }
    for (unsigned i = 0; i < count; ++i) Release(indices[i]);
    if (!ok) goto failure;
    NEXT();
}
op_SetPathName: {
    NameSite& site = proc->Names[in.A];
    const unsigned count = in.B;
    Value item = sp[-1];
    Value* indices = sp - 1 - count;
    sp = indices;
    Variable* variable = engine.SiteVariable(site);
    const bool ok = variable != nullptr && SetItemAtPathOfVariable(variable, indices, count, item, memory, message);
    Release(item);
    for (unsigned i = 0; i < count; ++i) Release(indices[i]);
    if (variable == nullptr) FAIL("unknown name '%S'", &site.Name);
    if (!ok) goto failure;
    NEXT();
}
op_AppendLocal: {
    Value item = *--sp;
    Value& target = slots[in.A];
    if (target.kind == Kind::Int && item.kind == Kind::Int) {
        SetInt(target, WrapAdd(target.i, item.i));
        NEXT();
    }
    if (!AppendValue(target, item, DeclaredType::Unpack(in.B), memory, message)) goto failure;
    NEXT();
}
op_AppendArg: {
    Value item = *--sp;
    Value& slot = slots[in.A];
    const DeclaredType type = DeclaredType::Unpack(in.B);
    if (!IsReference(slot.kind)) {
        if (!AppendValue(slot, item, type, memory, message)) goto failure;
        NEXT();
    }
    if (slot.kind == Kind::RefSlot) {
        const DeclaredType targetType{slot.refBase, slot.refElement};
        if (!AppendValue(*slot.slot, item, targetType, memory, message)) goto failure;
        NEXT();
    }
    if (!AppendToVariable(slot.var, item, memory, message)) goto failure;
    NEXT();
}
op_AppendName: {
    NameSite& site = proc->Names[in.A];
    Value item = *--sp;
    Variable* variable = engine.SiteVariable(site);
    if (variable == nullptr) {
        Release(item);
        FAIL("unknown name '%S'", &site.Name);
    }
    if (!AppendToVariable(variable, item, memory, message)) goto failure;
    NEXT();
}

op_Jump:
    ip += in.A;
    NEXT();
op_JumpIfFalse: {
    Value& condition = sp[-1];
    const bool truth = condition.kind == Kind::Bool ? condition.i != 0 : IsTrue(condition);
    Release(condition);
    --sp;
    if (!truth) ip += in.A;
    NEXT();
}
op_JumpIfFalseKeep:
op_JumpIfTrueKeep: {
    const bool truth = IsTrue(sp[-1]);
    Release(sp[-1]);
    if (truth == (in.Op == Opcode::JumpIfTrueKeep)) {
        sp[-1] = Value::MakeBool(truth);
        ip += in.A;
    } else {
        --sp;
    }
    NEXT();
}
op_Loop:
    COUNT_STEP();
    ip += in.A;
    NEXT();
op_ForPrep: {
    Value* counter = &slots[in.B];
    bool isInteger = false;
    if (!ForNumbers(counter, isInteger, message)) goto failure;
    if (ForStepIsZero(counter, isInteger)) FAIL("the step of 'for' is 0");
    if (!ForContinues(counter, isInteger)) ip += in.A;
    NEXT();
}
op_ForNext: {
    COUNT_STEP();
    Value* counter = &slots[in.B];
    bool isInteger = false;
    if (!ForNumbers(counter, isInteger, message)) goto failure;
    if (isInteger) {
        const int64_t next = int64_t{ToInt(counter[0])} + ToInt(counter[2]);
        if (counter[0].kind == Kind::Char) {
            if (next > CHAR_MAX || next < CHAR_MIN) NEXT();  // past the end of the char range: done
            counter[0] = Value::MakeChar(static_cast<char>(next));
        } else {
            if (next > INT32_MAX || next < INT32_MIN) NEXT();  // past the end of the int range: done
            counter[0] = Value::MakeInt(static_cast<int32_t>(next));
        }
    } else {
        const double next = ToDouble(counter[0]) + ToDouble(counter[2]);
        if (counter[0].kind == Kind::Float) counter[0] = Value::MakeFloat(static_cast<float>(next));
        else counter[0] = Value::MakeDouble(next);
    }
    if (ForContinues(counter, isInteger)) ip += in.A;
    NEXT();
}
op_ForEach:
op_ForEachPair: {
    Value* state = &slots[in.B];
    const Value& container = state[0];
    const int32_t position = state[1].i;
    std::size_t size = 0;
    switch (container.kind) {
        case Kind::Array:
        case Kind::Map: size = container.a->Items.size(); break;
        case Kind::String: size = container.s->Length; break;
        default: FAIL("'for each' needs an array, a map or a string, not %s", KindName(container.kind));
    }
    if (position < 0 || static_cast<std::size_t>(position) >= size) {
        ip += in.A;
        NEXT();
    }
    state[1].i = position + 1;
    if (in.Op == Opcode::ForEachPair) {
        *sp++ = container.kind == Kind::Map ? Copy(Value::MakeString(container.a->Map->Keys[static_cast<std::size_t>(position)]))
                                            : Value::MakeInt(position);
    }
    *sp++ = container.HoldsItems() ? Copy(container.a->Items[static_cast<std::size_t>(position)])
                                   : Value::MakeChar(container.s->Data[position]);
    NEXT();
}
op_ForPrepInt: {
    const Value* counter = &slots[in.B];
    const int32_t step = counter[2].i;
    if (step == 0) FAIL("the step of 'for' is 0");
    if (step > 0 ? counter[0].i > counter[1].i : counter[0].i < counter[1].i) ip += in.A;
    NEXT();
}
op_ForNextInt: {
    COUNT_STEP();
    Value* counter = &slots[in.B];
    const int32_t step = counter[2].i;
    const int64_t next = int64_t{counter[0].i} + step;
    if (step > 0 ? next <= counter[1].i : next >= counter[1].i) {
        SetInt(counter[0], static_cast<int32_t>(next));
        ip += in.A;
    }
    NEXT();
}

op_Call: {
    COUNT_STEP();
    CallSite& site = proc->Calls[in.A];
    const unsigned count = in.B & 0xFF;
    if (site.Generation != engine.CallGeneration()) {
        site.CachedProcedure = engine.FindProcedure(site.Name.View());
        site.CachedNative = site.CachedProcedure == nullptr ? engine.FindNative(site.Name.View()) : nullptr;
        site.Generation = engine.CallGeneration();
    }
    Value* arguments = sp - count;
    if (site.CachedProcedure != nullptr) {
        frame->Ip = ip;
        Procedure* callee = site.CachedProcedure;
        if (!EnterProcedure(callee, arguments, count, message)) {
            sp = arguments;
            goto failure;
        }
        LOAD_FRAME();
        sp = slots + proc->SlotCount;
        NEXT();
    }
    const NativeFunction* native = site.CachedNative;
    if (native == nullptr) FAIL("unknown procedure '%S'", &site.Name);
    if (count < native->MinArguments || count > native->MaxArguments) {
        FAIL("'%S' takes %u to %u arguments, given %u", &site.Name, native->MinArguments, native->MaxArguments, count);
    }
    // Arguments that name variables pass the variables themselves; others go as new variables.
    Variable* passed[256];
    bool made[256];
    for (unsigned i = 0; i < count; ++i) {
        Value& argument = arguments[i];
        made[i] = false;
        if (argument.kind == Kind::RefVariable || argument.kind == Kind::BoundVariable) {
            passed[i] = argument.var;
        } else if (argument.kind == Kind::Foreign) {
            passed[i] = argument.o->Owned;
        } else {
            passed[i] = VariableFromValue(argument.kind == Kind::RefSlot ? *argument.slot : argument, NyxString());
            made[i] = true;
        }
    }
    frame->Ip = ip;
    Top = sp;
    NativeError.Clear();
    Variable* returned = native->Function(&engine.Owner, passed, count, NativeError);
    for (unsigned i = 0; i < count; ++i) {
        if (made[i]) Variable::Delete(passed[i]);
        Release(arguments[i]);
    }
    sp = arguments;
    Value value = Value::MakeNone();
    if (returned != nullptr) {
        const bool converted = ValueFromVariable(returned, memory, value, message);
        Variable::Delete(returned);
        if (!converted) goto failure;
    } else if (NativeError.IsNotEmpty()) {
        message = NativeError;
        goto failure;
    }
    if ((in.B & kResultUsedBit) != 0 && value.kind == Kind::None) FAIL("'%S' gives no value", &site.Name);
    *sp++ = value;
    NEXT();
}
op_CallBuiltin:
op_CallBuiltinUpdate: {
    const BuiltinFunction& function = GetBuiltin(static_cast<unsigned>(in.A));
    Value* arguments = sp - in.B;
    if (in.Op == Opcode::CallBuiltinUpdate && in.B > 1) {
        // The variable's value was taken last; it is the function's first argument.
        const Value taken = sp[-1];
        std::memmove(static_cast<void*>(arguments + 1), static_cast<const void*>(arguments), (in.B - 1u) * sizeof(Value));
        arguments[0] = taken;
    }
    Value value = Value::MakeNone();
    frame->Ip = ip;
    Top = sp;
    const bool ok = function.Code(Call, arguments, in.B, value);
    // A call over a long text or array can take milliseconds, a thousand of
    // them far longer than the time limit allows: the clock is looked at
    // after the next step.
    if (((in.B > 0 && BulkOf(arguments[0]) >= kBulkForALook) || BulkOf(value) >= kBulkForALook) && StepsToCheck > 1) {
        StepsChunk -= StepsToCheck - 1;
        StepsToCheck = 1;
    }
    if (in.Op == Opcode::CallBuiltinUpdate) {
        // The changed first argument goes on top, to be stored back.
        Value changed = arguments[0];
        for (unsigned i = 1; i < in.B; ++i) Release(arguments[i]);
        sp = arguments;
        if (!ok) {
            // Raised by the RaisePending behind the store of the variable.
            message = Call.Error;
            FailurePending = true;
        }
        *sp++ = value;
        *sp++ = changed;
        NEXT();
    }
    for (unsigned i = 0; i < in.B; ++i) Release(arguments[i]);
    sp = arguments;
    if (!ok) {
        Release(value);
        message = Call.Error;
        goto failure;
    }
    if (value.kind == Kind::None && function.Result != StaticType::None) FAIL("'%s' gives no value", function.Name);
    *sp++ = value;
    NEXT();
}
op_RaisePending:
    if (FailurePending) goto failure;
    NEXT();
op_TryBegin:
    Handlers.push_back(Handler{Frames.size() - 1, ip + in.A, sp, in.B});
    NEXT();
op_TryEnd:
    Handlers.pop_back();
    NEXT();
op_Return:
op_ReturnValue: {
    Value value = Value::MakeNone();
    if (in.Op == Opcode::ReturnValue) value = *--sp;
    // A return from inside try blocks ends them.
    while (!Handlers.empty() && Handlers.back().FrameIndex + 1 >= Frames.size()) Handlers.pop_back();
    for (Value* slot = slots; slot < sp; ++slot) Release(*slot);
    Frames.pop_back();
    if (Frames.size() == baseFrame) {
        ReleaseProcedure(proc);
        Top = slots;
        result = value;
        return true;
    }
    const Instruction& call = Frames.back().Ip[-1];
    const bool missing = call.Op == Opcode::Call && (call.B & kResultUsedBit) != 0 && value.kind == Kind::None;
    if (missing) message.Printf("'%S' gives no value", &proc->Name);
    ReleaseProcedure(proc);
    Value* returnSlot = slots;
    LOAD_FRAME();
    sp = returnSlot;
    *sp++ = value;
    if (missing) goto failure;  // reported at the caller's line
    NEXT();
}
op_Print: {
    NyxString& output = engine.Output();
    const std::size_t before = output.GetSize();
    AppendText(output, sp[-1]);
    Release(*--sp);
    // A text cut at the memory limit (see SetTextBound) must not go out as if
    // whole; and one print can be megabytes, so the output bound is looked at
    // on every print.
    if (output.GetSize() - before > engine.GetLimits().MaxMemory) {
        FAIL("out of memory for strings and arrays (QuinceConfig MaxMemory)");
    }
    if (engine.OutputIsPastLimit()) {
        FAIL("the script wrote more than %llu bytes (QuinceConfig MaxOutputBytes)",
             static_cast<unsigned long long>(engine.GetLimits().MaxOutputBytes));
    }
    NEXT();
}
op_PrintLine:
    engine.Output().Append('\n');
    NEXT();

failure:
    FailurePending = false;
    frame->Ip = ip;
    if (!Handlers.empty() && Handlers.back().FrameIndex >= baseFrame && IsCatchable(message)) {
        // On in the catch block: what the try block's statements and calls
        // left on the stack goes, the message goes into the catch name.
        const Handler handler = Handlers.back();
        Handlers.pop_back();
        for (Value* value = handler.Sp; value < sp; ++value) Release(*value);
        while (Frames.size() > handler.FrameIndex + 1) {
            ReleaseProcedure(Frames.back().Proc);
            Frames.pop_back();
        }
        StringObject* text = NewString(memory, message.GetString(), message.GetSize());
        if (text != nullptr) {
            LOAD_FRAME();
            ip = handler.Target;
            sp = handler.Sp;
            Release(slots[handler.Slot]);
            slots[handler.Slot] = Value::MakeString(text);
            message.Clear();
            NEXT();
        }
        // No memory for the message: the failure goes on up as the limit it is.
        LOAD_FRAME();
        sp = handler.Sp;
        message = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
    }
    error.Message = message;
    error.File = proc->File;
    {
        const std::size_t at = static_cast<std::size_t>(ip - proc->Code.data());
        error.Line = at > 0 && at <= proc->Lines.size() ? proc->Lines[at - 1] : proc->Line;
    }
    Unwind(baseFrame, sp);
    return false;

#undef NEXT
#undef FAIL
#undef COUNT_STEP
#undef LOAD_FRAME
}

}  // namespace quince
