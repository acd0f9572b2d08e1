// Library, html and escaping: htmlencode, htmldecode, urlencode, urldecode.
// urlencode writes a blank as "+", the form of query strings and of the
// links that the page engine writes.
#include <string>

#include "foundation/TextEscapes.h"
#include "quince/Library.h"

namespace quince {

namespace {

bool HtmlEncode(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    std::string out;
    AppendHtmlEscaped(out, TextOf(args[0], scratch));
    return call.MakeString(out, result);
}

// The five named entities that htmlencode writes, and numeric ones (&#65; &#x41;)
// for byte values; anything else stays as it is.
bool HtmlDecode(CallContext& call, Value* args, unsigned, Value& result) {
    static const struct {
        std::string_view Name;
        char Byte;
    } kEntities[] = {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}, {"&apos;", '\''}};
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '&') {
            out.push_back(text[i]);
            continue;
        }
        bool decoded = false;
        for (const auto& entity : kEntities) {
            if (text.substr(i, entity.Name.size()) == entity.Name) {
                out.push_back(entity.Byte);
                i += entity.Name.size() - 1;
                decoded = true;
                break;
            }
        }
        if (!decoded && i + 2 < text.size() && text[i + 1] == '#') {
            const bool hex = text[i + 2] == 'x' || text[i + 2] == 'X';
            std::size_t j = i + (hex ? 3 : 2);
            unsigned code = 0;
            std::size_t digits = 0;
            while (j < text.size() && digits < 4) {
                const char d = text[j];
                const int value = d >= '0' && d <= '9' ? d - '0'
                                  : hex && (d | 0x20) >= 'a' && (d | 0x20) <= 'f' ? (d | 0x20) - 'a' + 10
                                                                                  : -1;
                if (value < 0) break;
                code = code * (hex ? 16 : 10) + static_cast<unsigned>(value);
                ++j;
                ++digits;
            }
            if (digits > 0 && j < text.size() && text[j] == ';' && code < 256) {
                out.push_back(static_cast<char>(code));
                i = j;
                decoded = true;
            }
        }
        if (!decoded) out.push_back('&');
    }
    return call.MakeString(out, result);
}

bool UrlEncode(CallContext& call, Value* args, unsigned, Value& result) {
    NyxString scratch;
    std::string out;
    AppendPercentEncoded(out, TextOf(args[0], scratch), true);
    return call.MakeString(out, result);
}

// "+" becomes a blank and %XX its byte; a "%" without two hex digits stays.
bool UrlDecode(CallContext& call, Value* args, unsigned, Value& result) {
    auto hexValue = [](char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f') return (c | 0x20) - 'a' + 10;
        return -1;
    };
    NyxString scratch;
    const std::string_view text = TextOf(args[0], scratch);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            out.push_back(' ');
        } else if (text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
            out.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
            i += 2;
        } else {
            out.push_back(text[i]);
        }
    }
    return call.MakeString(out, result);
}

}  // namespace

const BuiltinFunction kHtmlFunctions[] = {
    {"htmlencode", 1, 1, StaticType::String, BuiltinForm::Plain, HtmlEncode},
    {"htmldecode", 1, 1, StaticType::String, BuiltinForm::Plain, HtmlDecode},
    {"urlencode", 1, 1, StaticType::String, BuiltinForm::Plain, UrlEncode},
    {"urldecode", 1, 1, StaticType::String, BuiltinForm::Plain, UrlDecode},
    {nullptr, 0, 0, StaticType::Any, BuiltinForm::Plain, nullptr},
};

}  // namespace quince
