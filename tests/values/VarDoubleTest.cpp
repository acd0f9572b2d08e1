// Tests of VarDouble: truncation, narrowing, %.15g text.
#include "values/VarDouble.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <limits>

#include "values/VarString.h"

namespace {

TEST(VarDoubleTest, HalfIsFalse) {
    VarDouble d;
    d.SetDoubleValue(0.5);
    EXPECT_EQ(d.GetBoolValue(), 0);
    d.SetDoubleValue(0.9);
    EXPECT_EQ(d.GetIntegerValue(), 0);
    d.SetDoubleValue(-2.9);
    EXPECT_EQ(d.GetIntegerValue(), -2);
    EXPECT_EQ(d.GetCharValue(), -2);
}

TEST(VarDoubleTest, CharIsTheLowByteOfTheTruncatedValue) {
    VarDouble d;
    d.SetDoubleValue(300.7);
    EXPECT_EQ(d.GetCharValue(), 44);
}

TEST(VarDoubleTest, NarrowsToTheNearestFloat) {
    VarDouble d;
    d.SetDoubleValue(0.1);
    EXPECT_EQ(d.GetFloatValue(), 0.1f);
    d.SetDoubleValue(1e300);
    EXPECT_EQ(d.GetFloatValue(), std::numeric_limits<float>::infinity());
}

TEST(VarDoubleTest, OutOfRangeSaturatesAndNaNGivesZero) {
    VarDouble d;
    d.SetDoubleValue(3e9);
    EXPECT_EQ(d.GetIntegerValue(), INT32_MAX);
    d.SetDoubleValue(-3e9);
    EXPECT_EQ(d.GetIntegerValue(), INT32_MIN);
    d.SetDoubleValue(2147483647.9);
    EXPECT_EQ(d.GetIntegerValue(), INT32_MAX);
    d.SetDoubleValue(-2147483648.5);
    EXPECT_EQ(d.GetIntegerValue(), INT32_MIN);
    d.SetDoubleValue(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(d.GetIntegerValue(), 0);
}

TEST(VarDoubleTest, TextUsesFifteenSignificantDigits) {
    VarDouble d;
    d.SetDoubleValue(0.1 + 0.2);
    EXPECT_EQ(d.GetText().ToStd(), "0.3");
    d.SetDoubleValue(1.0 / 3.0);
    EXPECT_EQ(d.GetText().ToStd(), "0.333333333333333");
    d.SetDoubleValue(1e3);
    EXPECT_EQ(d.GetText().ToStd(), "1000");
    d.SetDoubleValue(2.5);
    NyxString out;
    d.DumpValue(out, "");
    d.DumpType(out, ":", 0);
    EXPECT_EQ(out.ToStd(), "2.5:double");
}

TEST(VarDoubleTest, AssignFromStringReadsItsLeadingNumber) {
    VarDouble d;
    VarString s;
    s.SetStringValue(NyxString("1.25e2xyz"));
    EXPECT_EQ(d.Assign(&s), 1);
    EXPECT_EQ(d.GetDoubleValue(), 125.0);
}

}  // namespace
