// StraightInts against the machine: every expression and assignment that the
// short path takes must end as the machine ends it, for values at the edges
// of 32 bits, zero and negative divisors, and variables that are no integers.
#include "quince/StraightInts.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "quince/Engine.h"
#include "quince/Procedure.h"
#include "quince/QuinceContext.h"
#include "values/VarBoolean.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

using quince::Kind;

class StraightIntsTest : public ::testing::Test {
protected:
    void SetUp() override { Context.SetOutput(&Output); }

    quince::Engine& GetEngine() { return Context.GetEngine(); }

    void SetInteger(const char* name, long value) {
        auto* variable = new VarInteger(NyxString(name));
        variable->SetIntegerValue(value);
        Context.AddVariable(variable, QuinceContext::VarListPage);
    }

    // "kind:value" of a result, or "fails".
    static std::string Describe(bool ok, const quince::Value& value) {
        if (!ok) return "fails";
        switch (value.kind) {
            case Kind::Int: return "int:" + std::to_string(value.i);
            case Kind::Bool: return "bool:" + std::to_string(value.i);
            default: return "other";
        }
    }

    // Runs `text` on the machine and on the short path (when that takes it);
    // returns whether the short path took it.
    bool Compare(const std::string& text) {
        quince::CachedExpression* expression = GetEngine().CompileExpression(NyxString(text.c_str()));
        if (expression == nullptr) return false;
        quince::Value machine = quince::Value::MakeNone();
        quince::RuntimeError error;
        const bool machineOk = GetEngine().Run(expression->Code, nullptr, 0, machine, error);
        quince::Value straight = quince::Value::MakeNone();
        const bool taken = expression->StraightInts && quince::RunStraightInts(GetEngine(), *expression->Code, straight);
        if (taken) {
            EXPECT_EQ(Describe(true, straight), Describe(machineOk, machine)) << text;
        }
        quince::Release(machine);
        quince::ReleaseExpression(expression);
        return taken;
    }

    QuinceContext Context{nullptr};
    NyxString Output;
};

TEST_F(StraightIntsTest, ExpressionsEndAsOnTheMachine) {
    const std::vector<std::string> texts = {
        "a",         "(a)",       "a + b",     "a - b",      "a * b",     "a / b",     "a % b",
        "a + 1",     "a * 3",     "a % 2",     "a % 2 == 0", "a < b",     "a <= b",    "a > b",
        "a >= b",    "a == b",    "a != b",    "a / 2",      "a * b + 7", "(a + b) * (a - b)",
        "a < b == 1", "1 + 2",    "a % -3",    "a / -1",     "a / 0",     "a % 0",
    };
    const long edges[] = {0, 1, -1, 2, -7, 13, INT_MAX, INT_MIN};
    int taken = 0;
    for (long a : edges) {
        for (long b : edges) {
            SetInteger("a", a);
            SetInteger("b", b);
            for (const std::string& text : texts) taken += Compare(text) ? 1 : 0;
        }
    }
    // The short path is the common one, not a rarity that the loop above skips.
    EXPECT_GT(taken, static_cast<int>(texts.size() * 64 * 2 / 3));
}

TEST_F(StraightIntsTest, VariablesThatAreNoIntegersGoToTheMachine) {
    SetInteger("b", 2);
    auto* text = new VarString(NyxString("a"));
    text->SetStringValue(NyxString("5"));
    Context.AddVariable(text, QuinceContext::VarListPage);
    EXPECT_FALSE(Compare("a + b"));
    auto* real = new VarFloat(NyxString("a"));
    real->SetFloatValue(1.5f);
    Context.AddVariable(real, QuinceContext::VarListPage);
    EXPECT_FALSE(Compare("a * b"));
    auto* truth = new VarBoolean(NyxString("a"));
    truth->SetBoolValue(1);
    Context.AddVariable(truth, QuinceContext::VarListPage);
    EXPECT_FALSE(Compare("a < b"));
    EXPECT_FALSE(Compare("missing + 1"));
}

TEST_F(StraightIntsTest, ShapesOfATablePageTakeTheShortPath) {
    SetInteger("row", 4);
    SetInteger("rows", 10);
    for (const char* text : {"row < rows", "row % 2 == 0", "(row)", "(row * 3)", "(row / 2)"}) {
        EXPECT_TRUE(Compare(text)) << text;
    }
}

TEST_F(StraightIntsTest, AssignmentsEndAsOnTheMachine) {
    const char* const bodies[] = {"a = a + 1", "a = a + b", "a = b * 3", "a = a / b", "a = a % b", "a = b"};
    const long edges[] = {0, 1, -1, 5, INT_MAX, INT_MIN};
    int taken = 0;
    for (const char* body : bodies) {
        const std::string source = std::string("proc advance ()\n") + body + "\nendproc\n";
        ASSERT_NE(Context.CompileScriptBuffer(NyxString(source.c_str()), NyxString("test"), 1), 0) << Output.ToStd();
        quince::Procedure* advance = GetEngine().FindProcedure("advance");
        ASSERT_NE(advance, nullptr);
        for (long a : edges) {
            for (long b : edges) {
                SetInteger("b", b);
                SetInteger("a", a);
                quince::Value result = quince::Value::MakeNone();
                quince::RuntimeError error;
                const bool machineOk = GetEngine().Run(advance, nullptr, 0, result, error);
                const long byMachine = Context.GetVariable(NyxString("a"), QuinceContext::VarListPage)->GetIntegerValue();
                SetInteger("a", a);
                if (!quince::IsStraightIntAssignment(*advance) || !quince::RunStraightIntAssignment(GetEngine(), *advance)) {
                    continue;
                }
                ++taken;
                EXPECT_TRUE(machineOk) << body << " a=" << a << " b=" << b;
                EXPECT_EQ(Context.GetVariable(NyxString("a"), QuinceContext::VarListPage)->GetIntegerValue(), byMachine)
                    << body << " a=" << a << " b=" << b;
            }
        }
    }
    EXPECT_GT(taken, 36 * 6 / 2);
}

}  // namespace
