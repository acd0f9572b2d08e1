// Parser: the rules of procedures, declarations and statements.
#include "quince/Engine.h"
#include "quince/Library.h"
#include "quince/Parser.h"

namespace quince {

namespace {

constexpr std::size_t kNoTarget = static_cast<std::size_t>(-1);

bool IsBlockEnd(TokenKind kind) {
    switch (kind) {
        case TokenKind::End: case TokenKind::EndProc: case TokenKind::ElseIf: case TokenKind::Else:
        case TokenKind::EndIf: case TokenKind::EndWhile: case TokenKind::Next:
            return true;
        default: return false;
    }
}

bool StartsExpression(TokenKind kind) {
    switch (kind) {
        case TokenKind::Integer: case TokenKind::Double: case TokenKind::Float: case TokenKind::String:
        case TokenKind::Char: case TokenKind::Name: case TokenKind::True: case TokenKind::False:
        case TokenKind::Minus: case TokenKind::Bang: case TokenKind::LeftBracket: case TokenKind::LeftBrace:
        case TokenKind::TypeInt: case TokenKind::TypeDouble: case TokenKind::TypeFloat:
        case TokenKind::TypeChar: case TokenKind::TypeBool: case TokenKind::TypeString:
            return true;
        default: return false;
    }
}

TokenKind OperatorOf(TokenKind compound) {
    switch (compound) {
        case TokenKind::PlusAssign: return TokenKind::Plus;
        case TokenKind::MinusAssign: return TokenKind::Minus;
        case TokenKind::StarAssign: return TokenKind::Star;
        case TokenKind::SlashAssign: return TokenKind::Slash;
        case TokenKind::PercentAssign: return TokenKind::Percent;
        default: return TokenKind::End;
    }
}

bool IsAssignOperator(TokenKind kind) { return kind == TokenKind::Assign || OperatorOf(kind) != TokenKind::End; }

}  // namespace

// unit := { separator } { ( procedure | context-declaration ) { separator } }
void Parser::ParseUnit() {
    SkipSeparators();
    while (!Failed && !Check(TokenKind::End)) {
        if (Check(TokenKind::Proc)) {
            ParseProcedure();
        } else if (Check(TokenKind::Global) || Check(TokenKind::Session)) {
            ParseContextDeclaration();
            ExpectStatementEnd();
        } else {
            Fail("only 'proc', 'global' and 'session' may stand at the top level of a script, found " +
                 Found());
        }
        SkipSeparators();
    }
}

// procedure := "proc" NAME "(" [ parameter { "," parameter } ] ")" block "endproc"
void Parser::ParseProcedure() {
    const unsigned line = Current.Line;
    Advance();
    if (!Check(TokenKind::Name)) {
        Fail("expected the procedure's name after 'proc', found " + Found());
        return;
    }
    const std::string name(Current.Text);
    if (FindBuiltin(name, nullptr) != nullptr) {
        Fail("'" + name + "' is a built-in function; a procedure cannot take its name");
        return;
    }
    Advance();
    auto* procedure = new Procedure;
    procedure->Name = NyxString(std::string_view(name));
    procedure->File = File;
    procedure->Line = line;
    FunctionState* outer = Function;
    FunctionState state;
    BeginFunction(state, procedure);
    Expect(TokenKind::LeftParen, "'(' after the procedure's name");
    if (!Check(TokenKind::RightParen)) {
        do {
            Parameter parameter;
            if (!ParseParameter(parameter)) break;
            for (const Parameter& other : procedure->Parameters) {
                if (other.Name == parameter.Name) Fail("parameter '" + parameter.Name.ToStd() + "' is named twice");
            }
            procedure->Parameters.push_back(parameter);
        } while (Match(TokenKind::Comma));
    }
    Expect(TokenKind::RightParen, "')' after the parameters");
    if (procedure->Parameters.size() > 255) Fail("a procedure takes at most 255 parameters");
    state.NextSlot = static_cast<unsigned>(procedure->Parameters.size());
    procedure->SlotCount = state.NextSlot;
    ParseBlock();
    if (!Failed && !Check(TokenKind::EndProc)) {
        // At the outermost block, an end keyword has no block to close.
        const char* opener = Check(TokenKind::EndIf) || Check(TokenKind::ElseIf) || Check(TokenKind::Else) ? "if"
                             : Check(TokenKind::EndWhile)                                                 ? "while"
                             : Check(TokenKind::Next)                                                     ? "for"
                                                                                                          : nullptr;
        if (opener != nullptr) {
            Fail(Found() + " without an open '" + opener + "'");
        } else {
            Fail("expected 'endproc' to close 'proc " + name + "' of line " + std::to_string(line) + ", found " +
                 Found());
        }
    }
    Advance();
    Emit(Opcode::Return);
    EndFunction();
    Function = outer;
    ExpectStatementEnd();
}

// parameter := [ "ref" ] [ type ] NAME          (no type: var)
bool Parser::ParseParameter(Parameter& parameter) {
    parameter.IsRef = Match(TokenKind::Ref);
    if (IsTypeStart() && !ParseType(parameter.Type)) return false;
    if (!Check(TokenKind::Name)) {
        Fail("expected a parameter name, found " + Found());
        return false;
    }
    parameter.Name = NyxString(Current.Text);
    Advance();
    return true;
}

bool Parser::IsTypeStart() const {
    switch (Current.Kind) {
        case TokenKind::TypeVar: case TokenKind::TypeInt: case TokenKind::TypeDouble: case TokenKind::TypeFloat:
        case TokenKind::TypeChar: case TokenKind::TypeBool: case TokenKind::TypeString:
            return true;
        // "map" is a type only where a name follows it: elsewhere it stays an
        // ordinary name, as in the scripts written before maps came.
        case TokenKind::Name: return Current.Text == "map" && Peek.Kind == TokenKind::Name;
        default: return false;
    }
}

// type := ( "var" | "int" | "double" | "float" | "char" | "bool" | "string" | "map" ) [ "[" "]" ]
bool Parser::ParseType(DeclaredType& type) {
    StaticType base = StaticType::Any;
    switch (Current.Kind) {
        case TokenKind::TypeVar: base = StaticType::Any; break;
        case TokenKind::TypeInt: base = StaticType::Int; break;
        case TokenKind::TypeDouble: base = StaticType::Double; break;
        case TokenKind::TypeFloat: base = StaticType::Float; break;
        case TokenKind::TypeChar: base = StaticType::Char; break;
        case TokenKind::TypeBool: base = StaticType::Bool; break;
        case TokenKind::TypeString: base = StaticType::String; break;
        case TokenKind::Name:
            if (Current.Text == "map") {
                base = StaticType::Map;
                break;
            }
            [[fallthrough]];
        default:
            Fail("expected a type, found " + Found());
            return false;
    }
    Advance();
    type = DeclaredType{base, StaticType::Any};
    if (Check(TokenKind::LeftBracket)) {
        Advance();
        if (!Expect(TokenKind::RightBracket, "']' in an array type")) return false;
        type = DeclaredType{StaticType::Array, base};
    }
    return true;
}

// block := { statement }        ends before endproc, elseif, else, endif, endwhile, next
void Parser::ParseBlock() {
    if (!EnterNesting()) return;
    BeginScope();
    SkipSeparators();
    while (!Failed && !IsBlockEnd(Current.Kind) && !AtTryClause()) ParseStatement();
    EndScope();
    LeaveNesting();
}

// statement := ( declaration | context-declaration | if | while | for | try | break
//              | continue | return | print | name-statement ) separator
void Parser::ParseStatement() {
    switch (Current.Kind) {
        case TokenKind::Global:
        case TokenKind::Session: ParseContextDeclaration(); break;
        case TokenKind::If: ParseIf(); break;
        case TokenKind::While: ParseWhile(); break;
        case TokenKind::For: ParseFor(); break;
        case TokenKind::Break:
        case TokenKind::Continue: ParseBreakOrContinue(); break;
        case TokenKind::Return: ParseReturn(); break;
        case TokenKind::Print:
        case TokenKind::PrintLine: ParsePrint(); break;
        case TokenKind::Name:
            // "try" and "map" are words of the language only where they
            // begin a try block or a declaration; otherwise names.
            if (Current.Text == "try" && (Peek.Kind == TokenKind::Separator || Peek.Kind == TokenKind::End)) {
                ParseTry();
            } else if (IsTypeStart()) {
                ParseDeclaration();
            } else {
                ParseNameStatement();
            }
            break;
        case TokenKind::Proc: Fail("procedures cannot be nested: 'proc' inside a procedure"); return;
        default:
            if (IsTypeStart()) {
                ParseDeclaration();
                break;
            }
            Fail("expected a statement, found " + Found());
            return;
    }
    ExpectStatementEnd();
}

// declaration := type NAME [ "=" expression ] { "," NAME [ "=" expression ] }
void Parser::ParseDeclaration() {
    DeclaredType type;
    if (!ParseType(type)) return;
    do {
        if (!Check(TokenKind::Name)) {
            Fail("expected a name after '" + DeclaredTypeName(type).ToStd() + "', found " +
                 Found());
            return;
        }
        const std::string name(Current.Text);
        Advance();
        ExprInfo value;
        if (Match(TokenKind::Assign)) {
            value = ParseExpression();
        } else if (type.Base == StaticType::Any) {
            Fail("'var " + name + "' needs a value: var " + name + " = ...");
            return;
        } else {
            value = ExprInfo{type.Base};
            switch (type.Base) {
                case StaticType::Int: Emit(Opcode::PushInt, 0); break;
                case StaticType::Bool: Emit(Opcode::PushBool, 0); break;
                case StaticType::String: EmitConstantString(""); break;
                case StaticType::Array: Emit(Opcode::MakeArray, 0, type.Pack()); break;
                case StaticType::Map: Emit(Opcode::MakeMap, 0); break;
                default: Emit(Opcode::PushInt, 0); value.Type = StaticType::Int; break;  // converted on store
            }
        }
        // Declared after its value, so that `int x = x` reads the x outside.
        unsigned slot = 0;
        if (!DeclareLocal(name, type, slot)) return;
        EmitStoreLocal(slot, type, value.Type, true);
    } while (Match(TokenKind::Comma));
}

// context-declaration := ( "global" | "session" ) type NAME [ "=" expression ]
void Parser::ParseContextDeclaration() {
    const bool isSession = Check(TokenKind::Session);
    const char* keyword = isSession ? "session" : "global";
    Advance();
    DeclaredType type;
    if (!ParseType(type)) return;
    if (!Check(TokenKind::Name)) {
        Fail(std::string("expected a name in the '") + keyword + "' declaration, found " +
             Found());
        return;
    }
    const std::string name(Current.Text);
    Advance();
    const ResolvedName resolved = Resolve(name, false);
    if (resolved.Kind != NameKind::Context) {
        Fail("'" + name + "' is a local variable or parameter here; it cannot be declared " + keyword);
        return;
    }
    if (Match(TokenKind::Assign)) {
        ParseExpression();
    } else if (type.Base == StaticType::Any) {
        Fail(std::string("'") + keyword + " var " + name + "' needs a value");
        return;
    } else if (type.Base == StaticType::Array) {
        Emit(Opcode::MakeArray, 0, type.Pack());
    } else if (type.Base == StaticType::String) {
        EmitConstantString("");
    } else {
        Emit(Opcode::PushInt, 0);  // converted to the declared type
    }
    Emit(isSession ? Opcode::DeclareSession : Opcode::DeclareGlobal, static_cast<int32_t>(resolved.Site), type.Pack());
}

// if := "if" expression block { "elseif" expression block } [ "else" block ] "endif"
void Parser::ParseIf() {
    const unsigned line = Current.Line;
    Advance();
    ParseExpression();
    std::size_t skip = EmitJump(Opcode::JumpIfFalse);
    ParseBlock();
    std::vector<std::size_t> exits;
    while (Check(TokenKind::ElseIf)) {
        exits.push_back(EmitJump(Opcode::Jump));
        PatchJump(skip);
        Advance();
        ParseExpression();
        skip = EmitJump(Opcode::JumpIfFalse);
        ParseBlock();
    }
    if (Check(TokenKind::Else)) {
        Advance();
        exits.push_back(EmitJump(Opcode::Jump));
        PatchJump(skip);
        skip = kNoTarget;
        ParseBlock();
    }
    if (skip != kNoTarget) PatchJump(skip);
    for (std::size_t exit : exits) PatchJump(exit);
    if (!Failed && !Check(TokenKind::EndIf)) {
        Fail("expected 'endif' to close 'if' of line " + std::to_string(line) + ", found " +
             Found());
    }
    Advance();
}

// while := "while" expression block "endwhile"
void Parser::ParseWhile() {
    const unsigned line = Current.Line;
    Advance();
    const std::size_t start = CodeSize();
    MarkJumpTarget();
    ParseExpression();
    const std::size_t exit = EmitJump(Opcode::JumpIfFalse);
    Function->Loops.push_back(LoopState{{}, {}, Function->ScopeDepth, Function->TryDepth});
    ParseBlock();
    if (!Failed && !Check(TokenKind::EndWhile)) {
        Fail("expected 'endwhile' to close 'while' of line " + std::to_string(line) + ", found " +
             Found());
    }
    Advance();
    LoopState loop = std::move(Function->Loops.back());
    Function->Loops.pop_back();
    const std::size_t back = CodeSize();
    EmitLoop(start);
    for (std::size_t jump : loop.ContinueJumps) PatchJumpTo(jump, back);
    PatchJump(exit);
    for (std::size_t jump : loop.BreakJumps) PatchJump(jump);
}

// for := "for" NAME "=" expression "to" expression [ "step" expression ] block "next" [ NAME ]
// The loop declares its counter, local to the loop, unless a local or
// parameter of that name exists; limit and step are worked out once, before
// the first pass.
void Parser::ParseFor() {
    const unsigned line = Current.Line;
    Advance();
    // "each" is a name like any other, unless a name follows it.
    if (Check(TokenKind::Name) && Current.Text == "each" && Peek.Kind == TokenKind::Name) {
        ParseForEach(line);
        return;
    }
    if (!Check(TokenKind::Name)) {
        Fail("expected the counter's name after 'for', found " + Found());
        return;
    }
    const std::string name(Current.Text);
    Advance();
    Expect(TokenKind::Assign, "'=' after the counter of 'for'");
    // A local or parameter of that name is the counter itself: the loop
    // counts in a hidden slot and hands each pass's value to it.
    const bool existing = IsLocalOrParameter(name);
    ResolvedName variable;
    if (existing) variable = Resolve(name, false);
    const ExprInfo start = ParseExpression();
    BeginScope();
    const StaticType counterType =
        start.Type == StaticType::Int || start.Type == StaticType::Double ? start.Type
        : start.Type == StaticType::Float                                  ? StaticType::Double
                                                                           : StaticType::Any;
    unsigned counter = 0;
    if (existing) {
        counter = AddHiddenSlot();
    } else if (!DeclareLocal(name, DeclaredType{counterType, StaticType::Any}, counter)) {
        EndScope();
        return;
    }
    EmitStoreLocal(counter, DeclaredType{counterType, StaticType::Any}, start.Type, true);
    const unsigned limitSlot = AddHiddenSlot();
    const unsigned stepSlot = AddHiddenSlot();
    Expect(TokenKind::To, "'to' in 'for'");
    const ExprInfo limit = ParseExpression();
    Emit(Opcode::StoreLocal, static_cast<int32_t>(limitSlot));
    ExprInfo step{StaticType::Int, true, 1};
    if (Match(TokenKind::Step)) {
        step = ParseExpression();
    } else {
        Emit(Opcode::PushInt, 1);
    }
    Emit(Opcode::StoreLocal, static_cast<int32_t>(stepSlot));
    if (!Failed && (limitSlot != counter + 1 || stepSlot != counter + 2)) Fail("internal: loop slots apart");
    const bool allInts = !existing && counterType == StaticType::Int && limit.Type == StaticType::Int && step.Type == StaticType::Int;
    const std::size_t prepare = Emit(allInts ? Opcode::ForPrepInt : Opcode::ForPrep, 0, static_cast<uint16_t>(counter));
    const std::size_t body = CodeSize();
    MarkJumpTarget();
    if (existing) {
        Emit(Opcode::LoadLocal, static_cast<int32_t>(counter));
        EmitStore(variable);
    }
    Function->Loops.push_back(LoopState{{}, {}, Function->ScopeDepth, Function->TryDepth});
    ParseBlock();
    LoopState loop = std::move(Function->Loops.back());
    Function->Loops.pop_back();
    for (std::size_t jump : loop.ContinueJumps) PatchJump(jump);
    MarkJumpTarget();
    if (existing) {
        // What the body did to the variable steers the passes, as it does a
        // counter the loop declared.
        EmitLoad(variable);
        Emit(Opcode::StoreLocal, static_cast<int32_t>(counter));
    }
    const std::size_t next = Emit(allInts ? Opcode::ForNextInt : Opcode::ForNext, 0, static_cast<uint16_t>(counter));
    PatchJumpTo(next, body);
    PatchJump(prepare);
    for (std::size_t jump : loop.BreakJumps) PatchJump(jump);
    if (!Failed && !Check(TokenKind::Next)) {
        Fail("expected 'next' to close 'for' of line " + std::to_string(line) + ", found " +
             Found());
    }
    Advance();
    if (Check(TokenKind::Name)) {
        if (Current.Text != name) Fail("'next " + std::string(Current.Text) + "' does not match 'for " + name + "'");
        Advance();
    }
    EndScope();
}

// for-each := "for" "each" NAME [ "," NAME ] "in" expression block "next" [ NAME ]
// The items of an array (or the characters of a string), or with two names
// the position and the item; for a map its keys and values. The container is
// taken once, before the first pass: changing the variable inside the loop
// does not change the passes. Names that are not locals or parameters yet
// are declared, local to the loop.
void Parser::ParseForEach(unsigned line) {
    Advance();  // each
    std::vector<std::string> names;
    do {
        if (!Check(TokenKind::Name)) {
            Fail("expected a name in 'for each', found " + Found());
            return;
        }
        names.emplace_back(Current.Text);
        Advance();
    } while (names.size() < 2 && Match(TokenKind::Comma));
    if (!Check(TokenKind::Name) || Current.Text != "in") {
        Fail("expected 'in' after the names of 'for each', found " + Found());
        return;
    }
    Advance();
    BeginScope();
    const unsigned container = AddHiddenSlot();
    const unsigned position = AddHiddenSlot();
    if (!Failed && position != container + 1) Fail("internal: loop slots apart");
    ParseExpression();
    Emit(Opcode::StoreLocal, static_cast<int32_t>(container));
    Emit(Opcode::PushInt, 0);
    Emit(Opcode::StoreLocal, static_cast<int32_t>(position));
    std::vector<ResolvedName> targets;
    for (const std::string& name : names) {
        ResolvedName target;
        if (IsLocalOrParameter(name)) {
            target = Resolve(name, false);
        } else {
            target.Kind = NameKind::Local;
            if (!DeclareLocal(name, DeclaredType{}, target.Slot)) {
                EndScope();
                return;
            }
        }
        targets.push_back(target);
    }
    const std::size_t top = CodeSize();
    MarkJumpTarget();
    const std::size_t exit = Emit(names.size() == 2 ? Opcode::ForEachPair : Opcode::ForEach, 0,
                                  static_cast<uint16_t>(container));
    // The item is on top, under it the key.
    for (auto target = targets.rbegin(); target != targets.rend(); ++target) EmitStore(*target);
    Function->Loops.push_back(LoopState{{}, {}, Function->ScopeDepth, Function->TryDepth});
    ParseBlock();
    LoopState loop = std::move(Function->Loops.back());
    Function->Loops.pop_back();
    for (std::size_t jump : loop.ContinueJumps) PatchJumpTo(jump, top);
    EmitLoop(top);
    PatchJump(exit);
    for (std::size_t jump : loop.BreakJumps) PatchJump(jump);
    if (!Failed && !Check(TokenKind::Next)) {
        Fail("expected 'next' to close 'for each' of line " + std::to_string(line) + ", found " + Found());
    }
    Advance();
    if (Check(TokenKind::Name)) {
        if (Current.Text != names.back() && Current.Text != names.front()) {
            Fail("'next " + std::string(Current.Text) + "' does not match 'for each " + names.front() + "'");
        }
        Advance();
    }
    EndScope();
}

// Whether the statement at hand is the "catch" or "endtry" of an open try
// block, which ends the block before it. Both are names elsewhere.
bool Parser::AtTryClause() const {
    return Function->OpenTries > 0 && Current.Kind == TokenKind::Name &&
           (Current.Text == "catch" || Current.Text == "endtry");
}

bool Parser::CheckWord(std::string_view word) const { return Current.Kind == TokenKind::Name && Current.Text == word; }

// try := "try" block "catch" NAME block "endtry"
// A runtime failure in the first block goes on in the second, with its
// message in NAME, a string local to that block. The machine keeps a handler
// from TryBegin to TryEnd; the request's limits are never caught.
void Parser::ParseTry() {
    const unsigned line = Current.Line;
    Advance();
    const std::size_t begin = Emit(Opcode::TryBegin);
    ++Function->TryDepth;
    ++Function->OpenTries;
    ParseBlock();
    --Function->TryDepth;
    if (Failed) return;
    if (!CheckWord("catch")) {
        Fail("expected 'catch' in 'try' of line " + std::to_string(line) + ", found " + Found());
        return;
    }
    Advance();
    Emit(Opcode::TryEnd);
    const std::size_t skip = EmitJump(Opcode::Jump);
    if (!Check(TokenKind::Name)) {
        Fail("expected a name for the message after 'catch', found " + Found());
        return;
    }
    const std::string name(Current.Text);
    Advance();
    BeginScope();
    unsigned slot = 0;
    if (!DeclareLocal(name, DeclaredType{StaticType::String, StaticType::Any}, slot)) return;
    if (slot > 0xFFFF) {
        Fail("too many local variables for 'catch " + name + "'");
        return;
    }
    PatchJumpTo(begin, CodeSize());
    Function->Proc->Code[begin].B = static_cast<uint16_t>(slot);
    MarkJumpTarget();
    ParseBlock();
    EndScope();
    if (Failed) return;
    if (!CheckWord("endtry")) {
        Fail("expected 'endtry' to close 'try' of line " + std::to_string(line) + ", found " + Found());
        return;
    }
    Advance();
    --Function->OpenTries;
    PatchJump(skip);
}

// break := "break"        continue := "continue"
// A jump out of try blocks first ends their handlers.
void Parser::ParseBreakOrContinue() {
    const bool isBreak = Check(TokenKind::Break);
    Advance();
    if (Function->Loops.empty()) {
        Fail(std::string("'") + (isBreak ? "break" : "continue") + "' outside a loop");
        return;
    }
    LoopState& loop = Function->Loops.back();
    for (unsigned i = loop.TryDepth; i < Function->TryDepth; ++i) Emit(Opcode::TryEnd);
    (isBreak ? loop.BreakJumps : loop.ContinueJumps).push_back(EmitJump(Opcode::Jump));
}

// return := "return" [ expression ]
void Parser::ParseReturn() {
    Advance();
    if (Function->IsInitializer) {
        Fail("'return' outside a procedure");
        return;
    }
    if (Check(TokenKind::Separator) || IsBlockEnd(Current.Kind)) {
        Emit(Opcode::Return);
        return;
    }
    ParseExpression();
    Emit(Opcode::ReturnValue);
}

// print := ( "print" | "println" ) [ expression { "," expression } ]
void Parser::ParsePrint() {
    const bool addLineEnd = Check(TokenKind::PrintLine);
    Advance();
    if (!Check(TokenKind::Separator) && !IsBlockEnd(Current.Kind)) {
        do {
            ParseExpression();
            Emit(Opcode::Print);
        } while (Match(TokenKind::Comma));
    }
    if (addLineEnd) Emit(Opcode::PrintLine);
}

// name-statement := NAME assign-operator expression
//                 | NAME "[" expression "]" { "[" expression "]" } assign-operator expression
//                 | NAME "(" [ arguments ] ")"
//                 | NAME [ arguments ]                       (a call without parentheses)
void Parser::ParseNameStatement() {
    const std::string name(Current.Text);
    const TokenKind next = Peek.Kind;
    if (IsAssignOperator(next)) {
        Advance();
        ParseAssignment(Resolve(name, false), name);
        return;
    }
    if (next == TokenKind::LeftBracket) {
        Advance();  // the name: the index assignment begins at '['
        ParseIndexAssignment(Resolve(name, true), name);
        return;
    }
    if (IsSlotName(name)) {
        Advance();
        Fail("expected '=' after '" + name + "', found " + Found());
        return;
    }
    Advance();
    if (Check(TokenKind::Name) && Peek.Kind == TokenKind::Assign) {
        Fail("'" + name + "' is not a type; a declaration begins with var, int, double, float, char, bool, string or map");
        return;
    }
    const bool hasParentheses = Check(TokenKind::LeftParen);
    if (!hasParentheses && !StartsExpression(Current.Kind) && !Check(TokenKind::Separator) &&
        !IsBlockEnd(Current.Kind)) {
        Fail("expected '=', '(' or arguments after '" + name + "', found " + Found());
        return;
    }
    ParseCall(name, false, hasParentheses);
    Emit(Opcode::Pop);
}

// assignment := NAME ( "=" | "+=" | "-=" | "*=" | "/=" | "%=" ) expression
// `x = x + a + b`, where nothing else on the right reads or can change x, is
// compiled as x += a; x += b, so that a string grows in place.
void Parser::ParseAssignment(const ResolvedName& target, std::string_view name) {
    const TokenKind op = Current.Kind;
    const unsigned line = Current.Line;
    if (op == TokenKind::Assign && IsAppendChain(name)) {
        Advance();  // =
        Advance();  // x
        do {
            Advance();  // +
            ParseMultiplicative();
            switch (target.Kind) {
                case NameKind::Local: Emit(Opcode::AppendLocal, static_cast<int32_t>(target.Slot), target.Type.Pack()); break;
                case NameKind::Argument: Emit(Opcode::AppendArg, static_cast<int32_t>(target.Slot), target.Type.Pack()); break;
                case NameKind::Context: Emit(Opcode::AppendName, static_cast<int32_t>(target.Site)); break;
            }
        } while (Check(TokenKind::Plus));
        return;
    }
    Advance();
    if (op == TokenKind::Assign) {
        const ExprInfo value = ParseExpression();
        if (target.Kind == NameKind::Local) EmitStoreLocal(target.Slot, target.Type, value.Type, false);
        else EmitStore(target);
        return;
    }
    if (op == TokenKind::PlusAssign) {
        ParseExpression();
        switch (target.Kind) {
            case NameKind::Local: Emit(Opcode::AppendLocal, static_cast<int32_t>(target.Slot), target.Type.Pack()); break;
            case NameKind::Argument: Emit(Opcode::AppendArg, static_cast<int32_t>(target.Slot), target.Type.Pack()); break;
            case NameKind::Context: Emit(Opcode::AppendName, static_cast<int32_t>(target.Site)); break;
        }
        return;
    }
    // x op= v reads x first, so x must exist.
    EmitLoad(target);
    const ExprInfo left{target.Kind == NameKind::Context ? StaticType::Any : target.Type.Base};
    const ExprInfo right = ParseExpression();
    const ExprInfo result = EmitBinary(OperatorOf(op), left, right, line);
    if (target.Kind == NameKind::Local) EmitStoreLocal(target.Slot, target.Type, result.Type, false);
    else EmitStore(target);
}

// index-assignment := NAME "[" expression "]" { "[" expression "]" } assign-operator expression
// One index has instructions of its own; a path of several takes each index
// into a hidden slot, so that `+=` and the like can read the item first.
void Parser::ParseIndexAssignment(const ResolvedName& target, std::string_view name) {
    BeginScope();
    std::vector<unsigned> indices;
    while (Match(TokenKind::LeftBracket)) {
        indices.push_back(AddHiddenSlot());
        ParseExpression();
        Expect(TokenKind::RightBracket, "']' after the index");
        if (Failed) break;
        if (Check(TokenKind::LeftBracket) || indices.size() > 1) {
            Emit(Opcode::StoreLocal, static_cast<int32_t>(indices.back()));
        }
        if (indices.size() > 255) {
            Fail("an assignment takes at most 255 indices");
            break;
        }
    }
    if (Failed) {
        EndScope();
        return;
    }
    if (!IsAssignOperator(Current.Kind)) {
        Fail("expected '=' after '" + std::string(name) + "[...]', found " + Found());
        EndScope();
        return;
    }
    const TokenKind op = Current.Kind;
    const unsigned line = Current.Line;
    Advance();
    const bool path = indices.size() > 1;
    if (path) {
        for (unsigned index : indices) Emit(Opcode::LoadLocal, static_cast<int32_t>(index));
    }
    if (op == TokenKind::Assign) {
        ParseExpression();
    } else {
        // The item as it is now: the container, then each index in turn.
        if (!path) {
            Emit(Opcode::StoreLocal, static_cast<int32_t>(indices[0]));
            Emit(Opcode::LoadLocal, static_cast<int32_t>(indices[0]));
        }
        if (target.Kind == NameKind::Context) {
            Emit(Opcode::LoadLocal, static_cast<int32_t>(indices[0]));
            Emit(Opcode::IndexName, static_cast<int32_t>(target.Site));
        } else {
            EmitLoad(target);
            Emit(Opcode::LoadLocal, static_cast<int32_t>(indices[0]));
            Emit(Opcode::Index);
        }
        for (std::size_t i = 1; i < indices.size(); ++i) {
            Emit(Opcode::LoadLocal, static_cast<int32_t>(indices[i]));
            Emit(Opcode::Index);
        }
        const ExprInfo right = ParseExpression();
        EmitBinary(OperatorOf(op), ExprInfo{}, right, line);
    }
    const auto count = static_cast<uint16_t>(indices.size());
    switch (target.Kind) {
        case NameKind::Local:
            if (path) Emit(Opcode::SetPathLocal, static_cast<int32_t>(target.Slot), count);
            else Emit(Opcode::SetIndexLocal, static_cast<int32_t>(target.Slot));
            break;
        case NameKind::Argument:
            if (path) Emit(Opcode::SetPathArg, static_cast<int32_t>(target.Slot), count);
            else Emit(Opcode::SetIndexArg, static_cast<int32_t>(target.Slot), target.Type.Pack());
            break;
        case NameKind::Context:
            if (path) Emit(Opcode::SetPathName, static_cast<int32_t>(target.Site), count);
            else Emit(Opcode::SetIndexName, static_cast<int32_t>(target.Site));
            break;
    }
    EndScope();
}

// Looks ahead, without consuming, whether the right side of `name = ...` is
// `name + a + b ...` where a, b... neither mention name nor call a procedure
// and no operator weaker than + stands outside parentheses.
bool Parser::IsAppendChain(std::string_view name) const {
    if (Peek.Kind != TokenKind::Name || Peek.Text != name) return false;
    Lexer scout = Lex;
    if (scout.NextToken().Kind != TokenKind::Plus) return false;
    int depth = 0;
    TokenKind last = TokenKind::Plus;
    std::string_view lastText;
    for (std::size_t guard = 0; guard <= Text.size(); ++guard) {
        const Token token = scout.NextToken();
        switch (token.Kind) {
            case TokenKind::End: return depth == 0;
            case TokenKind::Separator:
                if (token.Text != ";" || depth == 0) return depth == 0;
                break;
            case TokenKind::Error: return false;
            case TokenKind::Name:
                if (token.Text == name) return false;
                break;
            case TokenKind::LeftParen:
                if (last == TokenKind::Name && FindBuiltin(lastText, nullptr) == nullptr) return false;
                ++depth;
                break;
            case TokenKind::LeftBracket: case TokenKind::LeftBrace: ++depth; break;
            case TokenKind::RightParen:
            case TokenKind::RightBracket:
            case TokenKind::RightBrace:
                if (--depth < 0) return false;
                break;
            case TokenKind::Minus: case TokenKind::Equal: case TokenKind::NotEqual: case TokenKind::Less:
            case TokenKind::LessEqual: case TokenKind::Greater: case TokenKind::GreaterEqual:
            case TokenKind::AndAnd: case TokenKind::OrOr:
                // A leading minus of an operand (after + or an opening) is unary and harmless.
                if (depth == 0 && !(token.Kind == TokenKind::Minus && last == TokenKind::Plus)) return false;
                break;
            default:
                if (IsBlockEnd(token.Kind)) return depth == 0;
                break;
        }
        last = token.Kind;
        lastText = token.Text;
    }
    return false;
}

}  // namespace quince
