// SafeOutput: what SafeOutput = 1 in [QuinceConfig] makes of a value the
// engine writes into markup: escaped for an attribute, percent-encoded in a
// generated link, escaped in the variable parts of a message. Off, values
// go out as they are.
#pragma once

#include <string_view>

#include "values/NyxString.h"

class Variable;

// Appends an attribute's computed value, HTML-escaped. A URL (`holdsUrl`)
// whose scheme would run script (javascript:, vbscript:, data:) becomes
// "about:invalid".
void AppendSafeAttributeValue(NyxString& out, std::string_view value, bool holdsUrl);

// Whether the attribute `name` holds a URL that a browser follows or loads.
bool IsUrlAttribute(std::string_view name);

// `text` HTML-escaped: the variable parts of messages, hidden fields.
NyxString HtmlEscaped(std::string_view text);

// Appends `text` percent-encoded for a name or value of a generated link:
// every byte but letters, digits, "-", ".", "_" and "~", blanks as %20,
// so that the request decoder gives back exactly these bytes.
void AppendLinkComponent(NyxString& out, std::string_view text);

// The text of a scalar value that reads back as the same value through the
// request's typed names (".i", ".d", ...), and its type letter: integers
// signed, floating values to the last digit. False for an array.
bool DescribeExactValue(Variable* variable, char& letter, NyxString& text);
