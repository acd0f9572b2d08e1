// Parser: tokens, errors, emitting, scopes and name resolution, and the two
// entry points (a script, an expression).
#include "quince/Parser.h"

#include "foundation/StackRoom.h"

#include "quince/Engine.h"
#include "quince/Library.h"

namespace quince {

// The most slots a frame may have: slot numbers travel in the 16-bit operand B.
inline constexpr unsigned kMaxSlots = 0xFFFF;

Parser::Parser(Engine& engine, std::string_view text, const NyxString& file, unsigned firstLine, unsigned maxDepth)
    : Owner(engine), Text(text), File(file), FirstLine(firstLine), Lex(text, firstLine), MaxDepth(maxDepth) {}

Parser::~Parser() {
    for (Procedure* procedure : Finished) ReleaseProcedure(procedure);
    if (Function != nullptr && Function->Proc != nullptr) ReleaseProcedure(Function->Proc);
}

// --- Entry points ----------------------------------------------------------------

bool Parser::CompileScript(CompiledScript& result) {
    Prescan();
    Advance();
    Advance();
    // The initializer holds the top-level declarations; it is a frame like any other.
    FunctionState initializer;
    initializer.IsInitializer = true;
    auto* init = new Procedure;
    init->Name = "(top level)";
    init->File = File;
    init->Line = FirstLine;
    BeginFunction(initializer, init);
    ParseUnit();
    Emit(Opcode::Return);
    EndFunction();
    if (Failed) return false;
    result.Procedures = std::move(Finished);
    Finished.clear();
    // The last finished procedure is the initializer (EndFunction appends it).
    Procedure* top = result.Procedures.back();
    result.Procedures.pop_back();
    if (top->Code.size() == 1) {
        ReleaseProcedure(top);
    } else {
        result.Initializer = top;
    }
    return true;
}

// expression-text := expression
bool Parser::CompileExpression(CompiledExpression& result) {
    ExpressionMode = true;
    RequiredNames = &result.RequiredNames;
    RequiredCallees = &result.RequiredCallees;
    Advance();
    Advance();
    FunctionState state;
    auto* code = new Procedure;
    code->Name = "(expression)";
    code->File = File;
    code->Line = FirstLine;
    BeginFunction(state, code);
    SkipSeparators();
    if (Check(TokenKind::End)) Fail("empty expression");
    ExprInfo info = ParseExpression();
    SkipSeparators();
    if (!Failed && !Check(TokenKind::End)) {
        Fail("expected the end of the expression, found " + DescribeToken(Current.Kind, Current.Text));
    }
    (void)info;
    Emit(Opcode::ReturnValue);
    EndFunction();
    if (Failed) return false;
    result.Code = Finished.back();
    Finished.pop_back();
    return true;
}

// --- Tokens and errors -------------------------------------------------------------

void Parser::Advance() {
    Previous = std::move(Current);
    Current = std::move(Peek);
    if (Failed) {
        Peek = Token();
        Peek.Line = Current.Line;
        return;
    }
    Peek = Lex.NextToken();
    if (Current.Kind == TokenKind::Error) {
        const std::string message = Current.Message;
        FailAt(Current.Line, message);
    }
}

bool Parser::Match(TokenKind kind) {
    if (Current.Kind != kind) return false;
    Advance();
    return true;
}

bool Parser::Expect(TokenKind kind, const char* what) {
    if (Current.Kind == kind) {
        Advance();
        return true;
    }
    Fail(std::string("expected ") + what + ", found " + Found());
    return false;
}

std::string Parser::Found() const {
    if (Current.Kind == TokenKind::EndProc) return "the end of the procedure";
    return DescribeToken(Current.Kind, Current.Text);
}

void Parser::ExpectStatementEnd() {
    if (Check(TokenKind::Separator)) {
        SkipSeparators();
        return;
    }
    if (Check(TokenKind::End)) return;
    Fail("expected the end of the statement, found " + Found());
}

void Parser::SkipSeparators() {
    while (Current.Kind == TokenKind::Separator) Advance();
}

void Parser::Fail(const std::string& message) { FailAt(Current.Line, message); }

// Only the first failure counts; after it the token stream ends, so every
// loop of the parser finishes at once.
void Parser::FailAt(unsigned line, const std::string& message) {
    if (Failed) return;
    Failed = true;
    ErrorMessage = NyxString(std::string_view(message));
    ErrorLine = line;
    Lex.Stop();
    Current = Token();
    Current.Line = line;
    Peek = Token();
    Peek.Line = line;
}

bool Parser::EnterNesting() {
    if (++Depth > MaxDepth) {
        Fail("nesting deeper than " + std::to_string(MaxDepth) + " levels (QuinceConfig MaxParseDepth)");
        return false;
    }
    // Half the stack is kept for what walks the parsed tree again (emitting
    // code, freeing it), whose frames per level are no larger than these.
    if (StackIsLow(0.5)) {
        Fail("nesting deeper than this thread's stack allows (" + std::to_string(Depth) +
             " levels; QuinceConfig MaxParseDepth)");
        return false;
    }
    return true;
}

// --- Emitting ----------------------------------------------------------------------

// The change of the operand stack's depth that an instruction makes.
static int StackEffect(Opcode op, int32_t a, uint16_t b) {
    switch (op) {
        case Opcode::Constant: case Opcode::PushInt: case Opcode::PushBool:
        case Opcode::LoadLocal: case Opcode::LoadLocalScalar: case Opcode::LoadArg: case Opcode::TakeLocal: case Opcode::TakeArg:
        case Opcode::RefLocal: case Opcode::RefArg: case Opcode::LoadName: case Opcode::TakeName:
        case Opcode::RefName: case Opcode::IsSet:
            return 1;
        case Opcode::LoadLocalPair: return 2;
        case Opcode::Pop: case Opcode::StoreLocal: case Opcode::StoreLocalScalar: case Opcode::StoreArg: case Opcode::StoreName:
        case Opcode::DeclareGlobal: case Opcode::DeclareSession: case Opcode::JumpIfFalse:
        case Opcode::AppendLocal: case Opcode::AppendArg: case Opcode::AppendName:
        case Opcode::ReturnValue: case Opcode::Print:
        case Opcode::Add: case Opcode::Subtract: case Opcode::Multiply: case Opcode::Divide: case Opcode::Modulo:
        case Opcode::AddInt: case Opcode::SubtractInt: case Opcode::MultiplyInt: case Opcode::DivideInt:
        case Opcode::ModuloInt: case Opcode::Equal: case Opcode::NotEqual: case Opcode::Less:
        case Opcode::LessEqual: case Opcode::Greater: case Opcode::GreaterEqual: case Opcode::EqualInt:
        case Opcode::NotEqualInt: case Opcode::LessInt: case Opcode::LessEqualInt: case Opcode::GreaterInt:
        case Opcode::GreaterEqualInt: case Opcode::Index:
            return -1;
        // The Keep jumps pop on the path that falls through; the jumping path
        // leaves one value where the other path's expression will leave one.
        case Opcode::JumpIfFalseKeep: case Opcode::JumpIfTrueKeep:
            return -1;
        case Opcode::SetIndexLocal: case Opcode::SetIndexArg: case Opcode::SetIndexName:
            return -2;
        case Opcode::SetPathLocal: case Opcode::SetPathArg: case Opcode::SetPathName:
            return -1 - static_cast<int>(b);
        case Opcode::MakeArray: return 1 - a;
        case Opcode::MakeMap: return 1 - 2 * a;
        case Opcode::ForEach: return 1;
        case Opcode::ForEachPair: return 2;
        case Opcode::Call: return 1 - static_cast<int>(b & 0xFF);
        case Opcode::CallBuiltin: return 1 - static_cast<int>(b);
        case Opcode::CallBuiltinUpdate: return 2 - static_cast<int>(b);
        default: return 0;  // IndexName, arithmetic on one value, jumps, loops, Return, PrintLine
    }
}

std::size_t Parser::Emit(Opcode op, int32_t a, uint16_t b) {
    Procedure& procedure = *Function->Proc;
    procedure.Code.push_back(Instruction{op, b, a});
    procedure.Lines.push_back(Previous.Line != 0 ? Previous.Line : Current.Line);
    Function->StackDepth += StackEffect(op, a, b);
    // Two scalar loads in a row become one instruction, unless a jump lands between them.
    if (op == Opcode::LoadLocalScalar && procedure.Code.size() >= 2 && procedure.Code.size() - 1 > Function->LastJumpTarget) {
        Instruction& previous = procedure.Code[procedure.Code.size() - 2];
        if (previous.Op == Opcode::LoadLocalScalar && a <= 0xFFFF) {
            previous = Instruction{Opcode::LoadLocalPair, static_cast<uint16_t>(a), previous.A};
            procedure.Code.pop_back();
            procedure.Lines.pop_back();
        }
    }
    if (Function->StackDepth > static_cast<int>(procedure.MaxStack)) procedure.MaxStack = Function->StackDepth;
    return procedure.Code.size() - 1;
}

std::size_t Parser::EmitJump(Opcode op) { return Emit(op, 0); }

void Parser::PatchJump(std::size_t at) {
    PatchJumpTo(at, CodeSize());
    MarkJumpTarget();
}

void Parser::MarkJumpTarget() { Function->LastJumpTarget = CodeSize(); }

void Parser::PatchJumpTo(std::size_t at, std::size_t target) {
    Function->Proc->Code[at].A = static_cast<int32_t>(target) - static_cast<int32_t>(at + 1);
}

void Parser::EmitLoop(std::size_t start) {
    const std::size_t at = Emit(Opcode::Loop);
    PatchJumpTo(at, start);
}

void Parser::EmitConstantString(std::string_view text) {
    Procedure& procedure = *Function->Proc;
    StringObject* object = NewString(Owner.Memory, text.data(), text.size());
    if (object == nullptr) {
        Fail("out of memory for strings and arrays (QuinceConfig MaxMemory)");
        return;
    }
    procedure.Constants.push_back(Value::MakeString(object));
    Emit(Opcode::Constant, static_cast<int32_t>(procedure.Constants.size() - 1));
}

void Parser::EmitConstant(const Value& value) {
    Procedure& procedure = *Function->Proc;
    procedure.Constants.push_back(value);
    Emit(Opcode::Constant, static_cast<int32_t>(procedure.Constants.size() - 1));
}

unsigned Parser::AddNameSite(std::string_view name) {
    std::vector<NameSite>& names = Function->Proc->Names;
    for (unsigned i = 0; i < names.size(); ++i) {
        if (names[i].Name.View() == name) return i;
    }
    NameSite site;
    site.Name = NyxString(name);
    names.push_back(site);
    return static_cast<unsigned>(names.size() - 1);
}

unsigned Parser::AddCallSite(std::string_view name) {
    std::vector<CallSite>& calls = Function->Proc->Calls;
    for (unsigned i = 0; i < calls.size(); ++i) {
        if (calls[i].Name.View() == name) return i;
    }
    CallSite site;
    site.Name = NyxString(name);
    calls.push_back(site);
    if (RequiredCallees != nullptr) RequiredCallees->push_back(site.Name);
    return static_cast<unsigned>(calls.size() - 1);
}

// --- Functions, scopes, names ------------------------------------------------------

void Parser::BeginFunction(FunctionState& state, Procedure* procedure) {
    state.Proc = procedure;
    Function = &state;
}

void Parser::EndFunction() {
    Procedure* procedure = Function->Proc;
    procedure->SlotCount = std::max<unsigned>(procedure->SlotCount, Function->NextSlot);
    Function->Proc = nullptr;
    Function = nullptr;
    Finished.push_back(procedure);
}

void Parser::BeginScope() { ++Function->ScopeDepth; }

// Locals of the scope go out of sight; their slots serve the next scope.
void Parser::EndScope() {
    --Function->ScopeDepth;
    std::vector<LocalVariable>& locals = Function->Locals;
    while (!locals.empty() && locals.back().Depth > Function->ScopeDepth) {
        Function->NextSlot = locals.back().Slot;
        locals.pop_back();
    }
}

bool Parser::DeclareLocal(std::string_view name, DeclaredType type, unsigned& slot) {
    for (const LocalVariable& local : Function->Locals) {
        if (local.Name == name) {
            Fail("'" + std::string(name) + "' is declared already");
            return false;
        }
    }
    for (const Parameter& parameter : Function->Proc->Parameters) {
        if (parameter.Name.View() == name) {
            Fail("'" + std::string(name) + "' is a parameter of this procedure");
            return false;
        }
    }
    if (Function->NextSlot >= kMaxSlots) {
        Fail("too many local variables in one procedure");
        return false;
    }
    slot = Function->NextSlot++;
    if (Function->NextSlot > Function->Proc->SlotCount) Function->Proc->SlotCount = Function->NextSlot;
    Function->Locals.push_back(LocalVariable{std::string(name), slot, type, Function->ScopeDepth});
    return true;
}

bool Parser::IsLocalOrParameter(std::string_view name) const {
    for (const LocalVariable& local : Function->Locals) {
        if (local.Name == name) return true;
    }
    for (const Parameter& parameter : Function->Proc->Parameters) {
        if (parameter.Name.View() == name) return true;
    }
    return false;
}

unsigned Parser::AddHiddenSlot() {
    unsigned slot = 0;
    // A name no source text can spell keeps the slot out of every lookup.
    const std::string hidden = " hidden" + std::to_string(Function->NextSlot);
    if (!DeclareLocal(hidden, DeclaredType{}, slot)) return 0;
    return slot;
}

// Local, then parameter, then the context's lists (resolved at run time).
Parser::ResolvedName Parser::Resolve(std::string_view name, bool required) {
    ResolvedName result;
    const std::vector<LocalVariable>& locals = Function->Locals;
    for (auto it = locals.rbegin(); it != locals.rend(); ++it) {
        if (it->Name == name) {
            result.Kind = NameKind::Local;
            result.Slot = it->Slot;
            result.Type = it->Type;
            return result;
        }
    }
    const std::vector<Parameter>& parameters = Function->Proc->Parameters;
    for (unsigned i = 0; i < parameters.size(); ++i) {
        if (parameters[i].Name.View() == name) {
            result.Kind = NameKind::Argument;
            result.Slot = i;
            result.Type = parameters[i].Type;
            return result;
        }
    }
    result.Kind = NameKind::Context;
    result.Site = AddNameSite(name);
    if (required && RequiredNames != nullptr) RequiredNames->push_back(NyxString(name));
    return result;
}

bool Parser::IsSlotName(std::string_view name) const {
    for (const LocalVariable& local : Function->Locals) {
        if (local.Name == name) return true;
    }
    for (const Parameter& parameter : Function->Proc->Parameters) {
        if (parameter.Name.View() == name) return true;
    }
    return false;
}

static bool IsScalar(StaticType type) {
    return type == StaticType::Int || type == StaticType::Double || type == StaticType::Float ||
           type == StaticType::Bool || type == StaticType::Char;
}

void Parser::EmitLoad(const ResolvedName& name) {
    switch (name.Kind) {
        case NameKind::Local:
            Emit(IsScalar(name.Type.Base) ? Opcode::LoadLocalScalar : Opcode::LoadLocal, static_cast<int32_t>(name.Slot));
            break;
        case NameKind::Argument: Emit(Opcode::LoadArg, static_cast<int32_t>(name.Slot), name.Type.Pack()); break;
        case NameKind::Context: Emit(Opcode::LoadName, static_cast<int32_t>(name.Site)); break;
    }
}

void Parser::EmitStoreLocal(unsigned slot, DeclaredType type, StaticType valueType, bool initializes) {
    // A scalar slot that holds its value already needs neither a conversion
    // nor a release of the old value.
    if (!initializes && IsScalar(type.Base) && valueType == type.Base) {
        Emit(Opcode::StoreLocalScalar, static_cast<int32_t>(slot));
        return;
    }
    // A value the compiler knows to be of the slot's type needs no conversion.
    const bool needsNoConversion = type.Base == StaticType::Any ||
                                   (type.Base == valueType && type.Base != StaticType::Array);
    Emit(Opcode::StoreLocal, static_cast<int32_t>(slot), needsNoConversion ? DeclaredType{}.Pack() : type.Pack());
}

void Parser::EmitStore(const ResolvedName& name) {
    switch (name.Kind) {
        case NameKind::Local: Emit(Opcode::StoreLocal, static_cast<int32_t>(name.Slot), name.Type.Pack()); break;
        case NameKind::Argument: Emit(Opcode::StoreArg, static_cast<int32_t>(name.Slot), name.Type.Pack()); break;
        case NameKind::Context: Emit(Opcode::StoreName, static_cast<int32_t>(name.Site)); break;
    }
}

void Parser::EmitTake(const ResolvedName& name) {
    switch (name.Kind) {
        case NameKind::Local: Emit(Opcode::TakeLocal, static_cast<int32_t>(name.Slot)); break;
        case NameKind::Argument: Emit(Opcode::TakeArg, static_cast<int32_t>(name.Slot), name.Type.Pack()); break;
        case NameKind::Context: Emit(Opcode::TakeName, static_cast<int32_t>(name.Site)); break;
    }
}

void Parser::EmitReference(const ResolvedName& name) {
    switch (name.Kind) {
        case NameKind::Local: Emit(Opcode::RefLocal, static_cast<int32_t>(name.Slot), name.Type.Pack()); break;
        case NameKind::Argument: Emit(Opcode::RefArg, static_cast<int32_t>(name.Slot), name.Type.Pack()); break;
        case NameKind::Context: Emit(Opcode::RefName, static_cast<int32_t>(name.Site)); break;
    }
}

// A procedure of this text (found by the prescan) or one the context holds.
bool Parser::FindSignature(std::string_view name, Signature& signature) const {
    auto found = Signatures.find(std::string(name));
    if (found != Signatures.end()) {
        signature = found->second;
        return true;
    }
    const Procedure* procedure = Owner.FindProcedure(name);
    if (procedure == nullptr) return false;
    signature.Parameters = procedure->Parameters;
    return true;
}

// Reads the procedure headers of the text ahead of compiling, so that a call
// to a procedure defined further down knows which arguments are `ref`.
void Parser::Prescan() {
    Lexer scout(Text, FirstLine);
    bool atStatementStart = true;
    for (unsigned guard = 0; guard < Text.size() + 2; ++guard) {
        Token token = scout.NextToken();
        if (token.Kind == TokenKind::End || token.Kind == TokenKind::Error) return;
        const bool isProc = atStatementStart && token.Kind == TokenKind::Proc;
        atStatementStart = token.Kind == TokenKind::Separator;
        if (!isProc) continue;
        Token name = scout.NextToken();
        if (name.Kind != TokenKind::Name) continue;
        if (scout.NextToken().Kind != TokenKind::LeftParen) continue;
        Signature signature;
        Parameter parameter;
        while (true) {
            Token part = scout.NextToken();
            if (part.Kind == TokenKind::Ref) parameter.IsRef = true;
            else if (part.Kind == TokenKind::Name) parameter.Name = NyxString(part.Text);
            else if (part.Kind == TokenKind::Comma || part.Kind == TokenKind::RightParen) {
                if (parameter.Name.IsNotEmpty()) signature.Parameters.push_back(parameter);
                parameter = Parameter();
                if (part.Kind == TokenKind::RightParen) break;
            } else if (part.Kind == TokenKind::End || part.Kind == TokenKind::Error ||
                       part.Kind == TokenKind::Separator) {
                break;
            }
        }
        Signatures[std::string(name.Text)] = std::move(signature);
    }
}

}  // namespace quince
