// Library: the table of all built-in functions, gathered from the areas.
#include "quince/Library.h"

#include <cstdarg>
#include <vector>

#include "quince/Engine.h"

namespace quince {

bool CallContext::Fail(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    Error.VPrintf(format, arguments);
    va_end(arguments);
    return false;
}

bool CallContext::OutOfMemory() { return Fail("out of memory for strings and arrays (QuinceConfig MaxMemory)"); }

bool CallContext::MakeString(std::string_view text, Value& out) {
    StringObject* object = NewString(Memory, text.data(), text.size());
    if (object == nullptr) return OutOfMemory();
    out = Value::MakeString(object);
    return true;
}

std::string_view TextOf(const Value& value, NyxString& scratch) {
    if (value.kind == Kind::String) return StringView(value);
    scratch.Clear();
    AppendText(scratch, value);
    return scratch.View();
}

namespace {

struct BuiltinTable {
    std::vector<const BuiltinFunction*> Functions;
    TextMap<unsigned> Numbers;

    BuiltinTable() {
        const BuiltinFunction* const areas[] = {kStringFunctions, kConversionFunctions, kHtmlFunctions,
                                                kMathFunctions,   kArrayFunctions,      kTimeFunctions,
                                                kVariableFunctions, kRegexFunctions, kMapFunctions,
                                                kJsonFunctions, kDateFunctions};
        for (const BuiltinFunction* area : areas) {
            for (const BuiltinFunction* function = area; function->Name != nullptr; ++function) {
                Numbers.emplace(function->Name, static_cast<unsigned>(Functions.size()));
                Functions.push_back(function);
            }
        }
    }
};

const BuiltinTable& Table() {
    static const BuiltinTable table;
    return table;
}

}  // namespace

const BuiltinFunction* FindBuiltin(std::string_view name, unsigned* number) {
    const BuiltinTable& table = Table();
    auto found = table.Numbers.find(name);
    if (found == table.Numbers.end()) return nullptr;
    if (number != nullptr) *number = found->second;
    return table.Functions[found->second];
}

const BuiltinFunction& GetBuiltin(unsigned number) { return *Table().Functions[number]; }

}  // namespace quince
