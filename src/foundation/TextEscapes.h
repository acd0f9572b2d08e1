// TextEscapes: text made safe for HTML and for URLs.
#pragma once

#include <string>
#include <string_view>

// Appends `text` with & < > " ' written as entities, so that it stands as
// text or inside an attribute in either kind of quotes.
void AppendHtmlEscaped(std::string& out, std::string_view text);

// Whether AppendHtmlEscaped would change `text`.
bool NeedsHtmlEscape(std::string_view text);

// Appends `text` with every byte but the unreserved ones (letters, digits,
// "-", ".", "_", "~") as %XX. A blank becomes "+" when `blankAsPlus`, the
// form of query strings; otherwise %20.
void AppendPercentEncoded(std::string& out, std::string_view text, bool blankAsPlus);
