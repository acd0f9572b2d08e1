// Tests of VarString: storage (also of its own text), conversions both ways,
// quoted DumpValue.
#include "values/VarString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

#include "values/VarArray.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"

namespace {

TEST(VarStringTest, StartsEmptyAndReadable) {
    VarString s;
    EXPECT_STREQ(s.GetStringValue(), "");
    EXPECT_EQ(s.GetLength(), 0u);
    EXPECT_EQ(s.GetIntegerValue(), 0);
    EXPECT_EQ(s.GetCharValue(), 0);
}

TEST(VarStringTest, SetStringValueWithCountAndWithTerminator) {
    VarString s;
    s.SetStringValue("abcdef", 3);
    EXPECT_STREQ(s.GetStringValue(), "abc");
    EXPECT_EQ(s.GetLength(), 3u);
    s.SetStringValue("xy", NyxString::kAll);
    EXPECT_STREQ(s.GetStringValue(), "xy");
    s.SetStringValue(nullptr, 5);
    EXPECT_EQ(s.GetLength(), 0u);
}

TEST(VarStringTest, KeepsEmbeddedZeroBytesInItsText) {
    VarString s;
    s.SetStringValue(NyxString(std::string_view("a\0b", 3)));
    EXPECT_EQ(s.GetLength(), 3u);
    EXPECT_EQ(s.GetText().GetSize(), 3u);
}

TEST(VarStringTest, SetFromItsOwnTextIsSafe) {
    VarString s;
    s.SetStringValue(NyxString("hello world"));
    s.SetStringValue(s.GetStringValue() + 6, NyxString::kAll);
    EXPECT_STREQ(s.GetStringValue(), "world");
}

TEST(VarStringTest, AppendStringGrowsAndMayAppendItself) {
    VarString s;
    s.SetStringValue(NyxString("ab"));
    for (int i = 0; i < 10; ++i) s.AppendString(s.GetStringValue(), s.GetLength());
    EXPECT_EQ(s.GetLength(), 2048u);
    EXPECT_EQ(std::string(s.GetStringValue(), 4), "abab");
    s.AppendString("!", NyxString::kAll);
    EXPECT_EQ(s.GetLength(), 2049u);
    EXPECT_EQ(s.GetStringValue()[2048], '!');
    s.AppendString(nullptr, 4);
    EXPECT_EQ(s.GetLength(), 2049u);
}

TEST(VarStringTest, IntegerIsTheLeadingNumberInAnyBase) {
    VarString s;
    s.SetStringValue(NyxString("42abc"));
    EXPECT_EQ(s.GetIntegerValue(), 42);
    s.SetStringValue(NyxString("0x10"));
    EXPECT_EQ(s.GetIntegerValue(), 16);
    s.SetStringValue(NyxString("010"));
    EXPECT_EQ(s.GetIntegerValue(), 8);  // base 0: a leading 0 is octal
    s.SetStringValue(NyxString("  -7"));
    EXPECT_EQ(s.GetIntegerValue(), -7);
    s.SetStringValue(NyxString("-99999999999"));
    EXPECT_EQ(s.GetIntegerValue(), INT32_MIN);
    s.SetStringValue(NyxString("2.9"));
    EXPECT_EQ(s.GetIntegerValue(), 2);
}

TEST(VarStringTest, DoubleAndFloatReadTheLeadingNumber) {
    VarString s;
    s.SetStringValue(NyxString("2.5kg"));
    EXPECT_EQ(s.GetDoubleValue(), 2.5);
    EXPECT_EQ(s.GetFloatValue(), 2.5f);
    s.SetStringValue(NyxString("none"));
    EXPECT_EQ(s.GetDoubleValue(), 0.0);
}

TEST(VarStringTest, BoolReadsTheWordsItWritesAndOtherwiseTheNumber) {
    VarString s;
    s.SetStringValue(NyxString("true"));
    EXPECT_EQ(s.GetBoolValue(), 1);
    s.SetStringValue(NyxString("false"));
    EXPECT_EQ(s.GetBoolValue(), 0);
    s.SetStringValue(NyxString("5"));
    EXPECT_EQ(s.GetBoolValue(), 5);
    s.SetStringValue(NyxString("yes"));
    EXPECT_EQ(s.GetBoolValue(), 0);
}

TEST(VarStringTest, NumericSettersStoreTheNumbersText) {
    VarString s;
    s.SetIntegerValue(-12);
    EXPECT_STREQ(s.GetStringValue(), "-12");
    s.SetDoubleValue(0.1);
    EXPECT_STREQ(s.GetStringValue(), "0.1");
    s.SetFloatValue(2.5f);
    EXPECT_STREQ(s.GetStringValue(), "2.5");
    s.SetBoolValue(7);
    EXPECT_STREQ(s.GetStringValue(), "true");
    s.SetCharValue('Z');
    EXPECT_STREQ(s.GetStringValue(), "Z");
}

TEST(VarStringTest, AssignTakesEachValuesText) {
    VarString s;
    VarInteger n;
    n.SetIntegerValue(42);
    EXPECT_EQ(s.Assign(&n), 1);
    EXPECT_STREQ(s.GetStringValue(), "42");
    VarDouble d;
    d.SetDoubleValue(1.0 / 3.0);
    s.Assign(&d);
    EXPECT_STREQ(s.GetStringValue(), "0.333333333333333");
    VarFloat f;
    f.SetFloatValue(0.1f);
    s.Assign(&f);
    EXPECT_STREQ(s.GetStringValue(), "0.1");
    VarBoolean b;
    s.Assign(&b);
    EXPECT_STREQ(s.GetStringValue(), "false");
    VarChar c;
    c.SetCharValue('x');
    s.Assign(&c);
    EXPECT_STREQ(s.GetStringValue(), "x");
    VarString other;
    other.SetStringValue(NyxString("copy"));
    s.Assign(&other);
    EXPECT_STREQ(s.GetStringValue(), "copy");
    EXPECT_EQ(s.GetTypeId(), Variable::TypeString);
}

TEST(VarStringTest, AssignOfAnArrayTakesItsBracketedText) {
    VarString s;
    VarIntegerArray a;
    a.SetArraySize(2);
    a.GetArrayElement(1)->SetIntegerValue(3);
    EXPECT_EQ(s.Assign(&a), 1);
    EXPECT_STREQ(s.GetStringValue(), "[0,3]");
    EXPECT_EQ(s.Assign(nullptr), 0);
}

TEST(VarStringTest, AssignToItselfKeepsTheText) {
    VarString s;
    s.SetStringValue(NyxString("same"));
    EXPECT_EQ(s.Assign(&s), 1);
    EXPECT_STREQ(s.GetStringValue(), "same");
}

TEST(VarStringTest, DumpValueQuotesAndTextDoesNot) {
    VarString s;
    s.SetStringValue(NyxString("a \"b\""));
    NyxString out("x=");
    s.DumpValue(out, "");
    EXPECT_EQ(out.ToStd(), "x=\"a \"b\"\"");
    EXPECT_EQ(s.GetText().ToStd(), "a \"b\"");
    out.Clear();
    s.DumpType(out, "pre", 0);
    EXPECT_EQ(out.ToStd(), "prestring");
}

TEST(VarStringTest, CloneAndAssignmentOperatorCopyTheText) {
    VarString s("name");
    s.SetStringValue(NyxString("value"));
    Variable* copy = s.Clone();
    ASSERT_NE(copy, nullptr);
    s.SetStringValue(NyxString("changed"));
    EXPECT_STREQ(copy->GetStringValue(), "value");
    EXPECT_EQ(copy->GetVarName().ToStd(), "name");
    Variable::Delete(copy);

    VarString target;
    target = s;
    EXPECT_STREQ(target.GetStringValue(), "changed");
    target = target;
    EXPECT_STREQ(target.GetStringValue(), "changed");
}

}  // namespace
