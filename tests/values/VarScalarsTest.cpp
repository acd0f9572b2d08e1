// Tests of the scalar variables (bool, char, int, float, double), one table
// for all five: what every getter reads from a value set through the kind's
// own setter (truncation, saturation, sign extension, no normalisation), the
// text and type name each shows, assignment from other kinds, and copies.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "values/VarArray.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

struct Dropper {
    void operator()(Variable* variable) const { Variable::Delete(variable); }
};
using Held = std::unique_ptr<Variable, Dropper>;

Held Boolean(int value) { auto* v = new VarBoolean(NyxString("b")); v->SetBoolValue(value); return Held(v); }
Held Char(char value) { auto* v = new VarChar(NyxString("c")); v->SetCharValue(value); return Held(v); }
Held Integer(long value) { auto* v = new VarInteger(NyxString("n")); v->SetIntegerValue(value); return Held(v); }
Held Float(float value) { auto* v = new VarFloat(NyxString("f")); v->SetFloatValue(value); return Held(v); }
Held Double(double value) { auto* v = new VarDouble(NyxString("d")); v->SetDoubleValue(value); return Held(v); }
Held String(const char* value) { auto* v = new VarString(NyxString("s")); v->SetStringValue(NyxString(value)); return Held(v); }

// One variable of each kind, holding `value` (a char holds it as a byte).
std::vector<Held> OneOfEachKind(int value) {
    std::vector<Held> all;
    all.push_back(Boolean(value));
    all.push_back(Char(static_cast<char>(value)));
    all.push_back(Integer(value));
    all.push_back(Float(static_cast<float>(value)));
    all.push_back(Double(value));
    return all;
}

constexpr float kFloatInfinity = std::numeric_limits<float>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// What a variable reads as; only the readings given are checked.
struct Reading {
    const char* Case;
    std::function<Held()> Make;
    std::optional<long> Integer;
    std::optional<int> Bool;
    std::optional<char> Char;
    std::optional<double> Double;
    std::optional<float> Float;
    std::optional<std::string> Text;
};

TEST(VarScalars, EveryGetterReadsWhatTheKindDefines) {
    const std::vector<Reading> readings = {
        {"bool 1", [] { return Boolean(1); }, 1, 1, 1, 1.0, 1.0f, "true"},
        {"bool keeps 300", [] { return Boolean(300); }, 300, 300, 44, {}, {}, "true"},
        {"bool keeps -1", [] { return Boolean(-1); }, {}, -1, {}, {}, {}, "true"},
        {"bool 0", [] { return Boolean(0); }, 0, 0, {}, {}, {}, "false"},
        {"char FF is -1", [] { return Char(static_cast<char>(0xFF)); }, -1, -1, {}, -1.0, -1.0f, "\xFF"},
        {"char A", [] { return Char('A'); }, 65, {}, 'A', {}, {}, "A"},
        {"int 300", [] { return Integer(300); }, 300, 300, 44, {}, {}, "300"},
        {"int 255", [] { return Integer(255); }, {}, {}, static_cast<char>(0xFF), {}, {}, {}},
        {"int wraps at 32 bits", [] { return Integer(static_cast<long>(INT32_MAX) + 1); }, INT32_MIN, {}, {}, {}, {}, "-2147483648"},
        {"int to float rounds", [] { return Integer(16777217); }, {}, {}, {}, 16777217.0, 16777216.0f, {}},
        {"float 2.9", [] { return Float(2.9f); }, 2, 2, 2, static_cast<double>(2.9f), {}, "2.9"},
        {"float -0.5", [] { return Float(-0.5f); }, 0, {}, {}, {}, {}, {}},
        {"float -2.9", [] { return Float(-2.9f); }, -2, {}, {}, {}, {}, {}},
        {"float 1e20", [] { return Float(1e20f); }, INT32_MAX, {}, {}, {}, {}, {}},
        {"float -1e20", [] { return Float(-1e20f); }, INT32_MIN, {}, {}, {}, {}, {}},
        {"float infinity", [] { return Float(kFloatInfinity); }, INT32_MAX, {}, {}, {}, {}, {}},
        {"float NaN", [] { return Float(std::numeric_limits<float>::quiet_NaN()); }, 0, 0, {}, {}, {}, {}},
        {"float 0.1", [] { return Float(0.1f); }, {}, {}, {}, {}, {}, "0.1"},
        {"float seven digits", [] { return Float(123456789.0f); }, {}, {}, {}, {}, {}, "1.234568e+08"},
        {"double 0.5 is false", [] { return Double(0.5); }, 0, 0, {}, {}, {}, {}},
        {"double -2.9", [] { return Double(-2.9); }, -2, {}, -2, {}, {}, {}},
        {"double 300.7", [] { return Double(300.7); }, {}, {}, 44, {}, {}, {}},
        {"double 0.1 narrows", [] { return Double(0.1); }, {}, {}, {}, {}, 0.1f, {}},
        {"double 1e300 narrows", [] { return Double(1e300); }, {}, {}, {}, {}, kFloatInfinity, {}},
        {"double 3e9", [] { return Double(3e9); }, INT32_MAX, {}, {}, {}, {}, {}},
        {"double -3e9", [] { return Double(-3e9); }, INT32_MIN, {}, {}, {}, {}, {}},
        {"double just under the top", [] { return Double(2147483647.9); }, INT32_MAX, {}, {}, {}, {}, {}},
        {"double just under the bottom", [] { return Double(-2147483648.5); }, INT32_MIN, {}, {}, {}, {}, {}},
        {"double NaN", [] { return Double(kNaN); }, 0, {}, {}, {}, {}, {}},
        {"double 0.1 + 0.2", [] { return Double(0.1 + 0.2); }, {}, {}, {}, {}, {}, "0.3"},
        {"double 1/3", [] { return Double(1.0 / 3.0); }, {}, {}, {}, {}, {}, "0.333333333333333"},
        {"double 1e3", [] { return Double(1e3); }, {}, {}, {}, {}, {}, "1000"},
    };
    for (const Reading& reading : readings) {
        SCOPED_TRACE(reading.Case);
        const Held variable = reading.Make();
        if (reading.Integer) EXPECT_EQ(variable->GetIntegerValue(), *reading.Integer);
        if (reading.Bool) EXPECT_EQ(variable->GetBoolValue(), *reading.Bool);
        if (reading.Char) EXPECT_EQ(variable->GetCharValue(), *reading.Char);
        if (reading.Double) EXPECT_EQ(variable->GetDoubleValue(), *reading.Double);
        if (reading.Float) EXPECT_EQ(variable->GetFloatValue(), *reading.Float);
        if (reading.Text) {
            EXPECT_EQ(variable->GetText().ToStd(), *reading.Text);
            NyxString dumped;
            variable->DumpValue(dumped, "");
            EXPECT_EQ(dumped.ToStd(), *reading.Text);
        }
    }
}

TEST(VarScalars, TypeNamesFollowThePrefix) {
    const std::vector<Held> kinds = OneOfEachKind(0);
    const char* const names[] = {"<xbool", "<xchar", "<xint", "<xfloat", "<xdouble"};
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        NyxString out("<");
        kinds[i]->DumpType(out, "x", 7);
        EXPECT_EQ(out.ToStd(), names[i]);
    }
}

// Assignment converts into the target's kind, which never changes.
TEST(VarScalars, AssignmentConvertsIntoTheTargetsKind) {
    struct Case {
        const char* Name;
        std::function<Held()> Target;
        std::function<Held()> Source;
        long Expected;
    };
    const std::vector<Case> cases = {
        {"bool from 0.5 truncates", [] { return Boolean(3); }, [] { return Double(0.5); }, 0},
        {"bool from \"true\"", [] { return Boolean(0); }, [] { return String("true"); }, 1},
        {"bool from \"false\"", [] { return Boolean(1); }, [] { return String("false"); }, 0},
        {"char from 300 keeps the low byte", [] { return Char(0); }, [] { return Integer(300); }, 44},
        {"char from a string takes its first", [] { return Char(0); }, [] { return String("xyz"); }, 'x'},
        {"int from -2.9 truncates", [] { return Integer(0); }, [] { return Double(-2.9); }, -2},
        {"int from a hex prefix", [] { return Integer(0); }, [] { return String("  0x1F rest"); }, 31},
        {"int from no number", [] { return Integer(5); }, [] { return String("abc"); }, 0},
        {"int from too many digits saturates", [] { return Integer(0); }, [] { return String("99999999999"); }, INT32_MAX},
        {"float from -7", [] { return Float(0); }, [] { return Integer(-7); }, -7},
        {"double from a leading number", [] { return Double(0); }, [] { return String("1.25e2xyz"); }, 125},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        const Held target = c.Target();
        const Held source = c.Source();
        const int kind = target->GetTypeId();
        EXPECT_EQ(target->Assign(source.get()), 1);
        EXPECT_EQ(target->GetTypeId(), kind);
        EXPECT_EQ(static_cast<long>(target->GetDoubleValue()), c.Expected);
    }
}

TEST(VarScalars, AssignmentRefusesNullAndArraysAndKeepsTheValue) {
    VarIntegerArray array;
    for (const Held& target : OneOfEachKind(3)) {
        EXPECT_EQ(target->Assign(nullptr), 0);
        EXPECT_EQ(target->Assign(&array), 0);
        EXPECT_EQ(target->GetIntegerValue(), 3);
    }
}

TEST(VarScalars, CopiesKeepKindNameAndValueAndStandAlone) {
    for (const Held& original : OneOfEachKind('q')) {
        Held copy(original->Clone());
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(copy->GetTypeId(), original->GetTypeId());
        EXPECT_EQ(copy->GetVarName().ToStd(), original->GetVarName().ToStd());
        EXPECT_EQ(copy->GetIntegerValue(), original->GetIntegerValue());
        copy->SetIntegerValue(0);
        EXPECT_NE(original->GetIntegerValue(), 0);
    }
}

TEST(VarScalars, AnIntegersHandleIsItsSignExtendedValue) {
    EXPECT_EQ(reinterpret_cast<intptr_t>(Integer(-2)->GetHandleValue()), -2);
}

}  // namespace
