// Tokeniser: words split at blanks and tabs only.
#include "quince/Tokeniser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> Words(const char* text) {
    Tokeniser tokeniser{NyxString(text)};
    std::vector<std::string> words;
    for (int guard = 0; guard < 100; ++guard) {
        const NyxString word = tokeniser.GetNextToken(1, 1);
        if (word.IsEmpty()) break;
        words.push_back(word.ToStd());
    }
    return words;
}

TEST(TokeniserTest, SplitsAtBlanksAndTabs) {
    EXPECT_EQ(Words("one two\tthree"), (std::vector<std::string>{"one", "two", "three"}));
}

TEST(TokeniserTest, KeepsPointsCommasAndSemicolonsInsideAWord) {
    EXPECT_EQ(Words("a.b x,y c;d"), (std::vector<std::string>{"a.b", "x,y", "c;d"}));
}

TEST(TokeniserTest, SkipsRunsOfBlanksAtEitherEnd) {
    EXPECT_EQ(Words("  \t lead   trail \t "), (std::vector<std::string>{"lead", "trail"}));
}

TEST(TokeniserTest, EmptyAndBlankTextsGiveNoWord) {
    EXPECT_TRUE(Words("").empty());
    EXPECT_TRUE(Words(" \t ").empty());
}

TEST(TokeniserTest, GivesEmptyAgainAfterTheEnd) {
    Tokeniser tokeniser{NyxString("only")};
    EXPECT_EQ(tokeniser.GetNextToken(1, 1).ToStd(), "only");
    EXPECT_TRUE(tokeniser.GetNextToken(1, 1).IsEmpty());
    EXPECT_TRUE(tokeniser.GetNextToken(1, 1).IsEmpty());
}

TEST(TokeniserTest, LineEndsAreNoSeparators) {
    EXPECT_EQ(Words("a\nb c"), (std::vector<std::string>{"a\nb", "c"}));
}

}  // namespace
