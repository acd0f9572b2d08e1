// SourceCheck: the parser's own compile, with the procedures kept out of the
// run: an initializer (top-level declarations) is looked at, never run.
#include "quince/SourceCheck.h"

#include <string>

#include "quince/Engine.h"
#include "quince/Opcodes.h"
#include "quince/Parser.h"
#include "quince/Procedure.h"
#include "quince/QuinceContext.h"

namespace {

void CollectNames(const quince::Procedure& procedure, QuinceSourceReport& report) {
    for (const quince::NameSite& site : procedure.Names) report.Names.push_back(site.Name);
    for (const quince::Instruction& instruction : procedure.Code) {
        if (instruction.Op != quince::Opcode::DeclareSession && instruction.Op != quince::Opcode::DeclareGlobal) continue;
        const auto site = static_cast<std::size_t>(instruction.A);
        if (site < procedure.Names.size()) report.SessionNames.push_back(procedure.Names[site].Name);
    }
}

}  // namespace

QuinceSourceReport CheckQuinceScript(QuinceContext& context, std::string_view text, const NyxString& file,
                                     unsigned firstLine) {
    QuinceSourceReport report;
    quince::Engine& engine = context.GetEngine();
    // A run of statements becomes a procedure of its own on the page; its
    // frame line stands one above the text, so that lines keep their numbers.
    std::string source;
    unsigned sourceLine = firstLine;
    if (!quince::TextIsStructured(text)) {
        source = "proc vexl_check_frame ()\n";
        source.append(text);
        source.append("\nendproc\n");
        text = source;
        sourceLine = firstLine > 0 ? firstLine - 1 : 0;
    }
    quince::CompiledScript script;
    quince::Parser parser(engine, text, file, sourceLine, engine.GetLimits().MaxParseDepth);
    if (!parser.CompileScript(script)) {
        report.Error = parser.GetError();
        report.ErrorLine = parser.GetErrorLine();
        return report;
    }
    report.Compiled = true;
    for (quince::Procedure* procedure : script.Procedures) {
        CollectNames(*procedure, report);
        if (procedure->Name.View() == "vexl_check_frame") {
            quince::ReleaseProcedure(procedure);
        } else {
            engine.AddProcedure(procedure);
        }
    }
    if (script.Initializer != nullptr) {
        CollectNames(*script.Initializer, report);
        quince::ReleaseProcedure(script.Initializer);
    }
    return report;
}

QuinceSourceReport CheckQuinceExpression(QuinceContext& context, std::string_view text) {
    QuinceSourceReport report;
    quince::Engine& engine = context.GetEngine();
    quince::CompiledExpression compiled;
    quince::Parser parser(engine, text, NyxString("(expression)"), 1, engine.GetLimits().MaxParseDepth);
    if (!parser.CompileExpression(compiled)) {
        report.Error = parser.GetError();
        report.ErrorLine = parser.GetErrorLine();
        return report;
    }
    report.Compiled = true;
    report.Names = std::move(compiled.RequiredNames);
    if (compiled.Code != nullptr) quince::ReleaseProcedure(compiled.Code);
    return report;
}
