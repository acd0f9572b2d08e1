#include "page/SafeOutput.h"

#include <charconv>
#include <cstdint>
#include <string>

#include "foundation/TextEscapes.h"
#include "values/Variable.h"

namespace {

// Attributes whose value a browser follows, loads or submits to.
constexpr std::string_view kUrlAttributes[] = {
    "href", "src", "action", "formaction", "background", "cite", "codebase", "data",
    "dynsrc", "longdesc", "lowsrc", "manifest", "poster", "usemap", "xlink:href",
};

char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
    }
    return true;
}

// A browser drops leading blanks and control characters and any tab or line
// end inside the scheme, and compares it without regard to case.
bool RunsScript(std::string_view url) {
    std::string scheme;
    for (const char c : url) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte <= 0x20) continue;
        if (c == ':') break;
        scheme.push_back(LowerAscii(c));
        if (scheme.size() > 10) return false;
    }
    return scheme == "javascript" || scheme == "vbscript" || scheme == "data";
}

template <typename Number>
void AppendShortest(NyxString& text, Number value) {
    char digits[40];
    const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    text.AppendBytes(digits, static_cast<std::size_t>(end - digits));
}

}  // namespace

bool IsUrlAttribute(std::string_view name) {
    for (const std::string_view known : kUrlAttributes) {
        if (EqualsIgnoringCase(name, known)) return true;
    }
    return false;
}

void AppendSafeAttributeValue(NyxString& out, std::string_view value, bool holdsUrl) {
    if (holdsUrl && RunsScript(value)) value = "about:invalid";
    if (!NeedsHtmlEscape(value)) {
        out.AppendBytes(value.data(), value.size());
        return;
    }
    std::string escaped;
    AppendHtmlEscaped(escaped, value);
    out.AppendBytes(escaped.data(), escaped.size());
}

NyxString HtmlEscaped(std::string_view text) {
    std::string escaped;
    AppendHtmlEscaped(escaped, text);
    return NyxString(std::string_view(escaped));
}

void AppendLinkComponent(NyxString& out, std::string_view text) {
    std::string encoded;
    AppendPercentEncoded(encoded, text, false);
    out.AppendBytes(encoded.data(), encoded.size());
}

bool DescribeExactValue(Variable* variable, char& letter, NyxString& text) {
    switch (variable->GetTypeId()) {
    case Variable::TypeBoolean:
        letter = 'b';
        text = variable->GetBoolValue() ? "1" : "0";
        return true;
    case Variable::TypeChar:
        letter = 'c';
        AppendShortest(text, static_cast<unsigned>(static_cast<unsigned char>(variable->GetCharValue())));
        return true;
    case Variable::TypeInteger:
        letter = 'i';
        AppendShortest(text, static_cast<int32_t>(variable->GetIntegerValue()));
        return true;
    case Variable::TypeFloat:
        letter = 'f';
        AppendShortest(text, variable->GetFloatValue());
        return true;
    case Variable::TypeDouble:
        letter = 'd';
        AppendShortest(text, variable->GetDoubleValue());
        return true;
    case Variable::TypeString:
        letter = 's';
        // Every byte, a NUL among them.
        text = NyxString(std::string_view(variable->GetStringValue(), variable->GetLength()));
        return true;
    default:
        return false;
    }
}
