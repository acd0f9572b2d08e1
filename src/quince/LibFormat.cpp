// Library, strings: format(pattern, values...) and its other name sprintf.
// The conversions of printf: %d %i %u %x %X %o %c %s %f %e %E %g %G %%, with
// flags (- + blank # 0), width and precision. Each value is converted to
// what its conversion wants, as int(), double() and str() would.
#include <cstdio>
#include <string>

#include "quince/Library.h"

namespace quince {

namespace {

// Wider than any sensible column, small enough that one conversion stays small.
constexpr int kMaxFormatWidth = 1000;

bool ReadNumber(std::string_view pattern, std::size_t& position, int& number) {
    number = 0;
    bool any = false;
    while (position < pattern.size() && pattern[position] >= '0' && pattern[position] <= '9') {
        number = number * 10 + (pattern[position] - '0');
        if (number > kMaxFormatWidth) return false;
        ++position;
        any = true;
    }
    (void)any;
    return true;
}

}  // namespace

bool FormatText(CallContext& call, Value* args, unsigned count, Value& result) {
    NyxString scratch;
    const std::string pattern(TextOf(args[0], scratch));
    std::string out;
    unsigned next = 1;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (c != '%') {
            out.push_back(c);
            continue;
        }
        std::string directive = "%";
        ++i;
        while (i < pattern.size() && (pattern[i] == '-' || pattern[i] == '+' || pattern[i] == ' ' || pattern[i] == '#' ||
                                      pattern[i] == '0')) {
            directive.push_back(pattern[i++]);
        }
        int width = 0;
        const std::size_t widthStart = i;
        if (!ReadNumber(pattern, i, width)) return call.Fail("format: a width above %d", kMaxFormatWidth);
        directive.append(pattern, widthStart, i - widthStart);
        int precision = -1;
        if (i < pattern.size() && pattern[i] == '.') {
            const std::size_t precisionStart = i++;
            if (!ReadNumber(pattern, i, precision)) return call.Fail("format: a precision above %d", kMaxFormatWidth);
            directive.append(pattern, precisionStart, i - precisionStart);
        }
        while (i < pattern.size() && (pattern[i] == 'l' || pattern[i] == 'h')) ++i;  // C length marks mean nothing here
        if (i >= pattern.size()) return call.Fail("format: the pattern ends inside a conversion");
        const char conversion = pattern[i];
        if (conversion == '%') {
            out.push_back('%');
            continue;
        }
        if (next >= count) return call.Fail("format: more conversions than values");
        const Value& value = args[next++];
        char buffer[2 * kMaxFormatWidth + 400];
        int written = 0;
        switch (conversion) {
            case 'd':
            case 'i':
                directive.push_back('d');
                written = std::snprintf(buffer, sizeof buffer, directive.c_str(), static_cast<int>(ToInt(value)));
                break;
            case 'u': case 'x': case 'X': case 'o':
                directive.push_back(conversion);
                written = std::snprintf(buffer, sizeof buffer, directive.c_str(), static_cast<unsigned>(ToInt(value)));
                break;
            case 'c':
                directive.push_back('c');
                written = std::snprintf(buffer, sizeof buffer, directive.c_str(), static_cast<int>(static_cast<unsigned char>(ToChar(value))));
                break;
            case 'f': case 'F': case 'e': case 'E': case 'g': case 'G':
                directive.push_back(conversion);
                written = std::snprintf(buffer, sizeof buffer, directive.c_str(), ToDouble(value));
                break;
            case 's': {
                // Padded here, not by printf, so that a string's NUL bytes
                // and its full length survive.
                NyxString text;
                std::string_view item = TextOf(value, text);
                if (precision >= 0 && item.size() > static_cast<std::size_t>(precision)) item = item.substr(0, precision);
                const std::size_t padding = static_cast<std::size_t>(width) > item.size() ? width - item.size() : 0;
                const bool left = directive.find('-') != std::string::npos;
                if (!left) out.append(padding, ' ');
                out.append(item);
                if (left) out.append(padding, ' ');
                if (out.size() > call.Memory.Limit) return call.OutOfMemory();
                continue;
            }
            default:
                return call.Fail("format: unknown conversion '%%%c'", conversion);
        }
        if (written < 0) return call.Fail("format: the conversion '%s' failed", directive.c_str());
        out.append(buffer, static_cast<std::size_t>(written) < sizeof buffer ? static_cast<std::size_t>(written) : sizeof buffer - 1);
        if (out.size() > call.Memory.Limit) return call.OutOfMemory();
    }
    if (next < count) return call.Fail("format: %u value%s left without a conversion", count - next, count - next == 1 ? "" : "s");
    return call.MakeString(out, result);
}

}  // namespace quince
