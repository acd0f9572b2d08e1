// Library, JSON: json(value) writes a value as JSON, parsejson(text) reads
// one. Objects are maps (their keys in order), arrays var[] arrays, numbers
// int when they fit 32 bits and double otherwise, null is "nothing". The
// text is read by nlohmann's parser, event by event, straight into values.
#include <nlohmann/json.hpp>

#include <new>
#include <string>
#include <vector>

#include "quince/Library.h"

namespace quince {

namespace {

using Json = nlohmann::ordered_json;

// json(): a value as a JSON document; false for memory or depth.
bool ToJson(const Value& value, Json& out, unsigned depth) {
    if (depth > kMaxArrayNesting) return false;
    switch (value.kind) {
        case Kind::None: out = nullptr; return true;
        case Kind::Bool: out = value.i != 0; return true;
        case Kind::Int: out = value.i; return true;
        case Kind::Char: out = std::string(1, value.c); return true;
        case Kind::Float: out = static_cast<double>(value.f); return true;
        case Kind::Double: out = value.d; return true;
        case Kind::String: out = std::string(StringView(value)); return true;
        case Kind::Array: {
            out = Json::array();
            for (const Value& item : value.a->Items) {
                Json element;
                if (!ToJson(item, element, depth + 1)) return false;
                out.push_back(std::move(element));
            }
            return true;
        }
        case Kind::Map: {
            out = Json::object();
            const ArrayObject& map = *value.a;
            for (std::size_t i = 0; i < map.Items.size(); ++i) {
                Json element;
                if (!ToJson(map.Items[i], element, depth + 1)) return false;
                out[std::string(MapKey(map, i))] = std::move(element);
            }
            return true;
        }
        default: {
            NyxString text;
            AppendText(text, value);
            out = text.ToStd();
            return true;
        }
    }
}

bool JsonText(CallContext& call, Value* args, unsigned count, Value& result) {
    const int indent = count > 1 ? ToInt(args[1]) : -1;
    if (indent > 16) return call.Fail("json: an indent of at most 16 blanks");
    try {
        Json document;
        if (!ToJson(args[0], document, 0)) return call.Fail("json: arrays and maps nested deeper than %u levels", kMaxArrayNesting);
        // Bytes that are no UTF-8 become U+FFFD: JSON text is Unicode.
        const std::string text = document.dump(indent < 0 ? -1 : indent, ' ', false, Json::error_handler_t::replace);
        if (text.size() > call.Memory.Limit) return call.OutOfMemory();
        return call.MakeString(text, result);
    } catch (const std::bad_alloc&) {
        return call.OutOfMemory();
    } catch (const std::exception& problem) {
        return call.Fail("json: %s", problem.what());
    }
}

// The events of nlohmann's parser, turned into values as they come.
class ValueBuilder {
public:
    explicit ValueBuilder(CallContext& call) : Call(call) {}
    ~ValueBuilder() {
        for (Level& level : Levels) Release(level.Container);
        Release(Result);
    }

    bool null() { return Add(Value::MakeNone()); }
    bool boolean(bool value) { return Add(Value::MakeBool(value)); }
    bool number_integer(Json::number_integer_t value) {
        if (value >= INT32_MIN && value <= INT32_MAX) return Add(Value::MakeInt(static_cast<int32_t>(value)));
        return Add(Value::MakeDouble(static_cast<double>(value)));
    }
    bool number_unsigned(Json::number_unsigned_t value) {
        if (value <= INT32_MAX) return Add(Value::MakeInt(static_cast<int32_t>(value)));
        return Add(Value::MakeDouble(static_cast<double>(value)));
    }
    bool number_float(Json::number_float_t value, const std::string&) { return Add(Value::MakeDouble(value)); }
    bool string(std::string& text) {
        StringObject* made = NewString(Call.Memory, text.data(), text.size());
        return made != nullptr ? Add(Value::MakeString(made)) : Refuse("out of memory for strings and arrays (QuinceConfig MaxMemory)");
    }
    bool binary(Json::binary_t&) { return Refuse("binary values are no JSON text"); }
    bool start_object(std::size_t) {
        ArrayObject* map = NewMap(Call.Memory);
        return map != nullptr ? Open(Value::MakeMap(map)) : Refuse("out of memory for strings and arrays (QuinceConfig MaxMemory)");
    }
    bool key(std::string& text) {
        Levels.back().Key = std::move(text);
        return true;
    }
    bool end_object() { return Close(); }
    bool start_array(std::size_t) {
        ArrayObject* array = NewArray(Call.Memory, StaticType::Any);
        return array != nullptr ? Open(Value::MakeArray(array)) : Refuse("out of memory for strings and arrays (QuinceConfig MaxMemory)");
    }
    bool end_array() { return Close(); }
    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& problem) {
        // "[json.exception.parse_error.101] parse error at line 1, column 5: syntax error ..." without its tag.
        std::string text = problem.what();
        const std::size_t colon = text.find(": ");
        if (colon != std::string::npos) text = text.substr(colon + 2);
        Message = "at byte " + std::to_string(position) + ": " + text;
        return false;
    }

    std::string Message;  // why the text was refused, when it was
    Value Result = Value::MakeNone();

private:
    struct Level {
        Value Container;
        std::string Key;  // of the value that comes next, in a map
    };

    bool Refuse(const char* why) {
        if (Message.empty()) Message = why;
        return false;
    }
    bool Add(Value value) {
        if (Levels.empty()) {
            Result = value;
            return true;
        }
        Level& level = Levels.back();
        if (level.Container.kind == Kind::Map) {
            NyxString error;
            if (!MapSet(*level.Container.a, level.Key, value, error)) return Refuse("out of memory for strings and arrays (QuinceConfig MaxMemory)");
            return true;
        }
        if (!ArrayPush(*level.Container.a, value)) return Refuse("out of memory for strings and arrays (QuinceConfig MaxMemory)");
        return true;
    }
    bool Open(Value container) {
        if (Levels.size() >= kMaxArrayNesting) {
            Release(container);
            Message = "arrays and objects nested deeper than " + std::to_string(kMaxArrayNesting) + " levels";
            return false;
        }
        Levels.push_back(Level{container, std::string()});
        return true;
    }
    bool Close() {
        Value done = Levels.back().Container;
        Levels.pop_back();
        return Add(done);
    }

    CallContext& Call;
    std::vector<Level> Levels;
};

bool ParseJson(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    try {
        ValueBuilder builder(call);
        if (!Json::sax_parse(text.begin(), text.end(), &builder)) {
            return call.Fail("parsejson: %s", builder.Message.empty() ? "not a JSON text" : builder.Message.c_str());
        }
        result = builder.Result;
        builder.Result = Value::MakeNone();
        return true;
    } catch (const std::bad_alloc&) {
        return call.OutOfMemory();
    } catch (const std::exception& problem) {
        return call.Fail("parsejson: %s", problem.what());
    }
}

}  // namespace

const BuiltinFunction kJsonFunctions[] = {
    {"json", 1, 2, StaticType::String, BuiltinForm::Plain, JsonText},
    {"parsejson", 1, 1, StaticType::Any, BuiltinForm::Plain, ParseJson},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
