// HtmlObjectList: a page parsed into a flat sequence of HtmlObjects in
// document order, numbered from 0. The list owns its objects.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "values/HtmlBlockIndex.h"
#include "values/HtmlKeptRuns.h"
#include "values/HtmlListAttachment.h"
#include "values/HtmlObject.h"
#include "values/HtmlObjectArena.h"
#include "values/NyxString.h"

class HtmlObjectList {
public:
    // Reads and parses the file at `path`. An unreadable path gives a list
    // without objects.
    explicit HtmlObjectList(const NyxString& path);
    // Parses `text`; `path` is only recorded (for GetFilePath).
    HtmlObjectList(const NyxString& path, std::string_view text);
    HtmlObjectList(const HtmlObjectList&) = delete;
    HtmlObjectList& operator=(const HtmlObjectList&) = delete;
    virtual ~HtmlObjectList();

    // The object at `index`, or null at or past the end and for a negative index.
    HtmlObject* GetEntry(int index) const {
        if (index < 0 || static_cast<unsigned>(index) >= Count) return nullptr;
        return Segments[static_cast<unsigned>(index) >> kSegmentShift][static_cast<unsigned>(index) & kSegmentMask];
    }
    // Puts `object` (taken over) in the place of the object at `index`, which
    // is destroyed; no other entry moves. An index out of range destroys
    // `object` instead; a null object changes nothing.
    void ReplaceEntry(int index, HtmlObject* object);
    // Appends `object` (taken over); for lists built in memory.
    void AddEntry(HtmlObject* object);

    // For a list kept from one request to the next: from now on ReplaceEntry
    // keeps each object it replaces, and RestoreOriginals puts them back and
    // forgets what the walks kept with the list (a loop's plan belongs to one
    // request's script context). RestoreOriginals is false when the list
    // cannot be had as parsed again (an entry was added).
    void KeepOriginals() { KeepingOriginals = true; }
    bool RestoreOriginals();
    // About the bytes the list holds: its arena, the text it was parsed from
    // (its objects hold copies of it) and what the walks kept.
    std::size_t GetMemoryBytes() const;
    // The same, counting only the part of the arena's newest block in use.
    std::size_t GetUsedBytes() const;
    unsigned GetCount() const { return Count; }
    NyxString GetFilePath() const { return FilePath; }

    // True when the constructor could read the file (always true for text).
    bool WasRead() const { return Read; }
    // False when the file could not even be opened (made from a path only).
    bool WasOpened() const { return Opened; }

    // Where each IF branch and LOOP block ends; worked out on first use and
    // kept while entries are only replaced by copies with the same id.
    const HtmlBlockIndex& GetBlockIndex() const;

    // Appends the Output() of the object at `index` (nothing for an index out
    // of range). A tag printed a second time keeps its text, so that later
    // printings (a loop's body) cost one copy; ReplaceEntry forgets it.
    void AppendOutputOf(int index, NyxString& out) const;

    // The walker's kept stretches of objects printed as they are; forgotten
    // whenever an entry is replaced or added.
    HtmlKeptRuns& GetKeptRuns() const { return KeptRuns; }

    // What a handler keeps about the object at `index`, or null. Every
    // attachment is destroyed whenever an entry is replaced or added.
    HtmlListAttachment* GetAttachment(int index) const;
    // Keeps `attachment` for the object at `index`, in place of any before.
    HtmlListAttachment* Attach(int index, std::unique_ptr<HtmlListAttachment> attachment) const;

private:
    friend class HtmlParser;

    void Parse(std::string_view text);
    void Append(HtmlObject* object) {
        const unsigned slot = Count & kSegmentMask;
        if (slot == 0) AddSegment();
        Segments[Count >> kSegmentShift][slot] = object;
        ++Count;
    }
    void AddSegment();
    static void Destroy(HtmlObject* object);

    // Object pointers sit in segments of 4096 in the arena: no reallocation
    // while a page grows, and no large block to fault in afresh per page.
    static constexpr unsigned kSegmentShift = 12;
    static constexpr unsigned kSegmentSize = 1u << kSegmentShift;
    static constexpr unsigned kSegmentMask = kSegmentSize - 1;

    HtmlObjectArena Arena;  // the parser's objects, the segments; its objects are destroyed by ~HtmlObjectList
    NyxString FilePath;
    bool Read = false;
    bool Opened = true;
    bool KeepingOriginals = false;
    bool Grown = false;  // an entry was added after parsing
    std::size_t TextBytes = 0;
    unsigned Count = 0;
    std::unordered_map<unsigned, HtmlObject*> Originals;  // owned; by index, while KeepingOriginals
    std::vector<HtmlObject**> Segments;  // each kSegmentSize slots, in Arena; slots below Count are owned, never null
    // Per object: 0 never printed, 1 printed once, else 2 + the offset of its
    // kept text in PrintedTexts (a 32-bit length, then the bytes). Empty until
    // the first AppendOutputOf.
    mutable std::vector<uint32_t> PrintMarks;
    mutable std::string PrintedTexts;
    mutable HtmlKeptRuns KeptRuns;
    mutable std::unordered_map<int, std::unique_ptr<HtmlListAttachment>> Attachments;
    mutable std::unique_ptr<HtmlBlockIndex> BlockIndex;  // null until asked for, or after a change of ids
};
