// Tests of VarFloat: truncation towards zero, saturation, %.7g text.
#include "values/VarFloat.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

#include "values/VarInteger.h"

namespace {

TEST(VarFloatTest, TwoPointNineTruncatesToTwo) {
    VarFloat f;
    f.SetFloatValue(2.9f);
    EXPECT_EQ(f.GetIntegerValue(), 2);
    EXPECT_EQ(f.GetBoolValue(), 2);
    EXPECT_EQ(f.GetCharValue(), 2);
    EXPECT_EQ(f.GetDoubleValue(), static_cast<double>(2.9f));  // exact widening
}

TEST(VarFloatTest, MinusHalfTruncatesToZero) {
    VarFloat f;
    f.SetFloatValue(-0.5f);
    EXPECT_EQ(f.GetIntegerValue(), 0);
    f.SetFloatValue(-2.9f);
    EXPECT_EQ(f.GetIntegerValue(), -2);
}

TEST(VarFloatTest, OutOfRangeSaturatesAndNaNGivesZero) {
    VarFloat f;
    f.SetFloatValue(1e20f);
    EXPECT_EQ(f.GetIntegerValue(), INT32_MAX);
    f.SetFloatValue(-1e20f);
    EXPECT_EQ(f.GetIntegerValue(), INT32_MIN);
    f.SetFloatValue(std::numeric_limits<float>::infinity());
    EXPECT_EQ(f.GetIntegerValue(), INT32_MAX);
    f.SetFloatValue(std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(f.GetIntegerValue(), 0);
    EXPECT_EQ(f.GetBoolValue(), 0);
}

TEST(VarFloatTest, TextUsesSevenSignificantDigits) {
    VarFloat f;
    f.SetFloatValue(0.1f);
    EXPECT_EQ(f.GetText().ToStd(), "0.1");
    f.SetFloatValue(1.5f);
    EXPECT_EQ(f.GetText().ToStd(), "1.5");
    f.SetFloatValue(123456789.0f);
    EXPECT_EQ(f.GetText().ToStd(), "1.234568e+08");
    NyxString out;
    f.DumpType(out, "", 0);
    EXPECT_EQ(out.ToStd(), "float");
}

TEST(VarFloatTest, AssignFromIntegerConverts) {
    VarFloat f;
    VarInteger n;
    n.SetIntegerValue(-7);
    EXPECT_EQ(f.Assign(&n), 1);
    EXPECT_EQ(f.GetFloatValue(), -7.0f);
    EXPECT_EQ(f.GetTypeId(), Variable::TypeFloat);
}

}  // namespace
