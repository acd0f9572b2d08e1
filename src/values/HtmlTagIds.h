// Tag ids: the number the parser gives each tag, by its label, without regard
// to case. A start tag and its end tag carry the same id.
#pragma once

#include <string_view>

namespace TagId {
constexpr int Text = 0;          // a stretch of text, not a tag
constexpr int Unknown = 1;       // a label that no table knows
constexpr int A = 8;
constexpr int Textarea = 24;
constexpr int Form = 38;
constexpr int Frame = 62;
constexpr int Script = 69;
constexpr int Style = 70;
constexpr int FirstOwnTag = 1000;  // the page language's own tags from here on
constexpr int Include = 1003;
constexpr int SetVar = 1004;
constexpr int Loop = 1005;
constexpr int DefTag = 1009;
constexpr int If = 1012;
constexpr int Else = 1013;
constexpr int ElseIf = 1014;
constexpr int EndIf = 1015;
constexpr int SetHeader = 1016;
constexpr int Translation = 1017;
}  // namespace TagId

// The id of a tag label (without angle brackets or slash), ignoring case.
// Standard HTML tags and the page language's own tags have ids of their own;
// any other label gives TagId::Unknown.
int LookupTagId(std::string_view label);

// The canonical lower-case name of a known id, or an empty view.
std::string_view GetTagIdName(int id);
