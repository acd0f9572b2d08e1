// quince_bench: how fast Quince runs. Prints one line per program, with its
// processor time in milliseconds (compile and run):
//   loop_10M        10,000,000 passes of integer arithmetic
//   append_100K     a string built from 100,000 appends
//   append_1M       the same from 1,000,000 appends (ten times the time: linear)
//   map_1M          1,000,000 insertions into a map, then 1,000,000 lookups
//   expression_1M   1,000,000 compiles and evaluations of a cached "(row % 2 == 0)"
// Usage: quince_bench [NAME...]   (no name: all). bench/quince_vs_lua.sh runs
// the same programs in Lua beside these.
#include <cstdio>
#include <ctime>
#include <cstring>
#include <string>

#include "quince/ExpressionCompiler.h"
#include "quince/QuinceContext.h"
#include "quince/Stack.h"
#include "values/VarInteger.h"

namespace {

const char* const kLoop =
    "proc main()\n"
    "  int sum = 0\n"
    "  for i = 1 to 10000000\n"
    "    sum = (sum + i * 3) % 1000003\n"
    "  next\n"
    "  println sum\n"
    "endproc\n";

const char* const kMap =
    "proc main()\n"
    "  map m\n"
    "  for i = 1 to 1000000\n"
    "    m[\"k\" + i] = i\n"
    "  next\n"
    "  int sum = 0\n"
    "  for i = 1 to 1000000\n"
    "    sum = (sum + m[\"k\" + i]) % 1000003\n"
    "  next\n"
    "  println sum, \" \", count(m)\n"
    "endproc\n";

std::string AppendProgram(int count) {
    return "proc main()\n"
           "  string s = \"\"\n"
           "  for i = 1 to " + std::to_string(count) + "\n"
           "    s = s + \"x\"\n"
           "  next\n"
           "  println len(s)\n"
           "endproc\n";
}

// Processor time, which a busy machine disturbs less than the wall clock.
double Milliseconds(std::clock_t start) { return 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC; }

// Compiles and runs a program; prints its time and checks its output.
bool RunProgram(const char* name, const std::string& program, const char* expected) {
    QuinceContext context(nullptr);
    NyxString output;
    context.SetOutput(&output);
    const std::clock_t start = std::clock();
    const bool ok = context.CompileScriptBuffer(NyxString(program.c_str()), NyxString(name), 1) != 0 &&
                    context.RunProcedure(NyxString("main"), nullptr) != 0;
    const double elapsed = Milliseconds(start);
    if (!ok || output.ToStd() != expected) {
        std::fprintf(stderr, "%s: unexpected output: %s\n", name, output.GetString());
        return false;
    }
    std::printf("%-14s %10.1f ms\n", name, elapsed);
    return true;
}

bool RunExpressions() {
    constexpr int kCount = 1000000;
    QuinceContext context(nullptr);
    auto* row = new VarInteger(NyxString("row"));
    context.AddVariable(row, QuinceContext::VarListPage);
    const NyxString text("(row % 2 == 0)");
    const NyxString noName;
    long even = 0;
    const std::clock_t start = std::clock();
    for (int i = 0; i < kCount; ++i) {
        row->SetIntegerValue(i);
        ExpressionCompiler compiler(&context);
        if (compiler.CompileExpression(text, noName) == 0) return false;
        Stack stack;
        compiler.EvaluateExpression(&stack);
        Variable* value = stack.PopVariable();
        if (value == nullptr) return false;
        even += value->GetBoolValue() != 0;
        Variable::Delete(value);
    }
    const double elapsed = Milliseconds(start);
    if (even != kCount / 2) return false;
    std::printf("%-14s %10.1f ms  (%.0f ns each)\n", "expression_1M", elapsed, elapsed * 1e6 / kCount);
    return true;
}

bool Wanted(int argc, char** argv, const char* name) {
    if (argc < 2) return true;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0) return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    bool ok = true;
    if (Wanted(argc, argv, "loop_10M")) ok = RunProgram("loop_10M", kLoop, "1305\n") && ok;
    if (Wanted(argc, argv, "append_100K")) ok = RunProgram("append_100K", AppendProgram(100000), "100000\n") && ok;
    if (Wanted(argc, argv, "append_1M")) ok = RunProgram("append_1M", AppendProgram(1000000), "1000000\n") && ok;
    if (Wanted(argc, argv, "map_1M")) ok = RunProgram("map_1M", kMap, "3 1000000\n") && ok;
    if (Wanted(argc, argv, "expression_1M")) ok = RunExpressions() && ok;
    return ok ? 0 : 1;
}
