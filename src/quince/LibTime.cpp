// Library, time: now() gives the seconds since 1970 (UTC) as an int;
// date(format [, time]) writes a time (default: now) in the server's local
// time zone with the conversions of strftime (%Y-%m-%d %H:%M:%S ...).
#include <ctime>
#include <string>

#include "quince/Library.h"

namespace quince {

namespace {

// Longer than any date a format of sensible length makes; a longer result fails.
constexpr std::size_t kMaxDateText = 4096;

bool Now(CallContext& call, Value*, unsigned, Value& result) {
    result = Value::MakeInt(static_cast<int32_t>(std::time(nullptr)));
    return true;
}

bool Date(CallContext& call, Value* args, unsigned count, Value& result) {
    NyxString scratch;
    const std::string format(TextOf(args[0], scratch));
    const std::time_t when = count > 1 ? static_cast<std::time_t>(ToInt(args[1])) : std::time(nullptr);
    std::tm parts{};
    if (localtime_r(&when, &parts) == nullptr) return call.Fail("date: the time %d cannot be shown", ToInt(args[1]));
    if (format.empty()) return call.MakeString("", result);
    std::string text(format.size() * 4 + 64, '\0');
    while (true) {
        const std::size_t written = std::strftime(text.data(), text.size(), format.c_str(), &parts);
        if (written > 0) {
            text.resize(written);
            return call.MakeString(text, result);
        }
        if (text.size() >= kMaxDateText) return call.MakeString("", result);  // empty by the format itself, or too long
        text.resize(text.size() * 2);
    }
}

}  // namespace

const BuiltinFunction kTimeFunctions[] = {
    {"now", 0, 0, StaticType::Int, BuiltinForm::Plain, Now},
    {"date", 1, 2, StaticType::String, BuiltinForm::Plain, Date},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
