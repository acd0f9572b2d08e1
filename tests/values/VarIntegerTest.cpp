// Tests of VarInteger: 32 bits on every platform, low-byte char, handle.
#include "values/VarInteger.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarString.h"

namespace {

TEST(VarIntegerTest, CharIsTheLowByte) {
    VarInteger n;
    n.SetIntegerValue(300);
    EXPECT_EQ(n.GetCharValue(), 44);
    n.SetIntegerValue(255);
    EXPECT_EQ(n.GetCharValue(), static_cast<char>(0xFF));
}

TEST(VarIntegerTest, BoolIsNotNormalised) {
    VarInteger n;
    n.SetIntegerValue(5);
    EXPECT_EQ(n.GetBoolValue(), 5);
    n.SetIntegerValue(-1);
    EXPECT_EQ(n.GetBoolValue(), -1);
}

TEST(VarIntegerTest, HoldsThirtyTwoBits) {
    VarInteger n;
    n.SetIntegerValue(static_cast<long>(INT32_MAX) + 1);
    EXPECT_EQ(n.GetIntegerValue(), INT32_MIN);
    n.SetIntegerValue(INT32_MIN);
    EXPECT_EQ(n.GetIntegerValue(), INT32_MIN);
    EXPECT_EQ(n.GetText().ToStd(), "-2147483648");
}

TEST(VarIntegerTest, HandleIsTheSignExtendedValue) {
    VarInteger n;
    n.SetIntegerValue(-2);
    EXPECT_EQ(reinterpret_cast<intptr_t>(n.GetHandleValue()), -2);
}

TEST(VarIntegerTest, FloatingGettersConvert) {
    VarInteger n;
    n.SetIntegerValue(16777217);  // not a float: the nearest one is 16777216
    EXPECT_EQ(n.GetFloatValue(), 16777216.0f);
    EXPECT_EQ(n.GetDoubleValue(), 16777217.0);
}

TEST(VarIntegerTest, AssignFromDoubleTruncates) {
    VarInteger n;
    VarDouble d;
    d.SetDoubleValue(-2.9);
    EXPECT_EQ(n.Assign(&d), 1);
    EXPECT_EQ(n.GetIntegerValue(), -2);
}

TEST(VarIntegerTest, AssignFromStringReadsItsLeadingNumber) {
    VarInteger n;
    VarString s;
    s.SetStringValue(NyxString("  0x1F rest"));
    EXPECT_EQ(n.Assign(&s), 1);
    EXPECT_EQ(n.GetIntegerValue(), 31);
    s.SetStringValue(NyxString("abc"));
    n.Assign(&s);
    EXPECT_EQ(n.GetIntegerValue(), 0);
    s.SetStringValue(NyxString("99999999999"));
    n.Assign(&s);
    EXPECT_EQ(n.GetIntegerValue(), INT32_MAX);  // saturated
}

TEST(VarIntegerTest, TextAndDumps) {
    VarInteger n;
    n.SetIntegerValue(42);
    NyxString out;
    n.DumpValue(out, "");
    n.DumpType(out, " ", 0);
    EXPECT_EQ(out.ToStd(), "42 int");
}

}  // namespace
