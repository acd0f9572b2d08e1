// Tests of src/check/TagRules.cpp: suggestions for misspelt tags and
// parameters, and the bounded edit distance behind them.
#include <gtest/gtest.h>

#include "check/TagRules.h"
#include "values/HtmlTagIds.h"

TEST(TagRulesTest, EditDistanceCountsEditsWithoutCaseAndStopsAtTheLimit)
{
    EXPECT_EQ(EditDistance("SETVAR", "setvar", 5), 0u);
    EXPECT_EQ(EditDistance("SETVRA", "SETVAR", 5), 1u);  // neighbours swapped
    EXPECT_EQ(EditDistance("INCLUDEE", "INCLUDE", 5), 1u);
    EXPECT_EQ(EditDistance("condtion", "condition", 5), 1u);
    EXPECT_EQ(EditDistance("", "abc", 5), 3u);
    EXPECT_EQ(EditDistance("abcdefgh", "zyxwvuts", 3), 3u);
    EXPECT_EQ(EditDistance("a", "abcdefgh", 2), 2u);
}

TEST(TagRulesTest, SuggestsOwnTagsOnlyForCloseLongEnoughLabels)
{
    EXPECT_EQ(SuggestOwnTag("SETVRA"), "SETVAR");
    EXPECT_EQ(SuggestOwnTag("includee"), "INCLUDE");
    EXPECT_EQ(SuggestOwnTag("LOPP"), "LOOP");
    EXPECT_EQ(SuggestOwnTag("ELSIF"), "ELSEIF");
    EXPECT_EQ(SuggestOwnTag("endloop"), "/LOOP");
    EXPECT_EQ(SuggestOwnTag("g"), "");     // short labels are near everything
    EXPECT_EQ(SuggestOwnTag("stop"), "");  // two edits from LOOP is too far for four letters
    EXPECT_EQ(SuggestOwnTag("my-widget"), "");
}

TEST(TagRulesTest, KnowsTheParametersOfEachOwnTag)
{
    const OwnTagRules* loop = FindOwnTagRules(TagId::Loop);
    ASSERT_NE(loop, nullptr);
    EXPECT_EQ(SuggestParameter(*loop, "iterater"), "iterator");
    EXPECT_EQ(SuggestParameter(*loop, "initializer"), "initialiser");
    EXPECT_EQ(SuggestParameter(*loop, "colour"), "");
    ASSERT_EQ(loop->Required.size(), 1u);
    EXPECT_EQ(loop->Required[0][0], "condition");
    EXPECT_EQ(FindOwnTagRules(TagId::A), nullptr);
    EXPECT_EQ(FindOwnTagRules(TagId::Include)->Required[0].size(), 3u);
}
