// Library, dates: times as milliseconds since 1970-01-01T00:00:00Z in a
// double (exact for some 285,000 years, and past 2038): nowms, parsedate
// (ISO 8601), formatdate (UTC or the machine's zone), dateadd, datediff.
// The calendar is the proleptic Gregorian one, worked out here rather than
// by the C library, whose time_t and time zone would get in the way.
#include <cmath>
#include <cstdint>
#include <ctime>
#include <string>

#include "quince/Library.h"

namespace quince {

namespace {

constexpr int64_t kMillisecondsPerDay = 86'400'000;
// Years 0 to 9999: what ISO 8601's four digits hold.
constexpr double kFirstMillisecond = -62'167'219'200'000.0;  // 0000-01-01T00:00:00Z
constexpr double kLastMillisecond = 253'402'300'799'999.0;   // 9999-12-31T23:59:59.999Z

// Days since 1970-01-01 of a date (month 1-12), and back.
int64_t DaysFromCivil(int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const unsigned yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<int64_t>(dayOfEra) - 719468;
}

struct Civil {
    int64_t Year;
    unsigned Month;
    unsigned Day;
};

Civil CivilFromDays(int64_t days) {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const unsigned dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned shifted = (5 * dayOfYear + 2) / 153;
    const unsigned day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    const unsigned month = shifted < 10 ? shifted + 3 : shifted - 9;
    return {static_cast<int64_t>(yearOfEra) + era * 400 + (month <= 2), month, day};
}

bool IsLeapYear(int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

unsigned DaysInMonth(int64_t year, unsigned month) {
    static const unsigned kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

int64_t FloorDivide(int64_t a, int64_t b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }

// A time of the script, checked: a whole number of milliseconds in years 0 to 9999.
bool ReadTime(CallContext& call, const char* function, const Value& value, int64_t& milliseconds) {
    if (!value.IsNumber()) return call.Fail("%s: a time is a number of milliseconds, not %s", function, KindName(value.kind));
    const double time = ToDouble(value);
    if (!(time >= kFirstMillisecond && time <= kLastMillisecond)) {
        return call.Fail("%s: the time %.17g lies outside the years 0 to 9999", function, time);
    }
    milliseconds = static_cast<int64_t>(std::floor(time));
    return true;
}

bool NowMs(CallContext&, Value*, unsigned, Value& result) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    result = Value::MakeDouble(static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec / 1'000'000));
    return true;
}

// Reads an ISO 8601 date at the front of `text`, one field at a time.
class DateReader {
public:
    explicit DateReader(std::string_view text) : Text(text) {}

    // Exactly `digits` digits into `value`, within [low, high].
    bool Number(unsigned digits, int64_t low, int64_t high, const char* what, int64_t& value) {
        value = 0;
        for (unsigned i = 0; i < digits; ++i) {
            if (At >= Text.size() || Text[At] < '0' || Text[At] > '9') return Expected(what);
            value = value * 10 + (Text[At++] - '0');
        }
        if (value < low || value > high) {
            At -= digits;
            return Expected(what);
        }
        return true;
    }
    bool Take(char c) {
        if (At < Text.size() && Text[At] == c) {
            ++At;
            return true;
        }
        return false;
    }
    bool AtEnd() const { return At == Text.size(); }
    char Next() const { return At < Text.size() ? Text[At] : '\0'; }
    bool Expected(const char* what) {
        if (Problem.empty()) Problem = std::string("expected ") + what + " at byte " + std::to_string(At);
        return false;
    }

    std::string_view Text;
    std::size_t At = 0;
    std::string Problem;
};

// parsedate(text): YYYY-MM-DD, with THH:MM[:SS[.fraction]] (a blank may stand
// for the T) and a zone Z, +HH:MM, +HHMM or +HH; without a zone the time is UTC.
bool ParseDate(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    DateReader reader(text);
    int64_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, fraction = 0, offset = 0;
    bool ok = reader.Number(4, 0, 9999, "a year (0000-9999)", year) && (reader.Take('-') || reader.Expected("'-'")) &&
              reader.Number(2, 1, 12, "a month (01-12)", month) && (reader.Take('-') || reader.Expected("'-'"));
    if (ok) ok = reader.Number(2, 1, DaysInMonth(year, static_cast<unsigned>(month)), "a day of that month", day);
    if (ok && (reader.Take('T') || reader.Take('t') || reader.Take(' '))) {
        ok = reader.Number(2, 0, 23, "an hour (00-23)", hour) && (reader.Take(':') || reader.Expected("':'")) &&
             reader.Number(2, 0, 59, "a minute (00-59)", minute);
        if (ok && reader.Take(':')) {
            ok = reader.Number(2, 0, 59, "a second (00-59)", second);
            if (ok && (reader.Take('.') || reader.Take(','))) {
                // Milliseconds: the first three digits count, the rest are read and dropped.
                unsigned digits = 0;
                while (reader.Next() >= '0' && reader.Next() <= '9' && digits < 9) {
                    const int digit = reader.Next() - '0';
                    if (digits < 3) fraction = fraction * 10 + digit;
                    ++reader.At;
                    ++digits;
                }
                if (digits == 0) ok = reader.Expected("the digits of a fraction");
                for (; digits < 3; ++digits) fraction *= 10;
            }
        }
        if (ok && (reader.Next() == '+' || reader.Next() == '-')) {
            const bool negative = reader.Next() == '-';
            ++reader.At;
            int64_t zoneHours = 0, zoneMinutes = 0;
            ok = reader.Number(2, 0, 23, "the hours of a zone (00-23)", zoneHours);
            if (ok && (reader.Take(':') || (reader.Next() >= '0' && reader.Next() <= '9'))) {
                ok = reader.Number(2, 0, 59, "the minutes of a zone (00-59)", zoneMinutes);
            }
            offset = (negative ? -1 : 1) * (zoneHours * 60 + zoneMinutes) * 60'000;
        } else if (ok && !reader.Take('Z')) {
            reader.Take('z');
        }
    }
    if (ok && !reader.AtEnd()) ok = reader.Expected("the end of the date");
    if (!ok) return call.Fail("parsedate: %s of \"%.*s\"", reader.Problem.c_str(), static_cast<int>(std::min<std::size_t>(text.size(), 64)), text.data());
    const int64_t days = DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    const int64_t milliseconds = days * kMillisecondsPerDay + ((hour * 60 + minute) * 60 + second) * 1000 + fraction - offset;
    result = Value::MakeDouble(static_cast<double>(milliseconds));
    return true;
}

// The broken-down time of `milliseconds` in UTC, or in the machine's zone
// (whose offset is then set); false where the C library cannot say.
bool BreakDown(int64_t milliseconds, bool local, std::tm& parts, long& offsetSeconds) {
    const std::time_t seconds = static_cast<std::time_t>(FloorDivide(milliseconds, 1000));
    if (local) {
        if (localtime_r(&seconds, &parts) == nullptr) return false;
        offsetSeconds = parts.tm_gmtoff;
        return true;
    }
    offsetSeconds = 0;
    return gmtime_r(&seconds, &parts) != nullptr;
}

// formatdate(time [, format [, zone]]): the conversions of strftime, and %f
// for the milliseconds; zone "utc" (the default) or "local". Without a
// format (or with ""), ISO 8601 with milliseconds and the zone's offset.
bool FormatDate(CallContext& call, Value* args, unsigned count, Value& result) {
    int64_t milliseconds = 0;
    if (!ReadTime(call, "formatdate", args[0], milliseconds)) return false;
    NyxString formatScratch, zoneScratch;
    const std::string_view zone = count > 2 ? TextOf(args[2], zoneScratch) : std::string_view("utc");
    if (zone != "utc" && zone != "local") return call.Fail("formatdate: the zone is \"utc\" or \"local\", not \"%.*s\"", static_cast<int>(std::min<std::size_t>(zone.size(), 32)), zone.data());
    const bool local = zone == "local";
    std::tm parts{};
    long offset = 0;
    if (!BreakDown(milliseconds, local, parts, offset)) return call.Fail("formatdate: the time cannot be shown");
    if (count < 2 || TextOf(args[1], formatScratch).empty()) {
        // ISO 8601 with milliseconds: written here, since strftime's %Y has
        // no leading zeros before the year 1000.
        const int64_t localMilliseconds = milliseconds + static_cast<int64_t>(offset) * 1000;
        const int64_t days = FloorDivide(localMilliseconds, kMillisecondsPerDay);
        const int64_t within = localMilliseconds - days * kMillisecondsPerDay;
        const Civil date = CivilFromDays(days);
        char text[64];
        int length = std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02lld:%02lld:%02lld.%03lld", static_cast<long long>(date.Year),
                                   date.Month, date.Day, static_cast<long long>(within / 3'600'000),
                                   static_cast<long long>(within / 60'000 % 60), static_cast<long long>(within / 1000 % 60),
                                   static_cast<long long>(within % 1000));
        if (local) {
            length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), "%c%02ld:%02ld", offset < 0 ? '-' : '+',
                                    std::labs(offset) / 3600 % 100, std::labs(offset) % 3600 / 60);
        } else {
            text[length++] = 'Z';
        }
        return call.MakeString(std::string_view(text, static_cast<std::size_t>(length)), result);
    }
    const std::string format(TextOf(args[1], formatScratch));
    if (format.size() > 1024) return call.Fail("formatdate: a format of at most 1024 bytes");
    // %f first: strftime does not know it. "%%f" stays a percent sign and an f.
    std::string expanded;
    char millis[4];
    std::snprintf(millis, sizeof millis, "%03lld", static_cast<long long>(milliseconds - FloorDivide(milliseconds, 1000) * 1000));
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] == '%' && i + 1 < format.size()) {
            if (format[i + 1] == 'f') {
                expanded += millis;
                ++i;
                continue;
            }
            expanded += format[i];
            expanded += format[++i];
            continue;
        }
        expanded += format[i];
    }
    if (expanded.empty()) return call.MakeString("", result);
    std::string text(expanded.size() * 4 + 64, '\0');
    const std::size_t written = std::strftime(text.data(), text.size(), expanded.c_str(), &parts);
    text.resize(written);
    return call.MakeString(text, result);
}

enum class Unit { Millisecond, Second, Minute, Hour, Day, Week, Month, Year, Unknown };

Unit UnitOf(std::string_view name) {
    static const struct {
        std::string_view Name;
        Unit Value;
    } kUnits[] = {{"ms", Unit::Millisecond}, {"second", Unit::Second}, {"minute", Unit::Minute}, {"hour", Unit::Hour},
                  {"day", Unit::Day},        {"week", Unit::Week},     {"month", Unit::Month},   {"year", Unit::Year}};
    for (const auto& unit : kUnits) {
        if (name == unit.Name) return unit.Value;
    }
    return Unit::Unknown;
}

double MillisecondsPer(Unit unit) {
    switch (unit) {
        case Unit::Millisecond: return 1.0;
        case Unit::Second: return 1000.0;
        case Unit::Minute: return 60'000.0;
        case Unit::Hour: return 3'600'000.0;
        case Unit::Day: return 86'400'000.0;
        default: return 604'800'000.0;
    }
}

bool ReadUnit(CallContext& call, const char* function, const Value& value, Unit& unit) {
    NyxString scratch;
    const std::string_view name = TextOf(value, scratch);
    unit = UnitOf(name);
    if (unit != Unit::Unknown) return true;
    return call.Fail("%s: the unit is ms, second, minute, hour, day, week, month or year, not \"%.*s\"", function,
                     static_cast<int>(std::min<std::size_t>(name.size(), 32)), name.data());
}

// dateadd(time, amount, unit): months and years move the calendar date in
// UTC, to the last day of a shorter month (Jan 31 + 1 month is Feb 28 or 29).
bool DateAdd(CallContext& call, Value* args, unsigned, Value& result) {
    int64_t milliseconds = 0;
    Unit unit = Unit::Unknown;
    if (!ReadTime(call, "dateadd", args[0], milliseconds) || !ReadUnit(call, "dateadd", args[2], unit)) return false;
    if (!args[1].IsNumber()) return call.Fail("dateadd: the amount is a number, not %s", KindName(args[1].kind));
    const double amount = ToDouble(args[1]);
    double moved = 0;
    if (unit == Unit::Month || unit == Unit::Year) {
        if (amount != std::floor(amount) || std::fabs(amount) > 120000) return call.Fail("dateadd: months and years are whole numbers up to 120,000");
        const int64_t days = FloorDivide(milliseconds, kMillisecondsPerDay);
        const int64_t within = milliseconds - days * kMillisecondsPerDay;
        const Civil date = CivilFromDays(days);
        const int64_t months = date.Year * 12 + (date.Month - 1) + static_cast<int64_t>(amount) * (unit == Unit::Year ? 12 : 1);
        const int64_t year = FloorDivide(months, 12);
        const unsigned month = static_cast<unsigned>(months - year * 12 + 1);
        if (year < 0 || year > 9999) return call.Fail("dateadd: the result lies outside the years 0 to 9999");
        const unsigned day = std::min(date.Day, DaysInMonth(year, month));
        moved = static_cast<double>(DaysFromCivil(year, month, day) * kMillisecondsPerDay + within);
    } else {
        moved = static_cast<double>(milliseconds) + std::round(amount * MillisecondsPer(unit));
    }
    if (!(moved >= kFirstMillisecond && moved <= kLastMillisecond)) return call.Fail("dateadd: the result lies outside the years 0 to 9999");
    result = Value::MakeDouble(moved);
    return true;
}

// datediff(from, to, unit): to - from in the unit; in months and years the
// whole calendar months between the two, towards zero.
bool DateDiff(CallContext& call, Value* args, unsigned, Value& result) {
    int64_t from = 0, to = 0;
    Unit unit = Unit::Unknown;
    if (!ReadTime(call, "datediff", args[0], from) || !ReadTime(call, "datediff", args[1], to) ||
        !ReadUnit(call, "datediff", args[2], unit)) {
        return false;
    }
    if (unit != Unit::Month && unit != Unit::Year) {
        result = Value::MakeDouble(static_cast<double>(to - from) / MillisecondsPer(unit));
        return true;
    }
    const auto monthIndex = [](int64_t milliseconds, int64_t& within) {
        const int64_t days = FloorDivide(milliseconds, kMillisecondsPerDay);
        const Civil date = CivilFromDays(days);
        within = (date.Day - 1) * kMillisecondsPerDay + (milliseconds - days * kMillisecondsPerDay);
        return date.Year * 12 + (date.Month - 1);
    };
    int64_t fromWithin = 0, toWithin = 0;
    int64_t months = monthIndex(to, toWithin) - monthIndex(from, fromWithin);
    // A month counts only once the day and time of the start are reached again.
    if (months > 0 && toWithin < fromWithin) --months;
    if (months < 0 && toWithin > fromWithin) ++months;
    result = Value::MakeDouble(unit == Unit::Year ? static_cast<double>(months / 12) : static_cast<double>(months));
    return true;
}

}  // namespace

const BuiltinFunction kDateFunctions[] = {
    {"nowms", 0, 0, StaticType::Double, BuiltinForm::Plain, NowMs},
    {"parsedate", 1, 1, StaticType::Double, BuiltinForm::Plain, ParseDate},
    {"formatdate", 1, 3, StaticType::String, BuiltinForm::Plain, FormatDate},
    {"dateadd", 3, 3, StaticType::Double, BuiltinForm::Plain, DateAdd},
    {"datediff", 3, 3, StaticType::Double, BuiltinForm::Plain, DateDiff},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
