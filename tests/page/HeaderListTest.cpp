// HeaderList: one pair per name without regard to case, names kept in lower
// case, positions kept on replacement.
#include <gtest/gtest.h>

#include "page/HeaderList.h"

TEST(HeaderList, AddReturnsCountForNewAndIndexForReplaced) {
    HeaderList headers;
    EXPECT_EQ(1, headers.Add("Content-Type", "text/plain"));
    EXPECT_EQ(2, headers.Add("X-One", "1"));
    EXPECT_EQ(0, headers.Add("CONTENT-type", "text/html"));
    ASSERT_EQ(2, headers.GetCount());
    EXPECT_STREQ("content-type", headers.GetName(0).GetString());
    EXPECT_STREQ("text/html", headers.GetValue(0).GetString());
    EXPECT_STREQ("x-one", headers.GetName(1).GetString());
}

TEST(HeaderList, LookupsIgnoreCaseAndMissesAreEmpty) {
    HeaderList headers;
    headers.Add("Location", "/next");
    EXPECT_EQ(0, headers.Find("LOCATION"));
    EXPECT_EQ(-1, headers.Find("Refresh"));
    EXPECT_STREQ("/next", headers.GetValue(NyxString("location")).GetString());
    EXPECT_TRUE(headers.GetValue(NyxString("Refresh")).IsEmpty());
}

TEST(HeaderList, DeleteByNameAndIndexKeepsOrder) {
    HeaderList headers;
    headers.Add("a", "1");
    headers.Add("b", "2");
    headers.Add("c", "3");
    headers.Delete(NyxString("B"));
    ASSERT_EQ(2, headers.GetCount());
    EXPECT_STREQ("c", headers.GetName(1).GetString());
    headers.Delete(0);
    ASSERT_EQ(1, headers.GetCount());
    EXPECT_STREQ("c", headers.GetName(0).GetString());
}

TEST(HeaderList, CopiesAreIndependent) {
    HeaderList parent;
    parent.Add("a", "1");
    HeaderList child(parent);
    child.Add("b", "2");
    child.Add("a", "changed");
    EXPECT_EQ(1, parent.GetCount());
    EXPECT_STREQ("1", parent.GetValue(0).GetString());
}
