// TagDefList: definitions keyed by name without regard to case; redefining
// replaces all three fields in place.
#include <gtest/gtest.h>

#include "tags/TagDefList.h"

TEST(TagDefList, EmptyListFindsNothing) {
    TagDefList list;
    EXPECT_EQ(-1, list.FindDefinition("box"));
    EXPECT_TRUE(list.GetDefinition("box").IsEmpty());
    EXPECT_EQ(0, list.GetParseFlag("box"));
}

TEST(TagDefList, RedefinitionInOtherCaseReplacesEverythingInPlace) {
    TagDefList list;
    list.AddDefinition("box", "drawbox", 1);
    list.AddDefinition("/box", "endbox", 0);
    list.AddDefinition("BOX", "drawbox2", 0);
    EXPECT_EQ(0, list.FindDefinition("Box"));
    EXPECT_EQ(1, list.FindDefinition("/BOX"));
    EXPECT_STREQ("drawbox2", list.GetDefinition("box").GetString());
    EXPECT_EQ(0, list.GetParseFlag("box"));
}

TEST(TagDefList, EmptyNameMatchesOnlyEmptyKeys) {
    TagDefList list;
    list.AddDefinition("", "text", 0);
    EXPECT_EQ(0, list.FindDefinition(""));
    EXPECT_EQ(-1, list.FindDefinition("p"));
}

TEST(TagDefList, DeleteMovesLaterEntriesDown) {
    TagDefList list;
    list.AddDefinition("a", "pa", 0);
    list.AddDefinition("b", "pb", 0);
    list.AddDefinition("c", "pc", 0);
    list.DeleteDefinition("b");
    EXPECT_EQ(1, list.FindDefinition("c"));
    list.DeleteDefinition(0);
    EXPECT_EQ(0, list.FindDefinition("c"));
}
