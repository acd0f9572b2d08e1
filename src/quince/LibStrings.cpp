// Library, strings: len, substr, find, rfind, replace, upper, lower, trim,
// ltrim, rtrim, split, join, contains, startswith, endswith, repeat, chr,
// ord, format and sprintf. Positions count bytes from 0.
#include <cctype>
#include <string>

#include "quince/Library.h"
#include "quince/VmOperations.h"

namespace quince {

bool FormatText(CallContext& call, Value* args, unsigned count, Value& result);  // LibFormat.cpp

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

bool Len(CallContext& call, Value* args, unsigned, Value& result) {
    if (args[0].HoldsItems()) {
        result = Value::MakeInt(static_cast<int32_t>(args[0].a->Items.size()));
        return true;
    }
    NyxString scratch;
    result = Value::MakeInt(static_cast<int32_t>(TextOf(args[0], scratch).size()));
    return true;
}

// substr(text, start [, count]): from start to the end, or count bytes; a
// start past the end gives "".
bool Substr(CallContext& call, Value* args, unsigned count, Value& result) {
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    const int32_t start = ToInt(args[1]);
    if (start < 0) return call.Fail("substr: the start %d is negative", start);
    int32_t length = count > 2 ? ToInt(args[2]) : INT32_MAX;
    if (length < 0) return call.Fail("substr: the count %d is negative", length);
    if (static_cast<std::size_t>(start) >= text.size()) return call.MakeString("", result);
    return call.MakeString(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(length)), result);
}

// find(text, what [, start]): the first position of what at or after start, or -1.
bool Find(CallContext& call, Value* args, unsigned count, Value& result) {
    NyxString scratch;
    NyxString scratchWhat;
    const std::string_view text = TextOf(args[0], scratch);
    const std::string_view what = TextOf(args[1], scratchWhat);
    const int32_t start = count > 2 ? ToInt(args[2]) : 0;
    if (start < 0) return call.Fail("find: the start %d is negative", start);
    const std::size_t at = static_cast<std::size_t>(start) > text.size() ? std::string_view::npos
                                                                         : text.find(what, static_cast<std::size_t>(start));
    result = Value::MakeInt(at == std::string_view::npos ? -1 : static_cast<int32_t>(at));
    return true;
}

// rfind(text, what): the last position of what, or -1.
bool RFind(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    NyxString scratchWhat;
    const std::size_t at = TextOf(args[0], scratch).rfind(TextOf(args[1], scratchWhat));
    result = Value::MakeInt(at == std::string_view::npos ? -1 : static_cast<int32_t>(at));
    return true;
}

// replace(text, from, to): every occurrence, left to right; an empty `from` changes nothing.
bool Replace(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString a, b, c;
    const std::string_view text = TextOf(args[0], a);
    const std::string_view from = TextOf(args[1], b);
    const std::string_view to = TextOf(args[2], c);
    if (from.empty()) return call.MakeString(text, result);
    std::string out;
    std::size_t position = 0;
    while (true) {
        const std::size_t at = text.find(from, position);
        if (at == std::string_view::npos) break;
        out.append(text.substr(position, at - position));
        out.append(to);
        position = at + from.size();
        if (out.size() > call.Memory.Limit) return call.OutOfMemory();
    }
    out.append(text.substr(position));
    return call.MakeString(out, result);
}

bool ChangeCase(CallContext& call, Value* args, Value& result, bool toUpper) {
    NyxString scratch;
    std::string text(TextOf(args[0], scratch));
    for (char& c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        c = static_cast<char>(toUpper ? std::toupper(byte) : std::tolower(byte));
    }
    return call.MakeString(text, result);
}
bool Upper(CallContext& call, Value* args, unsigned, Value& result) { return ChangeCase(call, args, result, true); }
bool Lower(CallContext& call, Value* args, unsigned, Value& result) { return ChangeCase(call, args, result, false); }

bool TrimText(CallContext& call, Value* args, Value& result, bool left, bool right) {
    NyxString scratch;
    std::string_view text = TextOf(args[0], scratch);
    while (left && !text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (right && !text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return call.MakeString(text, result);
}
bool Trim(CallContext& call, Value* args, unsigned, Value& result) { return TrimText(call, args, result, true, true); }
bool LTrim(CallContext& call, Value* args, unsigned, Value& result) { return TrimText(call, args, result, true, false); }
bool RTrim(CallContext& call, Value* args, unsigned, Value& result) { return TrimText(call, args, result, false, true); }

// split(text, separator): a string[] of the pieces; an empty separator gives single bytes.
bool Split(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString a, b;
    const std::string_view text = TextOf(args[0], a);
    const std::string_view separator = TextOf(args[1], b);
    ArrayObject* array = NewArray(call.Memory, StaticType::String);
    if (array == nullptr) return call.OutOfMemory();
    result = Value::MakeArray(array);
    auto add = [&](std::string_view piece) {
        Value item = Value::MakeNone();
        return call.MakeString(piece, item) && (ArrayPush(*array, item) || call.OutOfMemory());
    };
    if (separator.empty()) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (!add(text.substr(i, 1))) return false;
        }
        return true;
    }
    std::size_t position = 0;
    while (true) {
        const std::size_t at = text.find(separator, position);
        if (!add(text.substr(position, at == std::string_view::npos ? std::string_view::npos : at - position))) return false;
        if (at == std::string_view::npos) return true;
        position = at + separator.size();
    }
}

// join(array, separator): the items' texts with the separator between them.
bool Join(CallContext& call, Value* args, unsigned count, Value& result) {
    if (args[0].kind != Kind::Array) return call.Fail("join needs an array, not %s", KindName(args[0].kind));
    NyxString scratch;
    const std::string separator(count > 1 ? TextOf(args[1], scratch) : std::string_view());
    NyxString joined;
    bool first = true;
    for (const Value& item : args[0].a->Items) {
        if (!first) joined.AppendBytes(separator.data(), separator.size());
        first = false;
        AppendText(joined, item);
        if (joined.GetSize() > call.Memory.Limit) return call.OutOfMemory();
    }
    return call.MakeString(joined.View(), result);
}

// contains(text, what) for texts; contains(array, value) for arrays.
bool Contains(CallContext& call, Value* args, unsigned, Value& result) {
    if (args[0].kind == Kind::Map) {
        NyxString key;
        if (!MapKeyText(args[1], key, call.Error)) return false;
        result = Value::MakeBool(MapFind(*args[0].a, key.View()) != SIZE_MAX);
        return true;
    }
    if (args[0].kind == Kind::Array) {
        bool found = false;
        for (const Value& item : args[0].a->Items) {
            if (ValuesEqual(item, args[1])) { found = true; break; }
        }
        result = Value::MakeBool(found);
        return true;
    }
    NyxString a, b;
    result = Value::MakeBool(TextOf(args[0], a).find(TextOf(args[1], b)) != std::string_view::npos);
    return true;
}

bool StartsWith(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString a, b;
    const std::string_view text = TextOf(args[0], a);
    const std::string_view prefix = TextOf(args[1], b);
    result = Value::MakeBool(text.substr(0, prefix.size()) == prefix);
    return true;
}

bool EndsWith(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString a, b;
    const std::string_view text = TextOf(args[0], a);
    const std::string_view suffix = TextOf(args[1], b);
    result = Value::MakeBool(text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix);
    return true;
}

// repeat(text, n): the text n times.
bool Repeat(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    const int32_t times = ToInt(args[1]);
    if (times < 0) return call.Fail("repeat: the count %d is negative", times);
    if (text.size() * static_cast<std::size_t>(times) > call.Memory.Limit) return call.OutOfMemory();
    std::string out;
    out.reserve(text.size() * static_cast<std::size_t>(times));
    for (int32_t i = 0; i < times; ++i) out.append(text);
    return call.MakeString(out, result);
}

// chr(code): the char with that byte code (0 to 255).
bool Chr(CallContext& call, Value* args, unsigned, Value& result) {
    const int32_t code = ToInt(args[0]);
    if (code < 0 || code > 255) return call.Fail("chr: %d is no byte code (0 to 255)", code);
    result = Value::MakeChar(static_cast<char>(code));
    return true;
}

// ord(char): the byte code (0 to 255) of a char, or of a text's first byte.
bool Ord(CallContext& call, Value* args, unsigned, Value& result) {
    result = Value::MakeInt(static_cast<unsigned char>(ToChar(args[0])));
    return true;
}

}  // namespace

const BuiltinFunction kStringFunctions[] = {
    {"len", 1, 1, StaticType::Int, BuiltinForm::Plain, Len},
    {"substr", 2, 3, StaticType::String, BuiltinForm::Plain, Substr},
    {"find", 2, 3, StaticType::Int, BuiltinForm::Plain, Find},
    {"rfind", 2, 2, StaticType::Int, BuiltinForm::Plain, RFind},
    {"replace", 3, 3, StaticType::String, BuiltinForm::Plain, Replace},
    {"upper", 1, 1, StaticType::String, BuiltinForm::Plain, Upper},
    {"lower", 1, 1, StaticType::String, BuiltinForm::Plain, Lower},
    {"trim", 1, 1, StaticType::String, BuiltinForm::Plain, Trim},
    {"ltrim", 1, 1, StaticType::String, BuiltinForm::Plain, LTrim},
    {"rtrim", 1, 1, StaticType::String, BuiltinForm::Plain, RTrim},
    {"split", 2, 2, StaticType::Array, BuiltinForm::Plain, Split},
    {"join", 1, 2, StaticType::String, BuiltinForm::Plain, Join},
    {"contains", 2, 2, StaticType::Bool, BuiltinForm::Plain, Contains},
    {"startswith", 2, 2, StaticType::Bool, BuiltinForm::Plain, StartsWith},
    {"endswith", 2, 2, StaticType::Bool, BuiltinForm::Plain, EndsWith},
    {"repeat", 2, 2, StaticType::String, BuiltinForm::Plain, Repeat},
    {"chr", 1, 1, StaticType::Char, BuiltinForm::Plain, Chr},
    {"ord", 1, 1, StaticType::Int, BuiltinForm::Plain, Ord},
    {"format", 1, kVariadic, StaticType::String, BuiltinForm::Plain, FormatText},
    {"sprintf", 1, kVariadic, StaticType::String, BuiltinForm::Plain, FormatText},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
