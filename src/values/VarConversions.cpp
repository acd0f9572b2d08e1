// Number conversions shared by the Variable family.
#include "values/VarConversions.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace VarConversions {

int32_t TruncateToInt32(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return INT32_MAX;
    if (value <= -2147483648.0) return INT32_MIN;
    return static_cast<int32_t>(value);  // the cast cuts towards zero
}

int32_t ClampToInt32(long long value) {
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

// IEEE arithmetic rounds to the nearest float and gives an infinity beyond
// the range, which is what the language wants.
float NarrowToFloat(double value) { return static_cast<float>(value); }

int32_t ParseInteger(const char* text) {
    if (text == nullptr) return 0;
    return ClampToInt32(std::strtoll(text, nullptr, 0));
}

double ParseDouble(const char* text) {
    if (text == nullptr) return 0.0;
    return std::strtod(text, nullptr);
}

namespace {

void AppendFormatted(NyxString& output, const char* format, double value) {
    char buffer[64];
    const int written = std::snprintf(buffer, sizeof buffer, format, value);
    if (written > 0) output.Append(buffer, static_cast<unsigned>(written));
}

}  // namespace

void AppendDouble(NyxString& output, double value) { AppendFormatted(output, "%.15g", value); }

void AppendFloat(NyxString& output, float value) { AppendFormatted(output, "%.7g", static_cast<double>(value)); }

void AppendInteger(NyxString& output, long value) {
    char buffer[32];
    const int written = std::snprintf(buffer, sizeof buffer, "%ld", value);
    if (written > 0) output.Append(buffer, static_cast<unsigned>(written));
}

}  // namespace VarConversions
