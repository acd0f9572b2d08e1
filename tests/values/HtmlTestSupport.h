// Helpers shared by the tests of the HTML object model: parsing from memory,
// a one-line description of a list, and the check that a list re-forms its
// source byte for byte.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

namespace html_test {

inline std::unique_ptr<HtmlObjectList> Parse(std::string_view text) {
    return std::make_unique<HtmlObjectList>("page.html", text);
}

// Each object in order: a text as "T(text)", a tag as its Output() with a
// leading '+' for a start and '-' for an end tag; separated by '|'.
inline std::string Describe(const HtmlObjectList& list) {
    std::string out;
    for (unsigned i = 0; i < list.GetCount(); ++i) {
        const HtmlObject* object = list.GetEntry(static_cast<int>(i));
        if (i != 0) out += '|';
        if (object->GetTagId() == TagId::Text) {
            out += "T(" + object->GetText().ToStd() + ")";
        } else {
            out += object->IsEndTag() ? '-' : '+';
            out += object->Output().ToStd();
        }
    }
    return out;
}

// Empty if the objects' source spans tile `source` in order, every text
// object holds exactly its span's bytes, every tag span runs from '<' to '>',
// no two text objects stand side by side outside a raw-text element, and
// every line number is the line of the object's first byte. Otherwise the
// first fault found.
inline std::string CheckReformsSource(const HtmlObjectList& list, std::string_view source) {
    std::size_t offset = 0;
    unsigned line = 1;
    std::size_t lineCountedTo = 0;
    for (unsigned i = 0; i < list.GetCount(); ++i) {
        const HtmlObject* object = list.GetEntry(static_cast<int>(i));
        const std::string where = "object " + std::to_string(i) + " at " + std::to_string(offset);
        if (object == nullptr) return where + ": null";
        if (object->GetSourceOffset() != offset) return where + ": span starts at " + std::to_string(object->GetSourceOffset());
        const std::size_t size = object->GetSourceSize();
        if (size > source.size() - offset) return where + ": span runs past the end";
        const std::string_view span = source.substr(offset, size);
        for (; lineCountedTo < offset; ++lineCountedTo) line += source[lineCountedTo] == '\n';
        if (object->GetLineNum() != line) {
            return where + ": line " + std::to_string(object->GetLineNum()) + ", expected " + std::to_string(line);
        }
        if (object->GetTagId() == TagId::Text) {
            const HtmlObject* previous = list.GetEntry(static_cast<int>(i) - 1);
            if (previous != nullptr && previous->GetTagId() == TagId::Text) return where + ": two text objects in a row";
            const bool rawText = previous != nullptr && previous->IsStartTag() &&
                                 (previous->GetTagId() == TagId::Script || previous->GetTagId() == TagId::Style);
            if (size == 0 && !rawText) return where + ": empty text object";
            if (object->GetText().View() != span) return where + ": text differs from its source";
            if (object->Output().View() != span) return where + ": Output() differs from its source";
        } else {
            if (size < 3 || span.front() != '<' || span.back() != '>') return where + ": tag span is not <...>";
            if (object->IsEndTag() != 0 && object->IsEndTag() != 1) return where + ": end flag not 0 or 1";
        }
        offset += size;
    }
    if (offset != source.size()) return "spans end at " + std::to_string(offset) + " of " + std::to_string(source.size());
    return {};
}

}  // namespace html_test
