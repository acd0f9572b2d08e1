// HtmlKeptRuns: stretches of printed objects, kept by their first index.
#include "values/HtmlKeptRuns.h"

#include <cstring>

HtmlKeptRuns::State HtmlKeptRuns::Look(unsigned index, unsigned count, std::string_view& text, unsigned& next) {
    if (Marks.size() < count) Marks.resize(count);
    if (index >= Marks.size()) return State::FirstVisit;
    Mark& mark = Marks[index];
    if (mark.Generation != Generation) {
        mark = Mark{0, Generation};
        return State::FirstVisit;
    }
    if (mark.Offset == 0) return State::SecondVisit;
    const char* kept = Texts.data() + (mark.Offset - 1);
    uint32_t size = 0;
    uint32_t end = 0;
    std::memcpy(&size, kept, sizeof size);
    std::memcpy(&end, kept + sizeof size, sizeof end);
    text = std::string_view(kept + 2 * sizeof size, size);
    next = end;
    return State::Kept;
}

void HtmlKeptRuns::Keep(unsigned index, unsigned next, std::string_view text) {
    if (index >= Marks.size()) return;
    const uint32_t size = static_cast<uint32_t>(text.size());
    // Offsets stay below 4 GiB; a page with more to keep prints the rest afresh.
    if (text.size() >= UINT32_MAX / 2 || Texts.size() + 2 * sizeof size + size >= UINT32_MAX - 1) return;
    const uint32_t end = next;
    Marks[index] = Mark{static_cast<uint32_t>(Texts.size()) + 1, Generation};
    Texts.append(reinterpret_cast<const char*>(&size), sizeof size);
    Texts.append(reinterpret_cast<const char*>(&end), sizeof end);
    Texts.append(text);
    if (Held.size() * 64 < next) Held.resize((next + 63) / 64, 0);
    for (unsigned i = index; i < next; ++i) Held[i / 64] |= uint64_t{1} << (i % 64);
}

void HtmlKeptRuns::ForgetAll() {
    Texts.clear();
    Held.clear();
    if (++Generation != 0) return;
    // After four billion changes the oldest marks could look current again.
    Marks.assign(Marks.size(), Mark{});
    Generation = 1;
}
