// HtmlRecord: what a parsed page keeps of one object until someone asks for
// the object itself: where it lies in the page's text and what the walk must
// know without it. Eight bytes, where an HtmlObject costs over a hundred, so
// a page of many small tags stays a few bytes per byte of text. The size is
// where the next object begins (the objects cover the text without gaps);
// the line is counted from the first object of the record's segment.
#pragma once

#include <cstdint>

struct HtmlRecord {
    static constexpr uint8_t kEnd = 1;            // an end tag
    static constexpr uint8_t kClosingShift = 1;   // two bits: HtmlObject::Closing
    static constexpr uint8_t kClosingMask = 3u << kClosingShift;
    static constexpr uint8_t kHasParams = 8;      // the tag has parameters
    static constexpr uint8_t kHasExpression = 16; // one of them is a "(...)" expression
    static constexpr uint8_t kNeedsObject = 32;   // only the object knows: added, replaced, or a label too long for LabelSize
    static constexpr unsigned kMostLabelSize = 255;

    uint32_t Offset = 0;  // in the page's text
    uint16_t TagId = 0;
    uint8_t Bits = 0;
    uint8_t LabelSize = 0;  // of a tag, as written

    bool Is(uint8_t bit) const { return (Bits & bit) != 0; }
};
static_assert(sizeof(HtmlRecord) == 8);
