// Library, regular expressions: regexmatch, regexfind, regexfindall,
// regexreplace, regexsplit. Perl's syntax (PCRE2) on UTF-8 text; positions
// and groups as in Perl. A pattern that would backtrack without end stops
// the script with a message.
#include <string>
#include <vector>

#include "foundation/Regex.h"
#include "quince/Library.h"

namespace quince {

namespace {

// The compiled pattern of args[1], or null with the failure recorded.
std::shared_ptr<const Regex> PatternOf(CallContext& call, const char* function, const Value& pattern) {
    NyxString scratch;
    std::string error;
    std::shared_ptr<const Regex> regex = Regex::Compile(TextOf(pattern, scratch), error);
    if (regex == nullptr) call.Fail("%s: bad pattern: %s", function, error.c_str());
    return regex;
}

// Where the search goes on behind a match: behind it, or one character on
// when it was empty, so that every loop over the matches ends.
std::size_t NextStart(std::string_view text, const Regex::Span& match) {
    if (match.End > match.Start) return match.End;
    std::size_t next = match.End + 1;
    while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0) == 0x80) ++next;
    return next;
}

// A new string[] as the result, or null with the failure recorded.
ArrayObject* StartStringArray(CallContext& call, Value& result) {
    ArrayObject* array = NewArray(call.Memory, StaticType::String);
    if (array == nullptr) {
        call.OutOfMemory();
        return nullptr;
    }
    result = Value::MakeArray(array);
    return array;
}

bool AddString(CallContext& call, ArrayObject& array, std::string_view text) {
    Value item = Value::MakeNone();
    return call.MakeString(text, item) && (ArrayPush(array, item) || call.OutOfMemory());
}

std::string_view GroupText(std::string_view text, const Regex::Span& span) {
    return span.IsSet() ? text.substr(span.Start, span.End - span.Start) : std::string_view();
}

// regexmatch(text, pattern): whether the pattern matches anywhere in text.
bool RegexMatch(CallContext& call, Value* args, unsigned, Value& result) {
    const std::shared_ptr<const Regex> regex = PatternOf(call, "regexmatch", args[1]);
    if (regex == nullptr) return false;
    NyxString scratch;
    std::vector<Regex::Span> groups;
    std::string error;
    const bool found = regex->Find(TextOf(args[0], scratch), 0, groups, error);
    if (!error.empty()) return call.Fail("regexmatch: %s", error.c_str());
    result = Value::MakeBool(found);
    return true;
}

// regexfind(text, pattern): the first match and its groups, [whole, 1, 2, ...]
// ("" for a group that took no part), or an empty array.
bool RegexFind(CallContext& call, Value* args, unsigned, Value& result) {
    const std::shared_ptr<const Regex> regex = PatternOf(call, "regexfind", args[1]);
    if (regex == nullptr) return false;
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    ArrayObject* array = StartStringArray(call, result);
    if (array == nullptr) return false;
    std::vector<Regex::Span> groups;
    std::string error;
    if (!regex->Find(text, 0, groups, error)) return error.empty() || call.Fail("regexfind: %s", error.c_str());
    for (const Regex::Span& group : groups) {
        if (!AddString(call, *array, GroupText(text, group))) return false;
    }
    return true;
}

// regexfindall(text, pattern [, group]): the text of every match, or of the
// given group of every match, left to right.
bool RegexFindAll(CallContext& call, Value* args, unsigned count, Value& result) {
    const std::shared_ptr<const Regex> regex = PatternOf(call, "regexfindall", args[1]);
    if (regex == nullptr) return false;
    const int32_t wanted = count > 2 ? args[2].i : 0;
    if (count > 2 && (args[2].kind != Kind::Int || wanted < 0 || static_cast<unsigned>(wanted) > regex->GroupCount())) {
        return call.Fail("regexfindall: the pattern has no group %s", count > 2 && args[2].kind == Kind::Int
                                                                          ? std::to_string(wanted).c_str()
                                                                          : "of that kind");
    }
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    ArrayObject* array = StartStringArray(call, result);
    if (array == nullptr) return false;
    std::vector<Regex::Span> groups;
    std::string error;
    for (std::size_t from = 0; from <= text.size() && regex->Find(text, from, groups, error);) {
        if (!AddString(call, *array, GroupText(text, groups[static_cast<unsigned>(wanted)]))) return false;
        from = NextStart(text, groups[0]);
    }
    return error.empty() || call.Fail("regexfindall: %s", error.c_str());
}

// Appends the replacement for one match: $0 to $99 and ${n} are groups, $$ a
// dollar sign; any other character stands for itself.
void AppendReplacement(std::string& out, std::string_view replacement, std::string_view text,
                       const std::vector<Regex::Span>& groups) {
    for (std::size_t i = 0; i < replacement.size(); ++i) {
        const char c = replacement[i];
        if (c != '$' || i + 1 >= replacement.size()) {
            out.push_back(c);
            continue;
        }
        const bool braced = replacement[i + 1] == '{';
        std::size_t j = i + (braced ? 2 : 1);
        unsigned number = 0;
        std::size_t digits = 0;
        while (j < replacement.size() && digits < 2 && replacement[j] >= '0' && replacement[j] <= '9') {
            number = number * 10 + static_cast<unsigned>(replacement[j] - '0');
            ++j;
            ++digits;
        }
        if (replacement[i + 1] == '$') {
            out.push_back('$');
            ++i;
        } else if (digits > 0 && (!braced || (j < replacement.size() && replacement[j] == '}'))) {
            if (number < groups.size()) out += GroupText(text, groups[number]);
            i = braced ? j : j - 1;
        } else {
            out.push_back(c);
        }
    }
}

// regexreplace(text, pattern, replacement): every match replaced.
bool RegexReplace(CallContext& call, Value* args, unsigned, Value& result) {
    const std::shared_ptr<const Regex> regex = PatternOf(call, "regexreplace", args[1]);
    if (regex == nullptr) return false;
    NyxString a, b;
    const std::string_view text = TextOf(args[0], a);
    const std::string_view replacement = TextOf(args[2], b);
    std::string out;
    std::vector<Regex::Span> groups;
    std::string error;
    std::size_t copied = 0;
    for (std::size_t from = 0; from <= text.size() && regex->Find(text, from, groups, error);) {
        out.append(text.substr(copied, groups[0].Start - copied));
        AppendReplacement(out, replacement, text, groups);
        copied = groups[0].End;
        from = NextStart(text, groups[0]);
        if (out.size() > call.Memory.Limit) return call.OutOfMemory();
    }
    if (!error.empty()) return call.Fail("regexreplace: %s", error.c_str());
    out.append(text.substr(copied));
    return call.MakeString(out, result);
}

// regexsplit(text, pattern): the pieces between the matches.
bool RegexSplit(CallContext& call, Value* args, unsigned, Value& result) {
    const std::shared_ptr<const Regex> regex = PatternOf(call, "regexsplit", args[1]);
    if (regex == nullptr) return false;
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    ArrayObject* array = StartStringArray(call, result);
    if (array == nullptr) return false;
    std::vector<Regex::Span> groups;
    std::string error;
    std::size_t pieceStart = 0;
    for (std::size_t from = 0; from <= text.size() && regex->Find(text, from, groups, error);) {
        from = NextStart(text, groups[0]);
        // An empty match at the start or the end splits nothing off.
        if (groups[0].End == groups[0].Start && (groups[0].Start == 0 || groups[0].Start == text.size())) continue;
        if (!AddString(call, *array, text.substr(pieceStart, groups[0].Start - pieceStart))) return false;
        pieceStart = groups[0].End;
    }
    if (!error.empty()) return call.Fail("regexsplit: %s", error.c_str());
    return AddString(call, *array, text.substr(pieceStart));
}

}  // namespace

const BuiltinFunction kRegexFunctions[] = {
    {"regexmatch", 2, 2, StaticType::Bool, BuiltinForm::Plain, RegexMatch},
    {"regexfind", 2, 2, StaticType::Array, BuiltinForm::Plain, RegexFind},
    {"regexfindall", 2, 3, StaticType::Array, BuiltinForm::Plain, RegexFindAll},
    {"regexreplace", 3, 3, StaticType::String, BuiltinForm::Plain, RegexReplace},
    {"regexsplit", 2, 2, StaticType::Array, BuiltinForm::Plain, RegexSplit},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
