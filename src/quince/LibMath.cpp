// Library, math: abs, min, max, floor, ceil, round, sqrt, pow, random.
// floor, ceil and round give a double (int() makes an int of it).
#include <cmath>

#include "quince/Engine.h"
#include "quince/Library.h"

namespace quince {

namespace {

bool RequireNumber(CallContext& call, const Value& value, const char* function) {
    if (value.IsNumber()) return true;
    return call.Fail("%s needs a number, not %s", function, KindName(value.kind));
}

// abs(x): an int stays an int (the smallest int stays as it is), a float a float.
bool Abs(CallContext& call, Value* args, unsigned, Value& result) {
    const Value& x = args[0];
    if (!RequireNumber(call, x, "abs")) return false;
    if (x.kind == Kind::Double) result = Value::MakeDouble(std::fabs(x.d));
    else if (x.kind == Kind::Float) result = Value::MakeFloat(std::fabs(x.f));
    else {
        const int32_t n = ToInt(x);
        result = Value::MakeInt(n < 0 ? static_cast<int32_t>(0u - static_cast<uint32_t>(n)) : n);
    }
    return true;
}

// min(a, b, ...) and max(a, b, ...): the smallest or largest value, compared as
// `<` compares (numbers as numbers, texts as texts); the first of equal ones.
bool Extreme(CallContext& call, Value* args, unsigned count, Value& result, bool wantMax) {
    unsigned best = 0;
    for (unsigned i = 1; i < count; ++i) {
        int order = 0;
        if (!Compare(args[i], args[best], order, call.Error)) return false;
        if (wantMax ? order == 1 : order == -1) best = i;
    }
    result = Copy(args[best]);
    return true;
}
bool Min(CallContext& call, Value* args, unsigned count, Value& result) { return Extreme(call, args, count, result, false); }
bool Max(CallContext& call, Value* args, unsigned count, Value& result) { return Extreme(call, args, count, result, true); }

bool Rounding(CallContext& call, Value* args, Value& result, double (*function)(double), const char* name) {
    if (!RequireNumber(call, args[0], name)) return false;
    result = Value::MakeDouble(function(ToDouble(args[0])));
    return true;
}
double RoundHalfAway(double x) { return std::round(x); }
bool Floor(CallContext& call, Value* args, unsigned, Value& result) { return Rounding(call, args, result, static_cast<double (*)(double)>(std::floor), "floor"); }
bool Ceil(CallContext& call, Value* args, unsigned, Value& result) { return Rounding(call, args, result, static_cast<double (*)(double)>(std::ceil), "ceil"); }
bool Round(CallContext& call, Value* args, unsigned, Value& result) { return Rounding(call, args, result, RoundHalfAway, "round"); }

bool Sqrt(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireNumber(call, args[0], "sqrt")) return false;
    const double x = ToDouble(args[0]);
    if (x < 0) return call.Fail("sqrt of a negative number");
    result = Value::MakeDouble(std::sqrt(x));
    return true;
}

bool Pow(CallContext& call, Value* args, unsigned, Value& result) {
    if (!RequireNumber(call, args[0], "pow") || !RequireNumber(call, args[1], "pow")) return false;
    result = Value::MakeDouble(std::pow(ToDouble(args[0]), ToDouble(args[1])));
    return true;
}

// random(): a double in [0, 1). random(n): an int in [0, n). random(a, b): an int in [a, b].
bool Random(CallContext& call, Value* args, unsigned count, Value& result) {
    const uint64_t bits = call.Owner.NextRandom();
    if (count == 0) {
        result = Value::MakeDouble(static_cast<double>(bits >> 11) * 0x1.0p-53);
        return true;
    }
    int64_t low = 0;
    int64_t high = 0;
    if (count == 1) {
        high = int64_t{ToInt(args[0])} - 1;
        if (high < 0) return call.Fail("random(n) needs n above 0, not %d", ToInt(args[0]));
    } else {
        low = ToInt(args[0]);
        high = ToInt(args[1]);
        if (high < low) return call.Fail("random(a, b) needs a <= b");
    }
    const uint64_t span = static_cast<uint64_t>(high - low) + 1;
    result = Value::MakeInt(static_cast<int32_t>(low + static_cast<int64_t>(bits % span)));
    return true;
}

}  // namespace

const BuiltinFunction kMathFunctions[] = {
    {"abs", 1, 1, StaticType::Any, BuiltinForm::Plain, Abs},
    {"min", 2, kVariadic, StaticType::Any, BuiltinForm::Plain, Min},
    {"max", 2, kVariadic, StaticType::Any, BuiltinForm::Plain, Max},
    {"floor", 1, 1, StaticType::Double, BuiltinForm::Plain, Floor},
    {"ceil", 1, 1, StaticType::Double, BuiltinForm::Plain, Ceil},
    {"round", 1, 1, StaticType::Double, BuiltinForm::Plain, Round},
    {"sqrt", 1, 1, StaticType::Double, BuiltinForm::Plain, Sqrt},
    {"pow", 2, 2, StaticType::Double, BuiltinForm::Plain, Pow},
    {"random", 0, 2, StaticType::Any, BuiltinForm::Plain, Random},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
