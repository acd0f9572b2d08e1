// HtmlKeptRuns: the printed text of stretches of a list's objects that are
// always printed as they are, kept per first index so that a walk that comes
// by again (a loop's body) writes a stretch with one copy. A stretch is kept
// on its second visit only: a page walked once keeps nothing.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class HtmlKeptRuns {
public:
    enum class State { FirstVisit, SecondVisit, Kept };

    // What is known of the stretch from `index` in a list of `count`
    // objects; a first visit is recorded. For Kept, `text` and `next` (the
    // first index behind the stretch) are set, valid until the next Keep or
    // ForgetAll.
    State Look(unsigned index, unsigned count, std::string_view& text, unsigned& next);
    // Keeps the text of the stretch from `index` to before `next`.
    void Keep(unsigned index, unsigned next, std::string_view text);
    // Forgets every stretch, as when an object of the list changes.
    void ForgetAll();
    // True when a kept stretch holds the object at `index`: a change to any
    // other object leaves every stretch as it is.
    bool Holds(unsigned index) const {
        return index / 64 < Held.size() && (Held[index / 64] & (uint64_t{1} << (index % 64))) != 0;
    }
    // The bytes it holds.
    std::size_t GetMemoryBytes() const {
        return Marks.capacity() * sizeof(Mark) + Texts.capacity() + Held.capacity() * sizeof(uint64_t);
    }

private:
    struct Mark {
        uint32_t Offset = 0;      // 0: visited once; else 1 + the offset of the stretch in Texts
        uint32_t Generation = 0;  // the mark counts only while this is Generation
    };
    std::vector<Mark> Marks;  // per object; empty until the first Look
    std::string Texts;        // per stretch: its 32-bit size, its 32-bit next index, then the bytes
    std::vector<uint64_t> Held;  // a bit per object inside a kept stretch
    uint32_t Generation = 1;
};
