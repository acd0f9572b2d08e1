// fuzz_quince: compiles the input as a Quince script (wrapped into a
// procedure when it is a run of statements, as the page does) and runs its
// procedures, then compiles and evaluates it as an expression. Small limits
// from a configuration file keep every run short; a failure is an
// ordinary, reported outcome; only a crash or a sanitizer report is a finding.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include <vector>

#include "quince/ExpressionCompiler.h"
#include "quince/Procedure.h"
#include "quince/QuinceContext.h"
#include "quince/Stack.h"
#include "values/VarInteger.h"
#include "values/VarString.h"
#include "values/Variable.h"

namespace {

std::string ConfigPath;

// The procedures a fuzz input may run: enough to reach calls between them.
constexpr unsigned kMaxProceduresRun = 8;

void WriteConfig() {
    char path[] = "/tmp/fuzz_quince_XXXXXX";
    const int handle = mkstemp(path);
    if (handle < 0) std::abort();
    const char kConfig[] =
        "[QuinceConfig]\n"
        "MaxSteps = 20000\n"
        "MaxRunSeconds = 2\n"
        "MaxCallDepth = 64\n"
        "MaxMemory = 8M\n"
        "SessionStore = /dev/null/none\n"
        "ModulePath = /nonexistent\n";
    if (write(handle, kConfig, sizeof kConfig - 1) != static_cast<ssize_t>(sizeof kConfig - 1)) std::abort();
    close(handle);
    ConfigPath = path;
    std::atexit([] { unlink(ConfigPath.c_str()); });
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    WriteConfig();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 64 * 1024) return 0;
    const NyxString text(reinterpret_cast<const char*>(data), static_cast<unsigned>(size));
    QuinceContext context(nullptr);
    context.SetIniPath(NyxString(ConfigPath.c_str()));
    NyxString output;
    context.SetOutput(&output);

    NyxString script = text;
    if (context.ScriptBufferIsStructured(script) == 0) {
        script = "proc main ()\n";
        script += text;
        script += "\nendproc\n";
    }
    if (context.CompileScriptBuffer(script, NyxString("fuzz.qnc"), 1) != 0) {
        // Procedures may replace one another while running: they are run by name.
        std::vector<NyxString> names;
        for (unsigned number = 1; number <= context.Procedures.GetCount() && names.size() < kMaxProceduresRun; ++number) {
            names.push_back(static_cast<const quince::Procedure*>(context.Procedures.GetEntry(number))->Name);
        }
        for (const NyxString& name : names) {
            // Two pushed variables, as a user-defined tag passes them, bound by reference.
            VarString page;
            page.SetStringValue(NyxString("page"));
            VarInteger position;
            position.SetIntegerValue(3);
            Stack stack;
            stack.PushVariable(page.Duplicate());
            stack.PushVariable(position.Duplicate());
            context.RunProcedure(name, &stack);
        }
    }

    ExpressionCompiler compiler(&context);
    if (compiler.CompileExpression(text, NyxString()) != 0) {
        Stack stack;
        compiler.EvaluateExpression(&stack);
        Variable::Delete(stack.PopVariable());
    }
    context.ResetContext();
    return 0;
}
