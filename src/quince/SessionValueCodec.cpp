// SessionValueCodec: encoding of session variables for the session store.
#include "quince/SessionValueCodec.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "values/VarArray.h"
#include "values/VarBoolean.h"
#include "values/VarChar.h"
#include "values/VarDouble.h"
#include "values/VarFloat.h"
#include "values/VarInteger.h"
#include "values/VarMap.h"
#include "values/VarString.h"
#include "values/Variable.h"

namespace SessionValueCodec {
namespace {

// The storable types by their DumpType name.
struct TypeEntry {
    const char* Name;
    Variable* (*Make)(const NyxString& name);
};

template <class T>
Variable* Make(const NyxString& name) {
    return new T(name);
}

constexpr TypeEntry kTypes[] = {
    {"bool", Make<VarBoolean>},           {"char", Make<VarChar>},           {"int", Make<VarInteger>},
    {"float", Make<VarFloat>},            {"double", Make<VarDouble>},       {"string", Make<VarString>},
    {"array", Make<VarArray>},            {"bool[]", Make<VarBooleanArray>}, {"char[]", Make<VarCharArray>},
    {"integer[]", Make<VarIntegerArray>}, {"float[]", Make<VarFloatArray>},  {"double[]", Make<VarDoubleArray>},
    {"string[]", Make<VarStringArray>},   {"map", Make<VarMap>},
};

const TypeEntry* FindType(std::string_view typeName) {
    for (const TypeEntry& entry : kTypes) {
        if (typeName == entry.Name) return &entry;
    }
    return nullptr;
}

Variable* NewVariable(std::string_view typeName, const NyxString& name) {
    const TypeEntry* entry = FindType(typeName);
    return entry != nullptr ? entry->Make(name) : nullptr;
}

std::string TypeNameOf(const Variable& variable) {
    NyxString name;
    variable.DumpType(name, NyxString(), 0);
    return name.ToStd();
}

void AppendNumber(std::string& text, const char* format, double value) {
    char buffer[64];
    const int written = std::snprintf(buffer, sizeof buffer, format, value);
    if (written > 0) text.append(buffer, static_cast<std::size_t>(written));
}

bool EncodeValue(const Variable& variable, std::string& text, unsigned depth);

// "type:N:text" of one element; a map's element has "K:key" between its
// type and its count.
bool EncodeElement(const Variable& element, const NyxString* key, std::string& text, unsigned depth) {
    const std::string elementType = TypeNameOf(element);
    std::string elementText;
    if (FindType(elementType) == nullptr || !EncodeValue(element, elementText, depth + 1)) return false;
    text += elementType;
    text += ':';
    if (key != nullptr) {
        text += std::to_string(key->GetSize());
        text += ':';
        text.append(key->GetString(), key->GetSize());
    }
    text += std::to_string(elementText.size());
    text += ':';
    text += elementText;
    return true;
}

bool EncodeValue(const Variable& variable, std::string& text, unsigned depth) {
    const Variable::enum_TypeId type = variable.GetTypeId();
    if (type == Variable::TypeMap) {
        if (depth >= kMaxNestingDepth) return false;
        auto& map = const_cast<Variable&>(variable);  // element access is non-const
        for (unsigned i = 0; i < map.GetElementCount(); ++i) {
            Variable* element = map.GetStructElement(i);
            if (element == nullptr) return false;
            const NyxString key = element->GetVarName();
            if (!EncodeElement(*element, &key, text, depth)) return false;
        }
        return true;
    }
    if (type == Variable::TypeArray || variable.IsArray()) {
        if (depth >= kMaxNestingDepth) return false;
        auto& array = const_cast<Variable&>(variable);  // element access is non-const
        const unsigned count = array.GetElementCount();
        for (unsigned i = 0; i < count; ++i) {
            const Variable* element = array.GetArrayElement(i);
            if (element == nullptr || !EncodeElement(*element, nullptr, text, depth)) return false;
        }
        return true;
    }
    switch (type) {
    case Variable::TypeBoolean:
    case Variable::TypeInteger:
        text += std::to_string(variable.GetIntegerValue());
        return true;
    case Variable::TypeChar:
        text += std::to_string(static_cast<int>(static_cast<signed char>(variable.GetCharValue())));
        return true;
    case Variable::TypeFloat:
        AppendNumber(text, "%.9g", static_cast<double>(variable.GetFloatValue()));
        return true;
    case Variable::TypeDouble:
        AppendNumber(text, "%.17g", variable.GetDoubleValue());
        return true;
    case Variable::TypeString: {
        const NyxString value = variable.GetText();
        text.append(value.GetString(), value.GetSize());
        return true;
    }
    default:
        return false;
    }
}

// Reads "<digits>:" at `position`; false if there are none or too many.
bool ReadCount(std::string_view text, std::size_t& position, std::size_t& count) {
    count = 0;
    const std::size_t start = position;
    while (position < text.size() && text[position] >= '0' && text[position] <= '9') {
        if (position - start >= 10) return false;
        count = count * 10 + static_cast<std::size_t>(text[position] - '0');
        ++position;
    }
    if (position == start || position >= text.size() || text[position] != ':') return false;
    ++position;
    return true;
}

bool DecodeInto(Variable& variable, std::string_view text, unsigned depth) {
    const bool isMap = variable.GetTypeId() == Variable::TypeMap;
    if (variable.IsArray() || isMap) {
        if (depth >= kMaxNestingDepth) return false;
        std::size_t position = 0;
        while (position < text.size()) {
            const std::size_t colon = text.find(':', position);
            if (colon == std::string_view::npos) return false;
            const std::string_view elementType = text.substr(position, colon - position);
            position = colon + 1;
            std::string_view key;
            std::size_t count = 0;
            if (isMap) {
                if (!ReadCount(text, position, count) || count > text.size() - position) return false;
                key = text.substr(position, count);
                position += count;
            }
            if (!ReadCount(text, position, count) || count > text.size() - position) return false;
            std::unique_ptr<Variable> element(NewVariable(elementType, NyxString(key)));
            if (element == nullptr || !DecodeInto(*element, text.substr(position, count), depth + 1)) return false;
            position += count;
            const int added = isMap ? variable.AddStructElement(element.get(), 0) : variable.AddArrayElement(element.get());
            if (added == 0) return false;
            element.release();
        }
        return true;
    }
    const std::string value(text);  // NUL-terminated for the number readers
    switch (variable.GetTypeId()) {
    case Variable::TypeBoolean:
        variable.SetBoolValue(static_cast<int>(std::strtol(value.c_str(), nullptr, 10)));
        return true;
    case Variable::TypeChar:
        variable.SetCharValue(static_cast<char>(std::strtol(value.c_str(), nullptr, 10)));
        return true;
    case Variable::TypeInteger:
        variable.SetIntegerValue(std::strtol(value.c_str(), nullptr, 10));
        return true;
    case Variable::TypeFloat:
        variable.SetFloatValue(std::strtof(value.c_str(), nullptr));
        return true;
    case Variable::TypeDouble:
        variable.SetDoubleValue(std::strtod(value.c_str(), nullptr));
        return true;
    case Variable::TypeString:
        variable.SetStringValue(text.data(), static_cast<unsigned>(text.size()));
        return true;
    default:
        return false;
    }
}

}  // namespace

bool Encode(const Variable& variable, std::string& typeName, std::string& text) {
    typeName = TypeNameOf(variable);
    text.clear();
    return FindType(typeName) != nullptr && EncodeValue(variable, text, 0);
}

Variable* Decode(std::string_view typeName, std::string_view text, const NyxString& name) {
    std::unique_ptr<Variable> variable(NewVariable(typeName, name));
    if (variable == nullptr || !DecodeInto(*variable, text, 0)) return nullptr;
    return variable.release();
}

}  // namespace SessionValueCodec
