// Parser: the rules of expressions, lowest precedence first.
#include "quince/Engine.h"
#include "quince/Library.h"
#include "quince/Parser.h"

namespace quince {

namespace {

bool IsNumeric(StaticType type) {
    return type == StaticType::Int || type == StaticType::Bool || type == StaticType::Char ||
           type == StaticType::Float || type == StaticType::Double;
}

// The static type of an arithmetic result, as the VM's promotion rules give it.
StaticType Promote(StaticType left, StaticType right) {
    if (!IsNumeric(left) || !IsNumeric(right)) return StaticType::Any;
    if (left == StaticType::Double || right == StaticType::Double) return StaticType::Double;
    if (left == StaticType::Float || right == StaticType::Float) return StaticType::Float;
    return StaticType::Int;
}

}  // namespace

// expression := or-expression
ExprInfo Parser::ParseExpression() {
    if (!EnterNesting()) return {};
    const ExprInfo info = ParseOr();
    LeaveNesting();
    return info;
}

// or-expression := and-expression { "||" and-expression }
ExprInfo Parser::ParseOr() {
    const ExprInfo left = ParseAnd();
    if (!Check(TokenKind::OrOr)) return left;
    std::vector<std::size_t> shortCuts;
    while (Match(TokenKind::OrOr)) {
        shortCuts.push_back(EmitJump(Opcode::JumpIfTrueKeep));
        ParseAnd();
    }
    Emit(Opcode::ToBool);
    for (std::size_t jump : shortCuts) PatchJump(jump);
    return ExprInfo{StaticType::Bool};
}

// and-expression := comparison { "&&" comparison }
ExprInfo Parser::ParseAnd() {
    const ExprInfo left = ParseComparison();
    if (!Check(TokenKind::AndAnd)) return left;
    std::vector<std::size_t> shortCuts;
    while (Match(TokenKind::AndAnd)) {
        shortCuts.push_back(EmitJump(Opcode::JumpIfFalseKeep));
        ParseComparison();
    }
    Emit(Opcode::ToBool);
    for (std::size_t jump : shortCuts) PatchJump(jump);
    return ExprInfo{StaticType::Bool};
}

// comparison := additive { ( "==" | "!=" | "<" | "<=" | ">" | ">=" ) additive }
ExprInfo Parser::ParseComparison() {
    ExprInfo left = ParseAdditive();
    while (true) {
        const TokenKind op = Current.Kind;
        if (op != TokenKind::Equal && op != TokenKind::NotEqual && op != TokenKind::Less &&
            op != TokenKind::LessEqual && op != TokenKind::Greater && op != TokenKind::GreaterEqual) {
            return left;
        }
        const unsigned line = Current.Line;
        Advance();
        const ExprInfo right = ParseAdditive();
        left = EmitBinary(op, left, right, line);
    }
}

// additive := multiplicative { ( "+" | "-" ) multiplicative }
ExprInfo Parser::ParseAdditive() {
    ExprInfo left = ParseMultiplicative();
    while (Check(TokenKind::Plus) || Check(TokenKind::Minus)) {
        const TokenKind op = Current.Kind;
        const unsigned line = Current.Line;
        Advance();
        const ExprInfo right = ParseMultiplicative();
        left = EmitBinary(op, left, right, line);
    }
    return left;
}

// multiplicative := unary { ( "*" | "/" | "%" ) unary }
ExprInfo Parser::ParseMultiplicative() {
    ExprInfo left = ParseUnary();
    while (Check(TokenKind::Star) || Check(TokenKind::Slash) || Check(TokenKind::Percent)) {
        const TokenKind op = Current.Kind;
        const unsigned line = Current.Line;
        Advance();
        const ExprInfo right = ParseUnary();
        left = EmitBinary(op, left, right, line);
    }
    return left;
}

// unary := ( "-" | "!" ) unary | postfix
// A number right behind "-" takes the sign itself, so -2147483648 is an int.
ExprInfo Parser::ParseUnary() {
    if (!Check(TokenKind::Minus) && !Check(TokenKind::Bang)) return ParsePostfix();
    if (!EnterNesting()) return {};
    const TokenKind op = Current.Kind;
    const unsigned line = Current.Line;
    Advance();
    ExprInfo result;
    if (op == TokenKind::Minus && Check(TokenKind::Integer) && Peek.Kind != TokenKind::LeftBracket) {
        const int32_t value = static_cast<int32_t>(0u - static_cast<uint32_t>(Current.IntValue));
        Advance();
        Emit(Opcode::PushInt, value);
        result = ExprInfo{StaticType::Int, true, value};
    } else if (op == TokenKind::Minus && (Check(TokenKind::Double) || Check(TokenKind::Float)) &&
               Peek.Kind != TokenKind::LeftBracket) {
        const bool isFloat = Check(TokenKind::Float);
        const double value = -Current.DoubleValue;
        Advance();
        EmitConstant(isFloat ? Value::MakeFloat(static_cast<float>(value)) : Value::MakeDouble(value));
        result = ExprInfo{isFloat ? StaticType::Float : StaticType::Double};
    } else {
        const ExprInfo operand = ParseUnary();
        if (op == TokenKind::Minus) {
            Emit(Opcode::Negate);
            result = ExprInfo{IsNumeric(operand.Type) ? Promote(operand.Type, operand.Type) : StaticType::Any};
        } else {
            Emit(Opcode::Not);
            result = ExprInfo{StaticType::Bool};
        }
        Function->Proc->Lines.back() = line;
    }
    LeaveNesting();
    return result;
}

// postfix := primary { "[" expression "]" }
ExprInfo Parser::ParsePostfix() {
    ExprInfo info = ParsePrimary();
    while (Check(TokenKind::LeftBracket)) {
        const unsigned line = Current.Line;
        Advance();
        ParseExpression();
        Expect(TokenKind::RightBracket, "']' after the index");
        Emit(Opcode::Index);
        Function->Proc->Lines.back() = line;
        info = ExprInfo{info.Type == StaticType::String ? StaticType::Char : StaticType::Any};
    }
    return info;
}

// primary := INTEGER | DOUBLE | FLOAT | STRING | CHAR | "true" | "false"
//          | name-expression | conversion | "(" expression ")" | array-literal
ExprInfo Parser::ParsePrimary() {
    switch (Current.Kind) {
        case TokenKind::Integer: {
            const int32_t value = Current.IntValue;
            Advance();
            Emit(Opcode::PushInt, value);
            return ExprInfo{StaticType::Int, true, value};
        }
        case TokenKind::Double:
            Advance();
            EmitConstant(Value::MakeDouble(Previous.DoubleValue));
            return ExprInfo{StaticType::Double};
        case TokenKind::Float:
            Advance();
            EmitConstant(Value::MakeFloat(static_cast<float>(Previous.DoubleValue)));
            return ExprInfo{StaticType::Float};
        case TokenKind::String:
            Advance();
            EmitConstantString(Previous.StringValue);
            return ExprInfo{StaticType::String};
        case TokenKind::Char:
            Advance();
            EmitConstant(Value::MakeChar(static_cast<char>(Previous.IntValue)));
            return ExprInfo{StaticType::Char};
        case TokenKind::True:
        case TokenKind::False:
            Advance();
            Emit(Opcode::PushBool, Previous.Kind == TokenKind::True ? 1 : 0);
            return ExprInfo{StaticType::Bool};
        case TokenKind::LeftParen: {
            const unsigned line = Current.Line;
            Advance();
            const ExprInfo info = ParseExpression();
            if (!Failed && !Check(TokenKind::RightParen)) {
                Fail("expected ')' to close '(' of line " + std::to_string(line) + ", found " + Found());
            }
            Advance();
            return info;
        }
        case TokenKind::LeftBracket: return ParseArrayLiteral();
        case TokenKind::LeftBrace: return ParseMapLiteral();
        case TokenKind::Name: return ParseNameExpression();
        case TokenKind::TypeInt: case TokenKind::TypeDouble: case TokenKind::TypeFloat:
        case TokenKind::TypeChar: case TokenKind::TypeBool: case TokenKind::TypeString:
            return ParseConversion();
        default:
            Fail("expected an expression, found " + Found());
            return {};
    }
}

// array-literal := "[" [ expression { "," expression } ] "]"
ExprInfo Parser::ParseArrayLiteral() {
    Advance();
    int32_t count = 0;
    StaticType element = StaticType::None;
    if (!Check(TokenKind::RightBracket)) {
        do {
            const ExprInfo item = ParseExpression();
            if (element == StaticType::None) element = item.Type;
            else if (element != item.Type) element = StaticType::Any;
            ++count;
        } while (Match(TokenKind::Comma) && !Failed);
    }
    Expect(TokenKind::RightBracket, "']' to close the array");
    // An array of arrays stays a mixed array; only scalar items give a typed one.
    if (element == StaticType::None || element == StaticType::Array) element = StaticType::Any;
    Emit(Opcode::MakeArray, count, DeclaredType{StaticType::Array, element}.Pack());
    return ExprInfo{StaticType::Array};
}

// map-literal := "{" [ expression ":" expression { "," expression ":" expression } ] "}"
ExprInfo Parser::ParseMapLiteral() {
    Advance();
    int32_t count = 0;
    if (!Check(TokenKind::RightBrace)) {
        do {
            ParseExpression();
            Expect(TokenKind::Colon, "':' between a key and its value");
            ParseExpression();
            ++count;
        } while (Match(TokenKind::Comma) && !Failed);
    }
    Expect(TokenKind::RightBrace, "'}' to close the map");
    Emit(Opcode::MakeMap, count);
    return ExprInfo{StaticType::Map};
}

// conversion := ( "int" | "double" | "float" | "char" | "bool" | "string" ) "(" expression ")"
ExprInfo Parser::ParseConversion() {
    const std::string name(Current.Text);
    Advance();
    if (!Check(TokenKind::LeftParen)) {
        Fail("expected '(' after '" + name + "' in an expression (a declaration cannot stand here)");
        return {};
    }
    unsigned number = 0;
    const BuiltinFunction* function = FindBuiltin(name, &number);
    return ParseBuiltinCall(number, *function, true, true);
}

// name-expression := NAME | NAME "(" [ arguments ] ")" | NAME "[" expression "]"
ExprInfo Parser::ParseNameExpression() {
    const std::string name(Current.Text);
    if (Peek.Kind == TokenKind::LeftParen) {
        Advance();
        return ParseCall(name, true, true);
    }
    const ResolvedName resolved = Resolve(name, true);
    Advance();
    if (resolved.Kind == NameKind::Context && Check(TokenKind::LeftBracket)) {
        // An item of a page variable, without copying the whole array first.
        const unsigned line = Current.Line;
        Advance();
        ParseExpression();
        Expect(TokenKind::RightBracket, "']' after the index");
        Emit(Opcode::IndexName, static_cast<int32_t>(resolved.Site));
        Function->Proc->Lines.back() = line;
        return ExprInfo{};
    }
    EmitLoad(resolved);
    if (resolved.Kind == NameKind::Context) return ExprInfo{};
    return ExprInfo{resolved.Type.Base};
}

// call := NAME "(" [ arguments ] ")" | NAME [ arguments ]     (the second only as a statement)
// Current is the token behind NAME.
ExprInfo Parser::ParseCall(std::string_view name, bool resultUsed, bool hasParentheses) {
    const unsigned line = Previous.Line;
    unsigned number = 0;
    if (const BuiltinFunction* builtin = FindBuiltin(name, &number)) {
        return ParseBuiltinCall(number, *builtin, resultUsed, hasParentheses);
    }
    Signature known;
    const Signature* signature = FindSignature(name, known) ? &known : nullptr;
    const unsigned site = AddCallSite(name);
    if (hasParentheses) Advance();
    const unsigned count = ParseProcedureArguments(signature, name, hasParentheses);
    if (hasParentheses) Expect(TokenKind::RightParen, "')' after the arguments");
    if (!Failed && signature != nullptr && count > signature->Parameters.size()) {
        FailAt(line, "'" + std::string(name) + "' takes " + std::to_string(signature->Parameters.size()) +
                         " argument" + (signature->Parameters.size() == 1 ? "" : "s") + ", given " +
                         std::to_string(count));
        return {};
    }
    Emit(Opcode::Call, static_cast<int32_t>(site), static_cast<uint16_t>(count | (resultUsed ? kResultUsedBit : 0)));
    Function->Proc->Lines.back() = line;
    return ExprInfo{};
}

bool Parser::AtArgumentsEnd(bool hasParentheses) const {
    if (hasParentheses) return Check(TokenKind::RightParen);
    switch (Current.Kind) {
        case TokenKind::Separator: case TokenKind::End: case TokenKind::EndProc: case TokenKind::ElseIf:
        case TokenKind::Else: case TokenKind::EndIf: case TokenKind::EndWhile: case TokenKind::Next:
            return true;
        default: return false;
    }
}

// A variable's name standing alone as an argument.
bool Parser::AtBareName() const {
    if (!Check(TokenKind::Name)) return false;
    switch (Peek.Kind) {
        case TokenKind::Comma: case TokenKind::RightParen: case TokenKind::Separator: case TokenKind::End:
            return true;
        default: return false;
    }
}

// arguments := argument { "," argument }
// argument := expression | NAME        (a bare name passes the variable itself to a ref parameter)
unsigned Parser::ParseProcedureArguments(const Signature* signature, std::string_view name, bool hasParentheses) {
    unsigned count = 0;
    if (AtArgumentsEnd(hasParentheses)) return 0;
    do {
        // Unknown callee (defined in a later script): a bare name goes by
        // reference, and the callee takes a copy unless its parameter is ref.
        const bool isRef = signature != nullptr
                               ? count < signature->Parameters.size() && signature->Parameters[count].IsRef
                               : AtBareName();
        if (isRef && AtBareName()) {
            const ResolvedName resolved = Resolve(Current.Text, true);
            Advance();
            EmitReference(resolved);
        } else if (isRef) {
            Fail("argument " + std::to_string(count + 1) + " of '" + std::string(name) + "' must be a variable: its parameter '" +
                 signature->Parameters[count].Name.ToStd() + "' is ref");
            return count;
        } else {
            ParseExpression();
        }
        if (++count > 255) {
            Fail("a call passes at most 255 arguments");
            return count;
        }
    } while (Match(TokenKind::Comma) && !Failed);
    return count;
}

ExprInfo Parser::ParseBuiltinCall(unsigned number, const BuiltinFunction& function, bool resultUsed,
                                  bool hasParentheses) {
    const unsigned line = Previous.Line;
    const std::string name(function.Name);
    if (resultUsed && function.Result == StaticType::None) {
        Fail("'" + name + "' gives no value");
        return {};
    }
    if (hasParentheses) Advance();
    unsigned count = 0;
    ResolvedName target;
    if (function.Form == BuiltinForm::NameTest) {
        if (!Check(TokenKind::Name)) {
            Fail("'" + name + "' takes a variable's name, found " + Found());
            return {};
        }
        if (IsSlotName(Current.Text)) Emit(Opcode::PushBool, 1);
        else Emit(Opcode::IsSet, static_cast<int32_t>(AddNameSite(Current.Text)));
        Advance();
        count = 1;
    } else if (function.Form == BuiltinForm::ChangesFirst) {
        if (!AtBareName()) {
            Fail("the first argument of '" + name + "' must be a variable's name");
            return {};
        }
        target = Resolve(Current.Text, true);
        Advance();
        count = 1;
        while (Match(TokenKind::Comma) && !Failed) {
            ParseExpression();
            ++count;
        }
        // Taken last, so that the other arguments still read the variable.
        EmitTake(target);
    } else if (!AtArgumentsEnd(hasParentheses)) {
        do {
            ParseExpression();
            ++count;
        } while (Match(TokenKind::Comma) && !Failed && count <= 255);
    }
    if (hasParentheses) Expect(TokenKind::RightParen, "')' after the arguments");
    if (Failed) return {};
    if (count < function.MinArguments || (function.MaxArguments != kVariadic && count > function.MaxArguments) ||
        count > 255) {
        std::string expected = std::to_string(function.MinArguments);
        if (function.MaxArguments == kVariadic) expected += " or more";
        else if (function.MaxArguments != function.MinArguments) expected += " to " + std::to_string(function.MaxArguments);
        const bool plural = function.MinArguments != 1 || function.MaxArguments != 1;
        FailAt(line, "'" + name + "' takes " + expected + " argument" + (plural ? "s" : "") + ", given " +
                         std::to_string(count));
        return {};
    }
    if (function.Form == BuiltinForm::ChangesFirst) {
        Emit(Opcode::CallBuiltinUpdate, static_cast<int32_t>(number), static_cast<uint16_t>(count));
        Function->Proc->Lines.back() = line;
        // Stored back before a failure of the function is raised, so that a
        // catch block finds the variable as the function left it.
        EmitStore(target);
        Emit(Opcode::RaisePending);
        Function->Proc->Lines.back() = line;
    } else if (function.Form == BuiltinForm::Plain) {
        Emit(Opcode::CallBuiltin, static_cast<int32_t>(number), static_cast<uint16_t>(count));
        Function->Proc->Lines.back() = line;
    }
    return ExprInfo{function.Result == StaticType::None ? StaticType::Any : function.Result};
}

// Chooses the instruction for a binary operator from what is known of both
// sides: the Int forms when both are ints, a constant operand folded in.
ExprInfo Parser::EmitBinary(TokenKind op, const ExprInfo& left, const ExprInfo& right, unsigned line) {
    const bool bothInts = left.Type == StaticType::Int && right.Type == StaticType::Int;
    Procedure& procedure = *Function->Proc;
    const bool foldable = bothInts && right.IsIntConstant && !procedure.Code.empty() &&
                          procedure.Code.back().Op == Opcode::PushInt && procedure.Code.back().A == right.IntConstant;
    auto fold = [&](Opcode op, int32_t constant) {
        procedure.Code.back() = Instruction{op, 0, constant};
        procedure.Lines.back() = line;
        --Function->StackDepth;
    };
    ExprInfo result{Promote(left.Type, right.Type)};
    Opcode code = Opcode::Add;
    switch (op) {
        case TokenKind::Plus:
            if (left.Type == StaticType::String || right.Type == StaticType::String) result.Type = StaticType::String;
            if (foldable) { fold(Opcode::AddIntConstant, right.IntConstant); return result; }
            code = bothInts ? Opcode::AddInt : Opcode::Add;
            break;
        case TokenKind::Minus:
            if (foldable) {
                fold(Opcode::AddIntConstant, static_cast<int32_t>(0u - static_cast<uint32_t>(right.IntConstant)));
                return result;
            }
            code = bothInts ? Opcode::SubtractInt : Opcode::Subtract;
            break;
        case TokenKind::Star:
            if (foldable) { fold(Opcode::MultiplyIntConstant, right.IntConstant); return result; }
            code = bothInts ? Opcode::MultiplyInt : Opcode::Multiply;
            break;
        case TokenKind::Slash: code = bothInts ? Opcode::DivideInt : Opcode::Divide; break;
        case TokenKind::Percent:
            if (foldable && right.IntConstant != 0) { fold(Opcode::ModuloIntConstant, right.IntConstant); return result; }
            code = bothInts ? Opcode::ModuloInt : Opcode::Modulo;
            break;
        case TokenKind::Equal: code = bothInts ? Opcode::EqualInt : Opcode::Equal; result.Type = StaticType::Bool; break;
        case TokenKind::NotEqual: code = bothInts ? Opcode::NotEqualInt : Opcode::NotEqual; result.Type = StaticType::Bool; break;
        case TokenKind::Less: code = bothInts ? Opcode::LessInt : Opcode::Less; result.Type = StaticType::Bool; break;
        case TokenKind::LessEqual: code = bothInts ? Opcode::LessEqualInt : Opcode::LessEqual; result.Type = StaticType::Bool; break;
        case TokenKind::Greater: code = bothInts ? Opcode::GreaterInt : Opcode::Greater; result.Type = StaticType::Bool; break;
        case TokenKind::GreaterEqual: code = bothInts ? Opcode::GreaterEqualInt : Opcode::GreaterEqual; result.Type = StaticType::Bool; break;
        default: break;
    }
    Emit(code);
    procedure.Lines.back() = line;
    return result;
}

}  // namespace quince
