// TagTraits: what the walker does with each tag id, in one table that the
// walker, the loop planner, the kept stretches and the tests all read. A new
// handler is one new row here and one case in the walker's dispatch.
#pragma once

#include "values/HtmlTagIds.h"

// Who takes a tag when the walker meets it.
enum class TagHandling : unsigned char {
    Written,  // the default path: written, evaluated when a parameter is an expression
    Anchor,
    Form,
    Frame,
    Script,
    Include,
    SetVar,
    Loop,
    DefineTag,
    If,
    SetHeader,
    Translation,
};

struct TagTraits {
    TagHandling Handling = TagHandling::Written;
    // Written as it is whatever the page's state (a tag only while none of its
    // parameters is an expression), as long as no user tag is defined and
    // texts are not translated: such objects can be kept as one stretch.
    bool PrintsAsItIs = false;
    // A loop plan can follow it: written, or one of the plan's own kinds.
    bool Planned = true;
    // What follows it may be skipped, repeated, translated or printed
    // another way than as written.
    bool ChangesLaterText = false;
};

namespace tag_traits_detail {

struct Row {
    int Id;
    TagTraits Traits;
};

constexpr Row kRows[] = {
    {TagId::A, {TagHandling::Anchor, false, false, false}},
    {TagId::Form, {TagHandling::Form, false, false, false}},
    {TagId::Frame, {TagHandling::Frame, false, false, false}},
    {TagId::Script, {TagHandling::Script, false, false, true}},
    {TagId::Include, {TagHandling::Include, false, false, true}},
    {TagId::SetVar, {TagHandling::SetVar, false, true, true}},
    {TagId::Loop, {TagHandling::Loop, false, false, true}},
    {TagId::DefTag, {TagHandling::DefineTag, false, false, true}},
    {TagId::If, {TagHandling::If, false, true, true}},
    {TagId::SetHeader, {TagHandling::SetHeader, false, true, false}},
    {TagId::Translation, {TagHandling::Translation, false, false, true}},
};

}  // namespace tag_traits_detail

// The traits of a tag id: one array index for the ids the parser gives out.
// Text and HTML tags without a row print as they are; the page language's own
// tags without a row (ELSE, ENDIF met outside their IF, ...) take the default
// path but never count as printing as they are.
constexpr TagTraits GetTagTraits(int id);

namespace tag_traits_detail {

constexpr int kHtmlSlots = 256;   // HTML tags have small ids
constexpr int kOwnTagSlots = 64;  // own tags are numbered from TagId::FirstOwnTag, densely

constexpr TagTraits FromRows(int id) {
    for (const Row& row : kRows) {
        if (row.Id == id) return row.Traits;
    }
    return TagTraits{TagHandling::Written, id >= 0 && id < TagId::FirstOwnTag, true, false};
}

struct Table {
    TagTraits Html[kHtmlSlots];
    TagTraits Own[kOwnTagSlots];
    constexpr Table() {
        for (int id = 0; id < kHtmlSlots; ++id) Html[id] = FromRows(id);
        for (int slot = 0; slot < kOwnTagSlots; ++slot) Own[slot] = FromRows(TagId::FirstOwnTag + slot);
    }
};

inline constexpr Table kTable;
static_assert(TagId::Translation - TagId::FirstOwnTag < kOwnTagSlots);

}  // namespace tag_traits_detail

constexpr TagTraits GetTagTraits(int id) {
    using namespace tag_traits_detail;
    if (id >= 0 && id < kHtmlSlots) return kTable.Html[id];
    if (id >= TagId::FirstOwnTag && id < TagId::FirstOwnTag + kOwnTagSlots) return kTable.Own[id - TagId::FirstOwnTag];
    return FromRows(id);
}
