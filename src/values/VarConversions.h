// Number conversions shared by the Variable family: truncation of floating
// values to the 32-bit integer range, the low byte, and the text forms.
#pragma once

#include <cstdint>

#include "values/NyxString.h"

namespace VarConversions {

// Cuts the fraction towards zero. Values beyond the 32-bit range saturate at
// its ends, and a NaN gives 0, so no conversion is undefined.
int32_t TruncateToInt32(double value);

// Saturates a wide integer (a strtol result) into the 32-bit range.
int32_t ClampToInt32(long long value);

// The nearest float; beyond the float range an infinity of the value's sign.
float NarrowToFloat(double value);

// The low 8 bits of an integer, as a (signed) char.
inline char LowByte(long value) { return static_cast<char>(static_cast<unsigned char>(value & 0xFF)); }

// The leading number of a text, as strtol with base 0 reads it, saturated
// into the 32-bit range.
int32_t ParseInteger(const char* text);

// The leading number of a text, as strtod reads it.
double ParseDouble(const char* text);

// Appends the value with printf's %.15g (double) or %.7g (float).
void AppendDouble(NyxString& output, double value);
void AppendFloat(NyxString& output, float value);
void AppendInteger(NyxString& output, long value);

}  // namespace VarConversions
