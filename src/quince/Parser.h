// Parser: a one-pass compiler from Quince source to the VM's instructions, in
// the manner of a recursive-descent parser that emits code as it recognises
// each rule. One function per grammar rule, the rule in a comment above it:
// statements in ParseStatements.cpp, expressions in ParseExpressions.cpp,
// and tokens, scopes, names and emitting in Parser.cpp.
//
// Names resolve when compiling: locals and parameters become slots of the
// frame; every other name becomes a name site that the VM resolves in the
// context's lists (global, session, page) at run time.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "quince/Lexer.h"
#include "quince/Procedure.h"

namespace quince {

class Engine;
struct BuiltinFunction;

// What the parser knows of an expression whose code it has emitted.
struct ExprInfo {
    StaticType Type = StaticType::Any;
    bool IsIntConstant = false;  // the code is exactly one PushInt
    int32_t IntConstant = 0;
};

// The outcome of compiling a script text.
struct CompiledScript {
    std::vector<Procedure*> Procedures;  // new procedures; the receiver owns them
    Procedure* Initializer = nullptr;    // top-level global/session declarations, run once; may be null
};

// The outcome of compiling one expression.
struct CompiledExpression {
    Procedure* Code = nullptr;              // ends with ReturnValue; the receiver owns it
    std::vector<NyxString> RequiredNames;   // variables that must exist for the expression to compile
    std::vector<NyxString> RequiredCallees; // procedures or native functions that must exist
};

class Parser {
public:
    Parser(Engine& engine, std::string_view text, const NyxString& file, unsigned firstLine, unsigned maxDepth);
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    bool CompileScript(CompiledScript& result);
    bool CompileExpression(CompiledExpression& result);

    const NyxString& GetError() const { return ErrorMessage; }
    unsigned GetErrorLine() const { return ErrorLine; }

private:
    enum class NameKind { Local, Argument, Context };
    struct ResolvedName {
        NameKind Kind = NameKind::Context;
        unsigned Slot = 0;   // Local, Argument
        DeclaredType Type;   // Local, Argument
        unsigned Site = 0;   // Context
    };
    struct LocalVariable {
        std::string Name;
        unsigned Slot;
        DeclaredType Type;
        unsigned Depth;
    };
    struct LoopState {
        std::vector<std::size_t> BreakJumps;
        std::vector<std::size_t> ContinueJumps;  // patched to the loop's continue point
        unsigned ScopeDepth;
        unsigned TryDepth = 0;  // try blocks open around the loop
    };
    struct FunctionState {
        Procedure* Proc = nullptr;
        std::vector<LocalVariable> Locals;
        unsigned ScopeDepth = 0;
        unsigned TryDepth = 0;   // try blocks whose body the code at this point is in
        unsigned OpenTries = 0;  // try blocks not closed yet, their catch blocks included
        unsigned NextSlot = 0;
        int StackDepth = 0;
        std::size_t LastJumpTarget = 0;  // the latest code position a jump lands on
        std::vector<LoopState> Loops;
        bool IsInitializer = false;
    };
    struct Signature {
        std::vector<Parameter> Parameters;
    };

    // --- Tokens and errors (Parser.cpp)
    void Advance();
    bool Check(TokenKind kind) const { return Current.Kind == kind; }
    bool Match(TokenKind kind);
    bool Expect(TokenKind kind, const char* what);
    void ExpectStatementEnd();
    std::string Found() const;  // how the current token reads in a message
    void SkipSeparators();
    void Fail(const std::string& message);
    void FailAt(unsigned line, const std::string& message);
    bool EnterNesting();
    void LeaveNesting() { --Depth; }

    // --- Emitting (Parser.cpp)
    std::size_t Emit(Opcode op, int32_t a = 0, uint16_t b = 0);
    std::size_t EmitJump(Opcode op);
    void PatchJump(std::size_t at);
    void PatchJumpTo(std::size_t at, std::size_t target);
    void EmitLoop(std::size_t start);
    void EmitConstantString(std::string_view text);
    void EmitConstant(const Value& value);
    unsigned AddNameSite(std::string_view name);
    unsigned AddCallSite(std::string_view name);
    std::size_t CodeSize() const { return Function->Proc->Code.size(); }

    // --- Scopes and names (Parser.cpp)
    void BeginScope();
    void EndScope();
    bool DeclareLocal(std::string_view name, DeclaredType type, unsigned& slot);
    unsigned AddHiddenSlot();
    bool IsLocalOrParameter(std::string_view name) const;
    ResolvedName Resolve(std::string_view name, bool required);
    bool IsSlotName(std::string_view name) const;
    void EmitLoad(const ResolvedName& name);
    void EmitStore(const ResolvedName& name);
    void EmitTake(const ResolvedName& name);
    void EmitReference(const ResolvedName& name);
    void EmitStoreLocal(unsigned slot, DeclaredType type, StaticType valueType, bool initializes);
    void MarkJumpTarget();
    bool FindSignature(std::string_view name, Signature& signature) const;
    void Prescan();
    void BeginFunction(FunctionState& state, Procedure* procedure);
    void EndFunction();

    // --- Statements (ParseStatements.cpp)
    void ParseUnit();
    void ParseProcedure();
    bool ParseParameter(Parameter& parameter);
    bool ParseType(DeclaredType& type);
    bool IsTypeStart() const;
    void ParseBlock();
    void ParseStatement();
    void ParseDeclaration();
    void ParseContextDeclaration();
    void ParseIf();
    void ParseWhile();
    void ParseTry();
    bool AtTryClause() const;
    bool CheckWord(std::string_view word) const;
    void ParseForEach(unsigned line);
    void ParseFor();
    void ParseBreakOrContinue();
    void ParseReturn();
    void ParsePrint();
    void ParseNameStatement();
    void ParseAssignment(const ResolvedName& target, std::string_view name);
    void ParseIndexAssignment(const ResolvedName& target, std::string_view name);
    bool IsAppendChain(std::string_view name) const;

    // --- Expressions (ParseExpressions.cpp)
    ExprInfo ParseExpression();
    ExprInfo ParseOr();
    ExprInfo ParseAnd();
    ExprInfo ParseComparison();
    ExprInfo ParseAdditive();
    ExprInfo ParseMultiplicative();
    ExprInfo ParseUnary();
    ExprInfo ParsePostfix();
    ExprInfo ParsePrimary();
    ExprInfo ParseArrayLiteral();
    ExprInfo ParseMapLiteral();
    ExprInfo ParseConversion();
    ExprInfo ParseNameExpression();
    ExprInfo ParseCall(std::string_view name, bool resultUsed, bool hasParentheses);
    ExprInfo ParseBuiltinCall(unsigned number, const BuiltinFunction& function, bool resultUsed, bool hasParentheses);
    unsigned ParseProcedureArguments(const Signature* signature, std::string_view name, bool hasParentheses);
    bool AtArgumentsEnd(bool hasParentheses) const;
    bool AtBareName() const;
    ExprInfo EmitBinary(TokenKind op, const ExprInfo& left, const ExprInfo& right, unsigned line);

    Engine& Owner;
    std::string_view Text;
    NyxString File;
    unsigned FirstLine;
    Lexer Lex;
    Token Previous;
    Token Current;
    Token Peek;

    unsigned Depth = 0;     // nesting of blocks and expressions now
    unsigned MaxDepth;      // a deeper nesting fails the compile
    bool Failed = false;
    NyxString ErrorMessage;
    unsigned ErrorLine = 0;

    bool ExpressionMode = false;
    FunctionState* Function = nullptr;
    std::vector<Procedure*> Finished;           // owned until handed over
    std::unordered_map<std::string, Signature> Signatures;  // procedures of this text, by prescan
    std::vector<NyxString>* RequiredNames = nullptr;
    std::vector<NyxString>* RequiredCallees = nullptr;
};

}  // namespace quince
