// Tests of NyxString: null and empty comparison rules, assignment to itself,
// Printf, searching and replacing.
#include "values/NyxString.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const char* const kNull = nullptr;

TEST(NyxStringTest, NullPointerGivesTheEmptyString) {
    NyxString s(kNull);
    EXPECT_TRUE(s.IsEmpty());
    ASSERT_NE(s.GetString(), nullptr);
    EXPECT_EQ(s.GetString()[0], '\0');
}

TEST(NyxStringTest, EqualityWithNullHoldsExactlyForTheEmptyString) {
    NyxString empty;
    NyxString text("abc");
    EXPECT_TRUE(empty == kNull);
    EXPECT_FALSE(empty != kNull);
    EXPECT_FALSE(text == kNull);
    EXPECT_TRUE(text != kNull);
    EXPECT_TRUE(empty == "");
    EXPECT_FALSE(text == "");
}

TEST(NyxStringTest, OrderingAgainstNullFollowsCompareGivingOne) {
    NyxString empty;
    NyxString text("abc");
    EXPECT_EQ(empty.Compare(kNull), 1);
    EXPECT_TRUE(empty == kNull);
    EXPECT_TRUE(empty > kNull);  // equal and greater at once
    EXPECT_TRUE(empty >= kNull);
    EXPECT_FALSE(empty < kNull);
    EXPECT_FALSE(empty <= kNull);
    EXPECT_FALSE(text < kNull);
    EXPECT_FALSE(text <= kNull);
    EXPECT_TRUE(text > kNull);
}

TEST(NyxStringTest, EmptyStringsAreEqualInBothModes) {
    NyxString a;
    NyxString b;
    NyxString c("x");
    EXPECT_TRUE(a.IsEqualTo(b, true));
    EXPECT_TRUE(a.IsEqualTo(b, false));
    EXPECT_FALSE(c.IsEqualTo(a, true));
    EXPECT_FALSE(c.IsEqualTo(a, false));
    EXPECT_FALSE(a.IsEqualTo(c, false));
    EXPECT_TRUE(a.IsNotEqualTo(c));
}

TEST(NyxStringTest, CaseRules) {
    NyxString s("abc");
    EXPECT_TRUE(s.IsEqualTo("ABC", false));
    EXPECT_FALSE(s == "ABC");
    EXPECT_TRUE(s.IsEqualTo(NyxString("ABC"), false));
    EXPECT_FALSE(s == NyxString("ABC"));
    EXPECT_EQ(s.Compare("ABC", false), 0);
    EXPECT_GT(s.Compare("ABC", true), 0);
}

TEST(NyxStringTest, RelationalOperatorsFollowStrcmp) {
    NyxString b("b");
    EXPECT_TRUE(b < "c");
    EXPECT_TRUE(b <= "b");
    EXPECT_TRUE(b > NyxString("a"));
    EXPECT_TRUE(b >= NyxString("b"));
    EXPECT_FALSE(b < "b");
}

TEST(NyxStringTest, AssignOfItselfWithACountTruncates) {
    NyxString s("abcdefgh");
    s.Assign(s, 4);
    EXPECT_EQ(s.ToStd(), "abcd");
    s.Assign(s, 100);  // beyond the end: nothing to cut
    EXPECT_EQ(s.ToStd(), "abcd");
}

TEST(NyxStringTest, AssigningAStringToItselfChangesNothing) {
    NyxString s("a longer text than the inline buffer");
    s.SetTo(s);
    EXPECT_EQ(s.ToStd(), "a longer text than the inline buffer");
    NyxString& alias = s;
    s = alias;
    EXPECT_EQ(s.ToStd(), "a longer text than the inline buffer");
}

TEST(NyxStringTest, SetToFromItsOwnBufferIsSafe) {
    NyxString s("prefix and the rest of it");
    s.SetTo(s.GetString() + 7);
    EXPECT_EQ(s.ToStd(), "and the rest of it");
}

TEST(NyxStringTest, AssignWithCountAndRepeatedChar) {
    NyxString s("old");
    s.Assign("abcdef", 3);
    EXPECT_EQ(s.ToStd(), "abc");
    s.Assign('x', 3);
    EXPECT_EQ(s.ToStd(), "xxx");
    s.SetTo(kNull);
    EXPECT_TRUE(s.IsEmpty());
}

TEST(NyxStringTest, PlusLeavesTheOperandAlone) {
    NyxString a("ab");
    NyxString b = a + "cd";
    EXPECT_EQ(a.ToStd(), "ab");
    EXPECT_EQ(b.ToStd(), "abcd");
    a += a;
    EXPECT_EQ(a.ToStd(), "abab");
}

TEST(NyxStringTest, PrintfReplacesTheContent) {
    NyxString s("something already here");
    s.Printf("%u", 7u);
    EXPECT_EQ(s.ToStd(), "7");
}

TEST(NyxStringTest, PrintfTakesANyxStringPointerForCapitalS) {
    NyxString name("table");
    NyxString column("text");
    NyxString s;
    s.Printf("SELECT %S FROM %S WHERE id = %lu", &column, &name, 4000000000ul);
    EXPECT_EQ(s.ToStd(), "SELECT text FROM table WHERE id = 4000000000");
}

TEST(NyxStringTest, PrintfMayUseTheStringItselfAsAnArgument) {
    NyxString s("abc");
    s.Printf("[%S]", &s);
    EXPECT_EQ(s.ToStd(), "[abc]");
}

TEST(NyxStringTest, PrintfNumbersAndPercent) {
    NyxString s;
    s.Printf("%f|%d|%5.2f|%%|%x|%s|%c", 1.5, -3, 3.14159, 255u, "t", 'z');
    EXPECT_EQ(s.ToStd(), "1.500000|-3| 3.14|%|ff|t|z");
}

TEST(NyxStringTest, PrintfPrecisionDoesNotReadPastTheGivenBytes) {
    const char bytes[3] = {'a', 'b', 'c'};  // not terminated
    NyxString s;
    s.Printf("<%.*s>", 2, bytes);
    EXPECT_EQ(s.ToStd(), "<ab>");
    s.Printf("%-4s|", "x");
    EXPECT_EQ(s.ToStd(), "x   |");
}

TEST(NyxStringTest, PrintfLongTextsAreNotCut) {
    const std::string big(5000, 'q');
    NyxString s;
    s.Printf("%s!", big.c_str());
    EXPECT_EQ(s.GetSize(), 5001u);
    s.Printf("%6000s", "r");
    EXPECT_EQ(s.GetSize(), 6000u);
}

TEST(NyxStringTest, FindFirstAndLastGiveAllOnesOnAMiss) {
    NyxString s("abcabc");
    EXPECT_EQ(s.FindFirst("bc"), 1u);
    EXPECT_EQ(s.FindFirst("bc", 2), 4u);
    EXPECT_EQ(s.FindFirst("BC", 0, false), 1u);
    EXPECT_EQ(s.FindFirst("x"), 0xFFFFFFFFu);
    EXPECT_EQ(s.FindFirst("a", 99), 0xFFFFFFFFu);
    EXPECT_EQ(s.FindLast("bc"), 4u);
    EXPECT_EQ(s.FindLast("abcabcabc"), 0xFFFFFFFFu);
    EXPECT_EQ(s.FindLast("zz"), 0xFFFFFFFFu);
    EXPECT_EQ(s.FindLast(NyxString("A"), false), 3u);
    EXPECT_EQ(s.FindFirst(NyxString("c")), 2u);
}

TEST(NyxStringTest, FindCount) {
    NyxString s("aaaa");
    EXPECT_EQ(s.FindCount("aa"), 2u);  // occurrences do not overlap
    EXPECT_EQ(s.FindCount("A", false), 4u);
    EXPECT_EQ(s.FindCount("b"), 0u);
}

TEST(NyxStringTest, ReplaceAllCountsAndDoesNotRescanTheReplacement) {
    NyxString s("a.b.c");
    EXPECT_EQ(s.ReplaceAll(".", ".."), 2u);
    EXPECT_EQ(s.ToStd(), "a..b..c");
    EXPECT_EQ(s.ReplaceAll("x", "y"), 0u);
    EXPECT_EQ(s.ToStd(), "a..b..c");
    NyxString t("Hello hello");
    EXPECT_EQ(t.ReplaceAll("HELLO", "bye", false), 2u);
    EXPECT_EQ(t.ToStd(), "bye bye");
    EXPECT_EQ(t.ReplaceAll(NyxString("bye"), NyxString("")), 2u);
    EXPECT_EQ(t.ToStd(), " ");
}

TEST(NyxStringTest, ReplaceFirst) {
    NyxString s("one two two");
    EXPECT_TRUE(s.ReplaceFirst("two", "2"));
    EXPECT_EQ(s.ToStd(), "one 2 two");
    EXPECT_FALSE(s.ReplaceFirst("three", "3"));
}

TEST(NyxStringTest, SubstringRemoveInsert) {
    NyxString s("hello world");
    EXPECT_EQ(s.GetSubstring(6).ToStd(), "world");
    EXPECT_EQ(s.GetSubstring(0, 5).ToStd(), "hello");
    EXPECT_TRUE(s.GetSubstring(20).IsEmpty());
    s.Remove(5);
    EXPECT_EQ(s.ToStd(), "hello");
    s.Remove(0, 1);
    EXPECT_EQ(s.ToStd(), "ello");
    EXPECT_TRUE(s.Insert(0, "h"));
    EXPECT_FALSE(s.Insert(99, "x"));
    EXPECT_EQ(s.ToStd(), "hello");
}

TEST(NyxStringTest, InsertOfItself) {
    NyxString s("abcd");
    EXPECT_TRUE(s.Insert(2, s));
    EXPECT_EQ(s.ToStd(), "ababcdcd");
}

TEST(NyxStringTest, StartsEndsWith) {
    NyxString s("Index.vxl");
    EXPECT_TRUE(s.StartsWith("Index"));
    EXPECT_TRUE(s.StartsWith("index", false));
    EXPECT_FALSE(s.StartsWith("index"));
    EXPECT_TRUE(s.EndsWith(".VXL", false));
    EXPECT_FALSE(s.EndsWith("a much longer text than s"));
}

TEST(NyxStringTest, GrowthAcrossTheInlineBufferKeepsTheBytes) {
    NyxString s;
    std::string expected;
    for (int i = 0; i < 100; ++i) {
        s.Append(static_cast<char>('a' + i % 26), 1);
        expected += static_cast<char>('a' + i % 26);
    }
    EXPECT_EQ(s.ToStd(), expected);
    EXPECT_EQ(s.GetLength(), 100u);
    EXPECT_GE(s.GetCapacity(), 100u);
    s.SetLength(3);
    EXPECT_EQ(s.ToStd(), "abc");
}

TEST(NyxStringTest, MoveLeavesTheSourceEmpty) {
    NyxString a("a text long enough to live on the heap");
    NyxString b(std::move(a));
    EXPECT_EQ(b.ToStd(), "a text long enough to live on the heap");
    EXPECT_TRUE(a.IsEmpty());
    NyxString c("short");
    c = std::move(b);
    EXPECT_EQ(c.ToStd(), "a text long enough to live on the heap");
}

TEST(NyxStringTest, CaseConversion) {
    NyxString s("MiXeD 1");
    s.ToLower();
    EXPECT_EQ(s.ToStd(), "mixed 1");
    s.ToUpper();
    EXPECT_EQ(s.ToStd(), "MIXED 1");
}

TEST(NyxStringTest, WideFormRoundTrip) {
    NyxString s("abc");
    EXPECT_EQ(std::wstring(s.GetTCHAR()), L"abc");
    EXPECT_EQ(s.GetSizeTCHAR(), 3u * sizeof(wchar_t));
    NyxString t;
    t.SetToTCHAR(L"xyz");
    EXPECT_EQ(t.ToStd(), "xyz");
    char copy[4];
    s.CopyInto(copy);
    EXPECT_STREQ(copy, "abc");
}

TEST(NyxStringTest, WildcardMatch) {
    NyxString s("page.vxl");
    EXPECT_TRUE(s.Match("*.vxl"));
    EXPECT_TRUE(s.Match("p?ge.*"));
    EXPECT_FALSE(s.Match("*.VXL"));
    EXPECT_TRUE(s.MatchNoCase("*.VXL"));
    EXPECT_FALSE(s.Match("page"));
}

}  // namespace
