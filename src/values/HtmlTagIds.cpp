// Tag ids: the table of known labels and its case-blind lookup.
#include "values/HtmlTagIds.h"

#include <cstdint>

namespace {

struct TagEntry {
    const char* Name;  // lower case
    int Id;
};

// Standard HTML tags (current and obsolete ones still met in pages), then the
// page language's own tags. The ids of standard tags are this parser's own;
// they stay clear of the ids that the walker dispatches on.
constexpr TagEntry kTags[] = {
    {"a", TagId::A},
    {"abbr", 2},
    {"acronym", 3},
    {"address", 4},
    {"applet", 5},
    {"area", 6},
    {"article", 7},
    {"aside", 9},
    {"audio", 10},
    {"b", 11},
    {"base", 12},
    {"basefont", 13},
    {"bdi", 14},
    {"bdo", 15},
    {"bgsound", 16},
    {"big", 17},
    {"blink", 18},
    {"blockquote", 19},
    {"body", 20},
    {"br", 21},
    {"button", 22},
    {"canvas", 23},
    {"caption", 25},
    {"center", 26},
    {"cite", 27},
    {"code", 28},
    {"col", 29},
    {"colgroup", 30},
    {"data", 31},
    {"datalist", 32},
    {"dd", 33},
    {"del", 34},
    {"details", 35},
    {"dfn", 36},
    {"dialog", 37},
    {"dir", 39},
    {"div", 40},
    {"dl", 41},
    {"dt", 42},
    {"em", 43},
    {"embed", 44},
    {"fieldset", 45},
    {"figcaption", 46},
    {"figure", 47},
    {"font", 48},
    {"footer", 49},
    {"form", TagId::Form},
    {"frame", TagId::Frame},
    {"frameset", 50},
    {"h1", 51},
    {"h2", 52},
    {"h3", 53},
    {"h4", 54},
    {"h5", 55},
    {"h6", 56},
    {"head", 57},
    {"header", 58},
    {"hgroup", 59},
    {"hr", 60},
    {"html", 61},
    {"i", 63},
    {"iframe", 64},
    {"image", 65},
    {"img", 66},
    {"input", 67},
    {"ins", 68},
    {"isindex", 71},
    {"kbd", 72},
    {"keygen", 73},
    {"label", 74},
    {"legend", 75},
    {"li", 76},
    {"link", 77},
    {"listing", 78},
    {"main", 79},
    {"map", 80},
    {"mark", 81},
    {"marquee", 82},
    {"math", 83},
    {"menu", 84},
    {"menuitem", 85},
    {"meta", 86},
    {"meter", 87},
    {"nav", 88},
    {"nobr", 89},
    {"noembed", 90},
    {"noframes", 91},
    {"noscript", 92},
    {"object", 93},
    {"ol", 94},
    {"optgroup", 95},
    {"option", 96},
    {"output", 97},
    {"p", 98},
    {"param", 99},
    {"picture", 100},
    {"plaintext", 101},
    {"pre", 102},
    {"progress", 103},
    {"q", 104},
    {"rb", 105},
    {"rp", 106},
    {"rt", 107},
    {"rtc", 108},
    {"ruby", 109},
    {"s", 110},
    {"samp", 111},
    {"script", TagId::Script},
    {"search", 112},
    {"section", 113},
    {"select", 114},
    {"slot", 115},
    {"small", 116},
    {"source", 117},
    {"spacer", 118},
    {"span", 119},
    {"strike", 120},
    {"strong", 121},
    {"style", TagId::Style},
    {"sub", 122},
    {"summary", 123},
    {"sup", 124},
    {"svg", 125},
    {"table", 126},
    {"tbody", 127},
    {"td", 128},
    {"template", 129},
    {"textarea", TagId::Textarea},
    {"tfoot", 130},
    {"th", 131},
    {"thead", 132},
    {"time", 133},
    {"title", 134},
    {"tr", 135},
    {"track", 136},
    {"tt", 137},
    {"u", 138},
    {"ul", 139},
    {"var", 140},
    {"video", 141},
    {"wbr", 142},
    {"xmp", 143},
    {"include", TagId::Include},
    {"setvar", TagId::SetVar},
    {"loop", TagId::Loop},
    {"deftag", TagId::DefTag},
    {"if", TagId::If},
    {"else", TagId::Else},
    {"elseif", TagId::ElseIf},
    {"endif", TagId::EndIf},
    {"setheader", TagId::SetHeader},
    {"translation", TagId::Translation},
};

constexpr std::size_t kMaxLabelSize = 16;  // longer than every known label
constexpr std::size_t kSlotCount = 512;    // power of two, over three times the table

constexpr unsigned char LowerAscii(unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; }

// A label of up to 16 bytes, lower-cased and packed into two words.
struct LabelKey {
    uint64_t Low = 0;
    uint64_t High = 0;
    std::size_t Size = 0;

    constexpr explicit LabelKey(std::string_view label) : Size(label.size()) {
        const std::size_t size = label.size() < kMaxLabelSize ? label.size() : kMaxLabelSize;
        const std::size_t lowSize = size < 8 ? size : 8;
        for (std::size_t i = 0; i < lowSize; ++i) Low |= uint64_t{LowerAscii(static_cast<unsigned char>(label[i]))} << (8 * i);
        for (std::size_t i = 8; i < size; ++i) High |= uint64_t{LowerAscii(static_cast<unsigned char>(label[i]))} << (8 * (i - 8));
    }

    constexpr std::size_t Slot() const {
        const uint64_t mixed = (Low ^ (High * 0x9E3779B97F4A7C15ULL) ^ Size) * 0xFF51AFD7ED558CCDULL;
        return static_cast<std::size_t>(mixed >> 40) & (kSlotCount - 1);
    }
};

struct Slot {
    uint64_t Low = 0;
    uint64_t High = 0;
    std::size_t Size = 0;
    int Id = TagId::Text;  // Text: an empty slot (no label has that id)
};

// Open addressing over kTags, built by the compiler.
struct SlotTable {
    Slot Slots[kSlotCount] = {};

    constexpr SlotTable() {
        for (const TagEntry& entry : kTags) {
            const LabelKey key{std::string_view(entry.Name)};
            std::size_t slot = key.Slot();
            while (Slots[slot].Id != TagId::Text) slot = (slot + 1) & (kSlotCount - 1);
            Slots[slot] = Slot{key.Low, key.High, key.Size, entry.Id};
        }
    }
};

constexpr SlotTable kSlotTable;

}  // namespace

int LookupTagId(std::string_view label) {
    if (label.empty() || label.size() > kMaxLabelSize) return TagId::Unknown;
    const LabelKey key(label);
    std::size_t slot = key.Slot();
    while (kSlotTable.Slots[slot].Id != TagId::Text) {
        const Slot& candidate = kSlotTable.Slots[slot];
        if (candidate.Low == key.Low && candidate.High == key.High && candidate.Size == key.Size) return candidate.Id;
        slot = (slot + 1) & (kSlotCount - 1);
    }
    return TagId::Unknown;
}

std::string_view GetTagIdName(int id) {
    for (const TagEntry& entry : kTags) {
        if (entry.Id == id) return entry.Name;
    }
    return {};
}
