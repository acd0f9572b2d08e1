// ExpressionCompiler: quiet failures, values left on the stack, and a cache
// that behaves as a fresh compile would.
#include "quince/ExpressionCompiler.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "quince/QuinceContext.h"
#include "quince/Stack.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

struct Outcome {
    bool Compiled = false;
    bool Evaluated = false;
    std::unique_ptr<Variable, void (*)(Variable*)> Value{nullptr, &Variable::Delete};
};

class ExpressionCompilerTest : public ::testing::Test {
protected:
    void SetUp() override { Context.SetOutput(&Output); }

    Outcome Evaluate(const char* text) {
        Outcome outcome;
        ExpressionCompiler compiler(&Context);
        outcome.Compiled = compiler.CompileExpression(NyxString(text), NyxString()) != 0;
        if (!outcome.Compiled) return outcome;
        Stack stack;
        outcome.Evaluated = compiler.EvaluateExpression(&stack) != 0;
        outcome.Value.reset(stack.PopVariable());
        EXPECT_EQ(stack.PopVariable(), nullptr) << "one value at most";
        return outcome;
    }

    void SetInteger(const char* name, long value) {
        if (Variable* existing = Context.GetVariable(NyxString(name), QuinceContext::VarListPage)) {
            existing->SetIntegerValue(value);
            return;
        }
        auto* variable = new VarInteger(NyxString(name));
        variable->SetIntegerValue(value);
        Context.AddVariable(variable, QuinceContext::VarListPage);
    }

    QuinceContext Context{nullptr};
    NyxString Output;
};

TEST_F(ExpressionCompilerTest, LeavesTheValueWithItsType) {
    Outcome sum = Evaluate("(1 + 2)");
    ASSERT_TRUE(sum.Evaluated);
    EXPECT_EQ(sum.Value->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(sum.Value->GetIntegerValue(), 3);

    Outcome text = Evaluate("\"a\" + 1");
    ASSERT_TRUE(text.Evaluated);
    EXPECT_EQ(text.Value->GetTypeId(), Variable::TypeString);
    EXPECT_STREQ(text.Value->GetStringValue(), "a1");

    Outcome truth = Evaluate("2 > 1");
    ASSERT_TRUE(truth.Evaluated);
    EXPECT_EQ(truth.Value->GetTypeId(), Variable::TypeBoolean);
    EXPECT_NE(truth.Value->GetBoolValue(), 0);

    Outcome single = Evaluate("1.5f");
    ASSERT_TRUE(single.Evaluated);
    EXPECT_EQ(single.Value->GetTypeId(), Variable::TypeFloat);
}

TEST_F(ExpressionCompilerTest, SyntaxErrorFailsTheCompileAndWritesNothing) {
    EXPECT_FALSE(Evaluate("(1 +").Compiled);
    EXPECT_FALSE(Evaluate("words in parentheses").Compiled);
    EXPECT_FALSE(Evaluate("()").Compiled);
    EXPECT_FALSE(Evaluate("").Compiled);
    EXPECT_FALSE(Evaluate("(a = 1)").Compiled);
    EXPECT_TRUE(Output.IsEmpty());
}

TEST_F(ExpressionCompilerTest, UnknownNameFailsUntilTheVariableExists) {
    EXPECT_FALSE(Evaluate("(row % 2 == 0)").Compiled);
    SetInteger("row", 4);
    Outcome even = Evaluate("(row % 2 == 0)");
    ASSERT_TRUE(even.Evaluated);
    EXPECT_NE(even.Value->GetBoolValue(), 0);
    EXPECT_TRUE(Output.IsEmpty());
}

TEST_F(ExpressionCompilerTest, CachedExpressionSeesTheCurrentValue) {
    SetInteger("row", 1);
    for (long row = 1; row <= 4; ++row) {
        SetInteger("row", row);
        Outcome even = Evaluate("(row % 2 == 0)");
        ASSERT_TRUE(even.Evaluated);
        EXPECT_EQ(even.Value->GetBoolValue() != 0, row % 2 == 0) << "row " << row;
    }
}

TEST_F(ExpressionCompilerTest, CachedExpressionFailsAgainWhenTheVariableIsGone) {
    SetInteger("n", 1);
    EXPECT_TRUE(Evaluate("(n + 1)").Compiled);
    Context.ResetContext();
    EXPECT_FALSE(Evaluate("(n + 1)").Compiled);
}

TEST_F(ExpressionCompilerTest, ReplacedVariableIsReadFromItsNewObject) {
    SetInteger("v", 1);
    EXPECT_EQ(Evaluate("(v)").Value->GetIntegerValue(), 1);
    auto* text = new VarString(NyxString("v"));
    text->SetStringValue(NyxString("now a text"));
    Context.AddVariable(text, QuinceContext::VarListPage);
    Outcome replaced = Evaluate("(v)");
    ASSERT_TRUE(replaced.Evaluated);
    EXPECT_STREQ(replaced.Value->GetStringValue(), "now a text");
}

TEST_F(ExpressionCompilerTest, ProcedureCallCompilesOnceTheProcedureExists) {
    EXPECT_FALSE(Evaluate("(twice(4))").Compiled);
    ASSERT_NE(Context.CompileScriptBuffer(NyxString("proc twice(int n)\n  return n * 2\nendproc\n"), NyxString("t.qnc"), 1), 0);
    Outcome result = Evaluate("(twice(4))");
    ASSERT_TRUE(result.Evaluated);
    EXPECT_EQ(result.Value->GetIntegerValue(), 8);
}

TEST_F(ExpressionCompilerTest, RuntimeFailureLeavesNoValueAndWritesNothing) {
    SetInteger("zero", 0);
    Outcome division = Evaluate("(1 / zero)");
    EXPECT_TRUE(division.Compiled);
    EXPECT_FALSE(division.Evaluated);
    EXPECT_EQ(division.Value, nullptr);
    EXPECT_TRUE(Output.IsEmpty());
    EXPECT_EQ(Context.RunFailed, 0);
}

TEST_F(ExpressionCompilerTest, ProcedureWithoutResultLeavesNoValue) {
    ASSERT_NE(Context.CompileScriptBuffer(NyxString("proc quiet()\nendproc\n"), NyxString("t.qnc"), 1), 0);
    Outcome result = Evaluate("(quiet())");
    EXPECT_TRUE(result.Compiled);
    EXPECT_FALSE(result.Evaluated);
    EXPECT_EQ(result.Value, nullptr);
}

TEST_F(ExpressionCompilerTest, ClearedCompilerEvaluatesNothing) {
    ExpressionCompiler compiler(&Context);
    ASSERT_NE(compiler.CompileExpression(NyxString("(1)"), NyxString()), 0);
    compiler.ClearExpression();
    Stack stack;
    EXPECT_EQ(compiler.EvaluateExpression(&stack), 0);
    EXPECT_EQ(stack.GetCount(), 0u);
}

TEST_F(ExpressionCompilerTest, ExpressionMayChangeVariablesThroughAProcedure) {
    SetInteger("counter", 0);
    ASSERT_NE(Context.CompileScriptBuffer(NyxString("proc bump()\n  counter += 1\n  return counter\nendproc\n"),
                                          NyxString("t.qnc"), 1),
              0);
    Evaluate("(bump())");
    Evaluate("(bump())");
    EXPECT_EQ(Context.GetVariable(NyxString("counter"), QuinceContext::VarListPage)->GetIntegerValue(), 2);
}

TEST_F(ExpressionCompilerTest, DeepNestingFailsQuicklyAndQuietly) {
    const std::string deep = std::string(100000, '(') + "1" + std::string(100000, ')');
    EXPECT_FALSE(Evaluate(deep.c_str()).Compiled);
    const std::string unary = std::string(100000, '-') + "1";
    EXPECT_FALSE(Evaluate(unary.c_str()).Compiled);
    EXPECT_TRUE(Output.IsEmpty());
}

}  // namespace
