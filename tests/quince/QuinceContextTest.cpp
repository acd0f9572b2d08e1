// QuinceContext: what the page relies on: compiling buffers and files,
// running procedures with pushed variables bound by reference, failure
// reports, output, variable lists, native functions, modules, sessions and
// the reset at the end of a request.
#include "quince/QuinceContext.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "quince/Engine.h"
#include "quince/Stack.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

class TemporaryFolder {
public:
    TemporaryFolder() {
        const char* base = std::getenv("VEXL_TEST_TMP");
        std::filesystem::path root = base != nullptr && base[0] != '\0' ? base : std::filesystem::temp_directory_path();
        std::filesystem::create_directories(root);
        std::string pattern = (root / "quince-XXXXXX").string();
        Path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    std::filesystem::path File(const char* name, const std::string& contents) const {
        const std::filesystem::path path = Path / name;
        std::ofstream(path, std::ios::binary) << contents;
        return path;
    }
    std::filesystem::path Path;
};

class QuinceContextTest : public ::testing::Test {
protected:
    void SetUp() override { Context.SetOutput(&Output); }

    int Compile(const char* text, unsigned line = 1) {
        return Context.CompileScriptBuffer(NyxString(text), NyxString("page.vxl"), line);
    }
    Variable* Page(const char* name) { return Context.GetVariable(NyxString(name), QuinceContext::VarListPage); }

    QuinceContext Context{nullptr};
    NyxString Output;
};

// --- Running procedures for the page ---------------------------------------------------------

TEST_F(QuinceContextTest, AssignmentToAParameterReachesThePushedVariable) {
    ASSERT_NE(Compile("proc tag(var page, int position)\n  position = position + 2\nendproc\n"), 0);
    VarString page;
    VarInteger position;
    position.SetIntegerValue(5);
    Stack stack;
    stack.PushVariable(page.Duplicate());
    stack.PushVariable(position.Duplicate());
    EXPECT_NE(Context.RunProcedure(NyxString("tag"), &stack), 0);
    EXPECT_EQ(position.GetIntegerValue(), 7);
    EXPECT_TRUE(Output.IsEmpty()) << Output.ToStd();
}

TEST_F(QuinceContextTest, PushedVariableReachesARefParameterOfANestedCall) {
    ASSERT_NE(Compile("proc outer(int n)\n  inner(n)\nendproc\nproc inner(ref int m)\n  m = 9\nendproc\n"), 0);
    VarInteger value;
    Stack stack;
    stack.PushVariable(value.Duplicate());
    EXPECT_NE(Context.RunProcedure(NyxString("outer"), &stack), 0);
    EXPECT_EQ(value.GetIntegerValue(), 9);
}

TEST_F(QuinceContextTest, PushedVariablePassedToAPlainParameterIsNotChangedByTheCallee) {
    ASSERT_NE(Compile("proc outer(int n)\n  inner(n)\nendproc\nproc inner(int m)\n  m = 9\nendproc\n"), 0);
    VarInteger value;
    value.SetIntegerValue(1);
    Stack stack;
    stack.PushVariable(value.Duplicate());
    EXPECT_NE(Context.RunProcedure(NyxString("outer"), &stack), 0);
    EXPECT_EQ(value.GetIntegerValue(), 1);
}

TEST_F(QuinceContextTest, ParameterReadsThePushedVariableAsItsType) {
    ASSERT_NE(Compile("proc show(int n, string s)\n  println n + 1, \" \", s + \"!\"\nendproc\n"), 0);
    VarString number;
    number.SetStringValue(NyxString("41"));
    VarInteger text;
    text.SetIntegerValue(7);
    Stack stack;
    stack.PushVariable(number.Duplicate());
    stack.PushVariable(text.Duplicate());
    EXPECT_NE(Context.RunProcedure(NyxString("show"), &stack), 0);
    EXPECT_EQ(Output.ToStd(), "42 7!\n");
}

TEST_F(QuinceContextTest, MissingArgumentsTakeDefaultsAndExtraOnesAreIgnored) {
    ASSERT_NE(Compile("proc p(int a, string b)\n  println a, \"[\", b, \"]\"\nendproc\nproc none()\n  println \"none\"\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    VarInteger one;
    Stack stack;
    stack.PushVariable(one.Duplicate());
    stack.PushVariable(one.Duplicate());
    EXPECT_NE(Context.RunProcedure(NyxString("none"), &stack), 0);
    EXPECT_EQ(Output.ToStd(), "0[]\nnone\n");
}

TEST_F(QuinceContextTest, RuntimeFailureIsReportedAndSetsRunFailedUntilTheNextRun) {
    ASSERT_NE(Compile("proc bad()\n  int zero = 0\n  println 1 / zero\nendproc\nproc good()\nendproc\n", 20), 0);
    EXPECT_EQ(Context.RunProcedure(NyxString("bad"), nullptr), 0);
    EXPECT_EQ(Context.RunFailed, 1);
    EXPECT_EQ(Output.ToStd(), "<p><b>Quince error</b> in <b>page.vxl</b> line <b>22</b>: division by zero</p>\n");
    EXPECT_NE(Context.RunProcedure(NyxString("good"), nullptr), 0);
    EXPECT_EQ(Context.RunFailed, 0);
}

TEST_F(QuinceContextTest, UnknownProcedureIsReported) {
    EXPECT_EQ(Context.RunProcedure(NyxString("nowhere"), nullptr), 0);
    EXPECT_EQ(Context.RunFailed, 1);
    EXPECT_EQ(Output.ToStd(), "<p><b>Quince error</b>: unknown procedure 'nowhere'</p>\n");
}

TEST_F(QuinceContextTest, StatementScriptMakesPageVariablesAndLocals) {
    ASSERT_NE(Compile("proc page_12 ()\nint local = 3\nshown = local * 2\n\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("page_12"), nullptr), 0);
    ASSERT_NE(Page("shown"), nullptr);
    EXPECT_EQ(Page("shown")->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(Page("shown")->GetIntegerValue(), 6);
    EXPECT_EQ(Page("local"), nullptr);
}

TEST_F(QuinceContextTest, ScriptSeesAndChangesVariablesThatThePageMade) {
    auto* name = new VarString(NyxString("name"));
    name->SetStringValue(NyxString("Ann"));
    Context.AddVariable(name, QuinceContext::VarListPage);
    ASSERT_NE(Compile("proc p()\n  name = name + \" Lee\"\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_STREQ(Page("name")->GetStringValue(), "Ann Lee");
}

TEST_F(QuinceContextTest, ReadingAnUnknownNameIsAReportedFailure) {
    ASSERT_NE(Compile("proc p()\n  println nosuch\nendproc\n"), 0);
    EXPECT_EQ(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "<p><b>Quince error</b> in <b>page.vxl</b> line <b>2</b>: unknown name 'nosuch'</p>\n");
}

// --- Compiling ---------------------------------------------------------------------------

TEST_F(QuinceContextTest, CompileFailureIsReportedWithTheLineCountedFromTheGivenOne) {
    EXPECT_EQ(Compile("proc p()\n\n  x = (1 +\nendproc\n", 10), 0);
    EXPECT_EQ(Output.ToStd(),
              "<p><b>Quince error</b> in <b>page.vxl</b> line <b>13</b>: expected an expression, found the end of the "
              "procedure</p>\n");
    EXPECT_EQ(Context.Procedures.FindProcedure(NyxString("p")), 0u);
}

TEST_F(QuinceContextTest, StatementsInThePagesFrameKeepThePagesLineNumbers) {
    // A SCRIPT element on line 10: its text begins on that line (behind the tag).
    const char* framed = "proc page_3 ()\n\n  int zero = 0\n  println 1 / zero\n\nendproc\n";
    ASSERT_NE(Compile(framed, 10), 0);
    EXPECT_EQ(Context.RunProcedure(NyxString("page_3"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "<p><b>Quince error</b> in <b>page.vxl</b> line <b>12</b>: division by zero</p>\n");
}

TEST_F(QuinceContextTest, StructuredTextCountsFromTheGivenLine) {
    // A structured SCRIPT text on line 10: its first line is the rest of the tag's line.
    ASSERT_NE(Compile("\nproc p ()\n  int zero = 0\n  println 1 / zero\nendproc\n", 10), 0);
    EXPECT_EQ(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "<p><b>Quince error</b> in <b>page.vxl</b> line <b>13</b>: division by zero</p>\n");
}

TEST_F(QuinceContextTest, ReportEscapesTheMessageAndTheFile) {
    Context.CompileScriptBuffer(NyxString("proc p()\n  x = 1 & 2\nendproc\n"), NyxString("<b>.vxl"), 1);
    EXPECT_EQ(Output.ToStd(),
              "<p><b>Quince error</b> in <b>&lt;b&gt;.vxl</b> line <b>2</b>: '&amp;' is no operator; did you mean "
              "'&amp;&amp;'?</p>\n");
}

TEST_F(QuinceContextTest, ProcedureOfTheSameNameIsReplaced) {
    ASSERT_NE(Compile("proc p()\n  println \"first\"\nendproc\n"), 0);
    ASSERT_NE(Compile("proc p()\n  println \"second\"\nendproc\n"), 0);
    EXPECT_EQ(Context.Procedures.GetCount(), 1u);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "second\n");
}

TEST_F(QuinceContextTest, CallerFindsAReplacedProcedure) {
    ASSERT_NE(Compile("proc caller()\n  callee()\nendproc\nproc callee()\n  print 1\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("caller"), nullptr), 0);
    ASSERT_NE(Compile("proc callee()\n  print 2\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("caller"), nullptr), 0);
    Context.Procedures.DeleteProcedure(NyxString("callee"));
    EXPECT_EQ(Context.RunProcedure(NyxString("caller"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(),
              "12<p><b>Quince error</b> in <b>page.vxl</b> line <b>2</b>: unknown procedure 'callee'</p>\n");
}

TEST_F(QuinceContextTest, RefParameterOfAProcedureCompiledEarlierIsKnownAfterANestedCall) {
    ASSERT_NE(Compile("proc store(int value, ref int target)\n  target = value\nendproc\n"
                      "proc sum(int a, int b)\n  return a + b\nendproc\n"),
              0);
    ASSERT_NE(Compile("proc p()\n  int x = 0\n  store(sum(1, 2), x)\n  println x\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "3\n");
}

TEST_F(QuinceContextTest, StructuredMeansTheFirstStatementIsProc) {
    auto structured = [this](const char* text) {
        NyxString buffer(text);
        return Context.ScriptBufferIsStructured(buffer);
    };
    EXPECT_NE(structured("proc p()\nendproc\n"), 0);
    EXPECT_NE(structured("\n  // a comment\n\n  proc p()\nendproc\n"), 0);
    EXPECT_EQ(structured("x = 1\nproc p()\nendproc\n"), 0);
    EXPECT_EQ(structured("procedure = 1\n"), 0);
    EXPECT_EQ(structured(""), 0);
    EXPECT_EQ(structured("\"proc\"\n"), 0);
}

TEST_F(QuinceContextTest, TopLevelGlobalDeclarationRunsWhenCompiled) {
    ASSERT_NE(Compile("global int base = 40\nproc add(int n)\n  return base + n\nendproc\n"), 0);
    ASSERT_NE(Context.GetVariable(NyxString("base"), QuinceContext::VarListGlobal), nullptr);
    EXPECT_EQ(Context.GetVariable(NyxString("base"), QuinceContext::VarListGlobal)->GetIntegerValue(), 40);
    EXPECT_EQ(Page("base"), nullptr);
}

TEST_F(QuinceContextTest, DeepNestingFailsTheCompileQuicklyWithAClearMessage) {
    const auto start = std::chrono::steady_clock::now();
    const std::string parentheses = "proc p()\n  x = " + std::string(100000, '(') + "1" + std::string(100000, ')') + "\nendproc\n";
    EXPECT_EQ(Compile(parentheses.c_str()), 0);
    std::string blocks = "proc p()\n";
    for (int i = 0; i < 100000; ++i) blocks += "if true\n";
    EXPECT_EQ(Compile(blocks.c_str()), 0);
    std::string arrays = "proc p()\n  x = " + std::string(100000, '[') + std::string(100000, ']') + "\nendproc\n";
    EXPECT_EQ(Compile(arrays.c_str()), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    const std::string expected = "nesting deeper than 200 levels (QuinceConfig MaxParseDepth)</p>\n";
    EXPECT_NE(Output.ToStd().find("line <b>2</b>: " + expected), std::string::npos) << Output.ToStd();
}

TEST_F(QuinceContextTest, LongFlatExpressionCompiles) {
    std::string sum = "proc p()\n  println 0";
    for (int i = 0; i < 100000; ++i) sum += " + 1";
    sum += "\nendproc\n";
    ASSERT_NE(Compile(sum.c_str()), 0) << Output.ToStd();
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "100000\n");
}

// --- Files --------------------------------------------------------------------------------

TEST_F(QuinceContextTest, SetScriptFileMakesTheFilesMainTheOneThatRuns) {
    TemporaryFolder folder;
    const auto statements = folder.File("statements.qnc", "println \"from the file\"\n");
    ASSERT_NE(Compile("proc main()\n  println \"stale\"\nendproc\n"), 0);
    Context.SetScriptFile(NyxString(statements.string().c_str()), 1);
    EXPECT_NE(Context.RunProcedure(NyxString("main"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "from the file\n");
}

TEST_F(QuinceContextTest, SetScriptFileThatFailsLeavesNoStaleMain) {
    TemporaryFolder folder;
    const auto broken = folder.File("broken.qnc", "println (\n");
    ASSERT_NE(Compile("proc main()\n  println \"stale\"\nendproc\n"), 0);
    Context.SetScriptFile(NyxString(broken.string().c_str()), 1);
    EXPECT_EQ(Context.RunProcedure(NyxString("main"), nullptr), 0);
    EXPECT_EQ(Output.ToStd().find("stale"), std::string::npos) << Output.ToStd();
}

TEST_F(QuinceContextTest, MissingScriptFileIsReported) {
    EXPECT_EQ(Context.CompileScriptFile(NyxString("/nonexistent/x.qnc")), 0);
    EXPECT_EQ(Output.ToStd(),
              "<p><b>Quince error</b> in <b>/nonexistent/x.qnc</b> line <b>0</b>: cannot read the script file</p>\n");
}

TEST_F(QuinceContextTest, StructuredFileKeepsItsProcedures) {
    TemporaryFolder folder;
    const auto file = folder.File("lib.qnc", "global int seen = 1\nproc helper()\n  return seen + 1\nendproc\n");
    ASSERT_NE(Context.CompileScriptFile(NyxString(file.string().c_str())), 0);
    EXPECT_NE(Context.Procedures.FindProcedure(NyxString("helper")), 0u);
    EXPECT_EQ(Context.Procedures.FindProcedure(NyxString("main")), 0u);
}

// --- Output -------------------------------------------------------------------------------

TEST(QuinceContextOutputTest, PrintAppendsStraightToTheTarget) {
    QuinceContext context(nullptr);
    NyxString output("page text;");
    context.SetOutput(&output);
    ASSERT_NE(context.CompileScriptBuffer(NyxString("proc p()\n  print \"script\"\nendproc\n"), NyxString("f"), 1), 0);
    ASSERT_NE(context.RunProcedure(NyxString("p"), nullptr), 0);
    output += "more page;";
    ASSERT_NE(context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(output.ToStd(), "page text;scriptmore page;script");
}

TEST(QuinceContextOutputTest, WithoutATargetTextWaitsForFlushOutput) {
    QuinceContext context(nullptr);
    ASSERT_NE(context.CompileScriptBuffer(NyxString("proc p()\n  print \"pending\"\nendproc\n"), NyxString("f"), 1), 0);
    testing::internal::CaptureStdout();
    ASSERT_NE(context.RunProcedure(NyxString("p"), nullptr), 0);
    const std::string beforeFlush = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    context.FlushOutput();
    const std::string afterFlush = testing::internal::GetCapturedStdout();
    EXPECT_EQ(beforeFlush, "");
    EXPECT_EQ(afterFlush, "pending");
}

TEST(QuinceContextOutputTest, FlushOutputMovesPendingTextToATargetSetLater) {
    QuinceContext context(nullptr);
    ASSERT_NE(context.CompileScriptBuffer(NyxString("proc p()\n  print \"early\"\nendproc\n"), NyxString("f"), 1), 0);
    ASSERT_NE(context.RunProcedure(NyxString("p"), nullptr), 0);
    NyxString output;
    context.SetOutput(&output);
    context.FlushOutput();
    EXPECT_EQ(output.ToStd(), "early");
}

// --- Variable lists -------------------------------------------------------------------------

TEST_F(QuinceContextTest, VariableListsAreSeparate) {
    auto* page = new VarInteger(NyxString("v"));
    page->SetIntegerValue(2);
    auto* global = new VarInteger(NyxString("v"));
    global->SetIntegerValue(1);
    EXPECT_EQ(Context.AddVariable(page, QuinceContext::VarListPage), 0);
    EXPECT_EQ(Context.AddVariable(global, QuinceContext::VarListGlobal), 0);
    EXPECT_EQ(Context.GetVariable(NyxString("v"), QuinceContext::VarListPage), page);
    EXPECT_EQ(Context.GetVariable(NyxString("v"), QuinceContext::VarListGlobal), global);
    EXPECT_EQ(Context.FindVariable(NyxString("w"), QuinceContext::VarListPage), -1);
    // Scripts find the global first.
    ASSERT_NE(Compile("proc p()\n  println v\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(), "1\n");
}

TEST_F(QuinceContextTest, AddingAVariableOfTheSameNameReplacesIt) {
    auto* first = new VarInteger(NyxString("n"));
    auto* second = new VarInteger(NyxString("n"));
    second->SetIntegerValue(5);
    EXPECT_EQ(Context.AddVariable(first, QuinceContext::VarListPage), 0);
    auto* other = new VarInteger(NyxString("m"));
    EXPECT_EQ(Context.AddVariable(other, QuinceContext::VarListPage), 1);
    EXPECT_EQ(Context.AddVariable(second, QuinceContext::VarListPage), 0);
    EXPECT_EQ(Context.GetVariable(NyxString("n"), QuinceContext::VarListPage), second);
    EXPECT_EQ(Context.FindVariable(NyxString("m"), QuinceContext::VarListPage), 1);
}

// --- Native functions and modules -------------------------------------------------------------

Variable* Twice(QuinceContext*, Variable** arguments, unsigned count, NyxString& error) {
    if (arguments[0]->GetTypeId() == Variable::TypeString) {
        error = "twice wants a number";
        return nullptr;
    }
    auto* result = new VarInteger();
    result->SetIntegerValue(arguments[0]->GetIntegerValue() * 2 + (count > 1 ? arguments[1]->GetIntegerValue() : 0));
    return result;
}

Variable* Mark(QuinceContext*, Variable** arguments, unsigned, NyxString&) {
    arguments[0]->SetStringValue(NyxString("marked"));
    return nullptr;
}

TEST_F(QuinceContextTest, RegisteredFunctionIsCallableByNameWithItsArgumentCount) {
    ASSERT_NE(Context.RegisterFunction(NyxString("twice"), &Twice, 1, 2), 0);
    ASSERT_NE(Compile("proc p()\n  println twice(4), \" \", twice(4, 1)\nendproc\nproc q()\n  println twice(1, 2, 3)\nendproc\n"
                      "proc r()\n  println twice(\"x\")\nendproc\n"),
              0);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_EQ(Context.RunProcedure(NyxString("q"), nullptr), 0);
    EXPECT_EQ(Context.RunProcedure(NyxString("r"), nullptr), 0);
    EXPECT_EQ(Output.ToStd(),
              "8 9\n"
              "<p><b>Quince error</b> in <b>page.vxl</b> line <b>5</b>: 'twice' takes 1 to 2 arguments, given 3</p>\n"
              "<p><b>Quince error</b> in <b>page.vxl</b> line <b>8</b>: twice wants a number</p>\n");
}

TEST_F(QuinceContextTest, RegisteredFunctionGetsAPageVariableItself) {
    ASSERT_NE(Context.RegisterFunction(NyxString("mark"), &Mark, 1, 1), 0);
    auto* label = new VarString(NyxString("label"));
    Context.AddVariable(label, QuinceContext::VarListPage);
    ASSERT_NE(Compile("proc p()\n  mark(label)\nendproc\n"), 0);
    EXPECT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    EXPECT_STREQ(label->GetStringValue(), "marked");
}

TEST_F(QuinceContextTest, BuiltInNamesCannotBeRegistered) {
    EXPECT_EQ(Context.RegisterFunction(NyxString("len"), &Twice, 1, 1), 0);
    EXPECT_EQ(Context.RegisterFunction(NyxString(""), &Twice, 1, 1), 0);
    EXPECT_EQ(Context.RegisterFunction(NyxString("f"), nullptr, 1, 1), 0);
    EXPECT_EQ(Context.RegisterFunction(NyxString("f"), &Twice, 2, 1), 0);
}

TEST_F(QuinceContextTest, ModuleIsFoundInTheConfiguredModulePath) {
    Dl_info info{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(static_cast<double (*)(double)>(&std::cos)), &info), 0);
    const std::filesystem::path library = info.dli_fname;
    TemporaryFolder folder;
    const auto ini = folder.File("site.ini", "[QuinceConfig]\nModulePath = /nonexistent;" + library.parent_path().string() + "\n");
    Context.SetIniPath(NyxString(ini.string().c_str()));
    void* handle = nullptr;
    EXPECT_TRUE(Context.LoadFunctionModule(NyxString(library.filename().string().c_str()), NyxString(), &handle));
    EXPECT_NE(handle, nullptr);
    void* again = nullptr;
    EXPECT_TRUE(Context.LoadFunctionModule(NyxString(library.filename().string().c_str()), NyxString(), &again));
    EXPECT_EQ(again, handle);
}

TEST_F(QuinceContextTest, ModulePathWithoutTheModuleMakesItMissing) {
    TemporaryFolder folder;
    const auto ini = folder.File("site.ini", "[QuinceConfig]\nModulePath = " + folder.Path.string() + "\n");
    Context.SetIniPath(NyxString(ini.string().c_str()));
    void* handle = reinterpret_cast<void*>(1);
    EXPECT_FALSE(Context.LoadFunctionModule(NyxString("html.qnc"), NyxString(), &handle));
    EXPECT_EQ(handle, nullptr);
}

// --- Sessions ------------------------------------------------------------------------------

TEST(QuinceContextSessionTest, SessionVariableKeepsItsValueFromRequestToRequest) {
    TemporaryFolder folder;
    const auto ini = folder.File("site.ini", "[QuinceConfig]\nSessionStore = " + (folder.Path / "s.db").string() + "\n");
    const char* script = "proc p()\n  session int visits = 0\n  visits += 1\n  println visits\nendproc\n";
    NyxString output;
    for (int request = 0; request < 3; ++request) {
        QuinceContext context(nullptr);
        context.SetIniPath(NyxString(ini.string().c_str()));
        context.SetOutput(&output);
        context.SetSessionId(77);
        ASSERT_NE(context.CompileScriptBuffer(NyxString(script), NyxString("f"), 1), 0);
        ASSERT_NE(context.RunProcedure(NyxString("p"), nullptr), 0);
        context.ResetContext();
    }
    EXPECT_EQ(output.ToStd(), "1\n2\n3\n");
    QuinceContext other(nullptr);
    other.SetIniPath(NyxString(ini.string().c_str()));
    EXPECT_TRUE(other.DoesSessionExist(77));
    EXPECT_FALSE(other.DoesSessionExist(78));
}

TEST(QuinceContextSessionTest, SessionsIdleLongerThanTheAgeExpire) {
    TemporaryFolder folder;
    const auto ini = folder.File("site.ini", "[QuinceConfig]\nSessionStore = " + (folder.Path / "s.db").string() + "\n");
    {
        QuinceContext context(nullptr);
        context.SetIniPath(NyxString(ini.string().c_str()));
        context.SetSessionId(5);
    }
    QuinceContext context(nullptr);
    context.SetIniPath(NyxString(ini.string().c_str()));
    context.ExpireOldSessions(3600);
    EXPECT_TRUE(context.DoesSessionExist(5));
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    context.ExpireOldSessions(0);
    EXPECT_FALSE(context.DoesSessionExist(5));
}

// --- Reset ---------------------------------------------------------------------------------

TEST_F(QuinceContextTest, ResetClearsProceduresVariablesAndReleasesAllMemory) {
    ASSERT_NE(Compile("global string g = \"x\"\nproc p()\n  string s = repeat(\"ab\", 1000)\n  made = s + g\n"
                      "  var list = [s, [1, 2], \"c\"]\n  push(list, s)\nendproc\n"),
              0);
    ASSERT_NE(Context.RunProcedure(NyxString("p"), nullptr), 0);
    ASSERT_NE(Page("made"), nullptr);
    Context.ResetContext();
    EXPECT_EQ(Context.Procedures.GetCount(), 0u);
    EXPECT_EQ(Page("made"), nullptr);
    EXPECT_EQ(Context.GetVariable(NyxString("g"), QuinceContext::VarListGlobal), nullptr);
    EXPECT_EQ(Context.GetEngine().Memory.Used, 0u);
}

}  // namespace
