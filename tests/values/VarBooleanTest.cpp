// Tests of VarBoolean: no normalisation, text true/false, conversions.
#include "values/VarBoolean.h"

#include <gtest/gtest.h>

#include "values/VarArray.h"
#include "values/VarDouble.h"
#include "values/VarString.h"

namespace {

TEST(VarBooleanTest, HoldingOneReadsOneEverywhere) {
    VarBoolean b;
    b.SetBoolValue(1);
    EXPECT_EQ(b.GetFloatValue(), 1.0f);
    EXPECT_EQ(b.GetDoubleValue(), 1.0);
    EXPECT_EQ(b.GetIntegerValue(), 1);
    EXPECT_EQ(b.GetCharValue(), 1);
}

TEST(VarBooleanTest, ValueIsNotNormalised) {
    VarBoolean b;
    b.SetBoolValue(300);
    EXPECT_EQ(b.GetBoolValue(), 300);
    EXPECT_EQ(b.GetIntegerValue(), 300);
    EXPECT_EQ(b.GetCharValue(), 44);  // low 8 bits
    b.SetBoolValue(-1);
    EXPECT_EQ(b.GetBoolValue(), -1);
}

TEST(VarBooleanTest, TextIsTrueOrFalse) {
    VarBoolean b;
    EXPECT_EQ(b.GetText().ToStd(), "false");
    b.SetBoolValue(-5);
    EXPECT_EQ(b.GetText().ToStd(), "true");
    NyxString out;
    b.DumpValue(out, "");
    EXPECT_EQ(out.ToStd(), "true");
}

TEST(VarBooleanTest, DumpTypeAppendsPrefixAndName) {
    VarBoolean b;
    NyxString out("<");
    b.DumpType(out, "x", 7);
    EXPECT_EQ(out.ToStd(), "<xbool");
}

TEST(VarBooleanTest, AssignConvertsAndKeepsTheType) {
    VarBoolean b;
    VarDouble d;
    d.SetDoubleValue(0.5);
    EXPECT_EQ(b.Assign(&d), 1);
    EXPECT_EQ(b.GetBoolValue(), 0);  // truncated, never rounded
    VarString s;
    s.SetStringValue(NyxString("true"));
    EXPECT_EQ(b.Assign(&s), 1);
    EXPECT_EQ(b.GetBoolValue(), 1);
    s.SetStringValue(NyxString("false"));
    b.Assign(&s);
    EXPECT_EQ(b.GetBoolValue(), 0);
    EXPECT_EQ(b.GetTypeId(), Variable::TypeBoolean);
}

TEST(VarBooleanTest, AssignRefusesNullAndArrays) {
    VarBoolean b;
    b.SetBoolValue(3);
    VarIntegerArray a;
    EXPECT_EQ(b.Assign(nullptr), 0);
    EXPECT_EQ(b.Assign(&a), 0);
    EXPECT_EQ(b.GetBoolValue(), 3);
}

TEST(VarBooleanTest, CloneIsIndependent) {
    VarBoolean b("flag");
    b.SetBoolValue(7);
    Variable* copy = b.Clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetTypeId(), Variable::TypeBoolean);
    EXPECT_EQ(copy->GetBoolValue(), 7);
    EXPECT_EQ(copy->GetVarName().ToStd(), "flag");
    copy->SetBoolValue(0);
    EXPECT_EQ(b.GetBoolValue(), 7);
    Variable::Delete(copy);
}

}  // namespace
