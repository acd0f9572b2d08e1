// Tests of VarChar: a signed byte, sign-extended into the numeric getters.
#include "values/VarChar.h"

#include <gtest/gtest.h>

#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

TEST(VarCharTest, ByteFFReadsAsMinusOne) {
    VarChar c;
    c.SetCharValue(static_cast<char>(0xFF));
    EXPECT_EQ(c.GetIntegerValue(), -1);
    EXPECT_EQ(c.GetBoolValue(), -1);
    EXPECT_EQ(c.GetDoubleValue(), -1.0);
    EXPECT_EQ(c.GetFloatValue(), -1.0f);
}

TEST(VarCharTest, TextIsTheCharacterItself) {
    VarChar c;
    c.SetCharValue('A');
    EXPECT_EQ(c.GetText().ToStd(), "A");
    EXPECT_EQ(c.GetIntegerValue(), 65);
    NyxString out;
    c.DumpValue(out, "");
    EXPECT_EQ(out.ToStd(), "A");
    out.Clear();
    c.DumpType(out, "p", 0);
    EXPECT_EQ(out.ToStd(), "pchar");
}

TEST(VarCharTest, AssignFromIntegerTakesTheLowByte) {
    VarChar c;
    VarInteger n;
    n.SetIntegerValue(300);
    EXPECT_EQ(c.Assign(&n), 1);
    EXPECT_EQ(c.GetCharValue(), 44);
}

TEST(VarCharTest, AssignFromStringTakesItsFirstCharacter) {
    VarChar c;
    VarString s;
    s.SetStringValue(NyxString("xyz"));
    EXPECT_EQ(c.Assign(&s), 1);
    EXPECT_EQ(c.GetCharValue(), 'x');
}

TEST(VarCharTest, CloneKeepsTheValue) {
    VarChar c;
    c.SetCharValue('q');
    Variable* copy = c.Clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetCharValue(), 'q');
    EXPECT_EQ(copy->GetTypeId(), Variable::TypeChar);
    Variable::Delete(copy);
}

}  // namespace
