// Tests of src/quince/SourceCheck.cpp: compiling without running.
#include <gtest/gtest.h>

#include <algorithm>

#include "quince/QuinceContext.h"
#include "quince/SourceCheck.h"

namespace {

bool Has(const std::vector<NyxString>& names, const char* name)
{
    return std::any_of(names.begin(), names.end(), [&](const NyxString& n) { return n.View() == name; });
}

TEST(SourceCheckTest, ScriptErrorsCarryThePageLineAndNothingRuns)
{
    QuinceContext context(nullptr);
    NyxString output;
    context.SetOutput(&output);
    const QuinceSourceReport good = CheckQuinceScript(context, "session int visits = 0\nprintln visits\n", "p.vxl", 7);
    EXPECT_TRUE(good.Compiled);
    EXPECT_TRUE(Has(good.Names, "visits"));
    EXPECT_TRUE(Has(good.SessionNames, "visits"));
    const QuinceSourceReport bad = CheckQuinceScript(context, "int a = 1\na = a +\n", "p.vxl", 7);
    EXPECT_FALSE(bad.Compiled);
    EXPECT_EQ(bad.ErrorLine, 8u);
    EXPECT_FALSE(bad.Error.IsEmpty());
    EXPECT_EQ(output.View(), "");  // neither printed nor reported into the page
    EXPECT_EQ(context.GetVariable("visits", QuinceContext::VarListSession), nullptr);
}

TEST(SourceCheckTest, ProceduresJoinTheContextForLaterCalls)
{
    QuinceContext context(nullptr);
    EXPECT_TRUE(CheckQuinceScript(context, "proc twice(ref int n)\n n = n * 2\nendproc\n", "p.vxl", 1).Compiled);
    EXPECT_NE(context.Procedures.GetProcedure("twice"), nullptr);
}

TEST(SourceCheckTest, ExpressionsNameWhatTheyRead)
{
    QuinceContext context(nullptr);
    const QuinceSourceReport read = CheckQuinceExpression(context, "a + len(b) > 2");
    EXPECT_TRUE(read.Compiled);
    EXPECT_TRUE(Has(read.Names, "a"));
    EXPECT_TRUE(Has(read.Names, "b"));
    const QuinceSourceReport bad = CheckQuinceExpression(context, "1 +\n");
    EXPECT_FALSE(bad.Compiled);
    EXPECT_EQ(bad.ErrorLine, 1u);
}

}  // namespace
