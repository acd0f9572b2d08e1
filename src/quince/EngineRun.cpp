// Engine: compiling script texts and files, and running procedures for the page.
#include <string>

#include "foundation/Files.h"
#include "quince/Engine.h"
#include "quince/Lexer.h"
#include "quince/Parser.h"
#include "quince/QuinceContext.h"
#include "quince/Stack.h"
#include "quince/StraightInts.h"

namespace quince {

namespace {

// Looks at the first token of each statement; stops at the first `proc`
// (or, with firstOnly, after the first statement).
bool ScanForProc(std::string_view text, bool firstOnly) {
    Lexer lexer(text, 1);
    bool atStatementStart = true;
    for (std::size_t guard = 0; guard <= text.size() + 1; ++guard) {
        const Token token = lexer.NextToken();
        if (token.Kind == TokenKind::End || token.Kind == TokenKind::Error) return false;
        if (token.Kind == TokenKind::Separator) {
            atStatementStart = true;
            continue;
        }
        if (atStatementStart) {
            if (token.Kind == TokenKind::Proc) return true;
            if (firstOnly) return false;
        }
        atStatementStart = false;
    }
    return false;
}

}  // namespace

std::string_view TrimTrailingSpace(std::string_view text) {
    std::size_t end = text.size();
    while (end > 0 && (text[end - 1] == ' ' || text[end - 1] == '\t' || text[end - 1] == '\r' || text[end - 1] == '\n')) --end;
    return text.substr(0, end);
}

bool TextIsStructured(std::string_view text) { return ScanForProc(text, true); }

bool TextDefinesProcedures(std::string_view text) { return ScanForProc(text, false); }

bool Engine::CompileText(std::string_view text, const NyxString& file, unsigned firstLine) {
    const Limits& limits = GetLimits();
    CompiledScript script;
    {
        Parser parser(*this, text, file, firstLine, limits.MaxParseDepth);
        if (!parser.CompileScript(script)) {
            ReportError(file, parser.GetErrorLine(), parser.GetError());
            return false;
        }
    }
    for (Procedure* procedure : script.Procedures) AddProcedure(procedure);
    if (script.Initializer == nullptr) return true;
    Value result = Value::MakeNone();
    RuntimeError error;
    const bool ok = Machine.Run(script.Initializer, nullptr, 0, result, error);
    Release(result);
    ReleaseProcedure(script.Initializer);
    if (!ok) {
        ReportError(error.File, error.Line, error.Message);
        return false;
    }
    return true;
}

bool Engine::CompileFile(const NyxString& path) {
    std::string contents;
    MainFailedToCompile = true;
    if (!FileReadAll(path, contents)) {
        ReportError(path, 0, "cannot read the script file");
        return false;
    }
    // A byte order mark is no part of the script.
    if (contents.compare(0, 3, "\xEF\xBB\xBF") == 0) contents.erase(0, 3);
    bool compiled = false;
    if (TextDefinesProcedures(contents)) {
        compiled = CompileText(contents, path, 1);
    } else {
        // Line 0 holds the frame, so the file's own lines keep their numbers,
        // and the frame's end shares the last line, where an unclosed block
        // is reported.
        const std::string wrapped = "proc main ()\n" + std::string(TrimTrailingSpace(contents)) + "\nendproc\n";
        compiled = CompileText(wrapped, path, 0);
    }
    MainFailedToCompile = !compiled;
    return compiled;
}

bool Engine::RunForPage(const NyxString& name, Stack* stack) {
    Owner.RunFailed = 0;
    GetLimits();
    Procedure* procedure = FindProcedure(name.View());
    if (procedure == nullptr) {
        Owner.RunFailed = 1;
        // The file that was to define main failed and said why already.
        if (MainFailedToCompile && name.View() == "main") return false;
        NyxString message;
        message.Printf("unknown procedure '%S'", &name);
        ReportError(NyxString(), 0, message);
        Owner.RunFailed = 1;
        return false;
    }
    if (procedure->Straight == Procedure::Straightness::Unknown) {
        procedure->Straight =
            IsStraightIntAssignment(*procedure) ? Procedure::Straightness::Assignment : Procedure::Straightness::No;
    }
    if (procedure->Straight == Procedure::Straightness::Assignment && RunStraightIntAssignment(*this, *procedure)) {
        return true;
    }
    // Each pushed variable is bound to a parameter by reference; extra ones are not used.
    std::vector<Value> arguments;
    const unsigned pushed = stack != nullptr ? stack->GetCount() : 0;
    for (unsigned i = 0; i < pushed && i < procedure->Parameters.size(); ++i) {
        Value bound = Value::MakeNone();
        bound.kind = Kind::BoundVariable;
        bound.var = stack->GetAt(i);
        arguments.push_back(bound);
    }
    Value result = Value::MakeNone();
    RuntimeError error;
    RetainProcedure(procedure);  // the run keeps it even if a native function replaces it
    const bool ok = Machine.Run(procedure, arguments.data(), static_cast<unsigned>(arguments.size()), result, error);
    ReleaseProcedure(procedure);
    Release(result);
    if (!ok) {
        ReportError(error.File, error.Line, error.Message);
        Owner.RunFailed = 1;
    }
    return ok;
}

bool Engine::Run(Procedure* procedure, Value* arguments, unsigned count, Value& result, RuntimeError& error) {
    GetLimits();
    return Machine.Run(procedure, arguments, count, result, error);
}

}  // namespace quince
