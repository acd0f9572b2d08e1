#include "foundation/TextEscapes.h"

namespace {

const char* EntityFor(char c) {
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return "&quot;";
    case '\'': return "&#39;";
    default: return nullptr;
    }
}

bool IsUnreserved(unsigned char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           byte == '-' || byte == '_' || byte == '.' || byte == '~';
}

}  // namespace

void AppendHtmlEscaped(std::string& out, std::string_view text) {
    std::size_t plain = 0;  // start of the run not yet appended
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* entity = EntityFor(text[i]);
        if (entity == nullptr) continue;
        out.append(text.data() + plain, i - plain);
        out += entity;
        plain = i + 1;
    }
    out.append(text.data() + plain, text.size() - plain);
}

bool NeedsHtmlEscape(std::string_view text) {
    return text.find_first_of("&<>\"'") != std::string_view::npos;
}

void AppendPercentEncoded(std::string& out, std::string_view text, bool blankAsPlus) {
    static const char kHex[] = "0123456789ABCDEF";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsUnreserved(byte)) {
            out.push_back(c);
        } else if (byte == ' ' && blankAsPlus) {
            out.push_back('+');
        } else {
            out.push_back('%');
            out.push_back(kHex[byte >> 4]);
            out.push_back(kHex[byte & 0x0F]);
        }
    }
}
