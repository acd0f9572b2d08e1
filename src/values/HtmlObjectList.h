// HtmlObjectList: a page parsed into a flat sequence of HtmlObjects in
// document order, numbered from 0. The list owns its objects and keeps the
// page's text: the parse leaves a small record per object, and an object is
// made from its record the first time GetEntry asks for it. A walk that
// only writes objects as they are reads the records and never makes them.
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
#include "values/HtmlRecord.h"
#include "values/NyxString.h"
#include "foundation/PageMemory.h"

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

    // The object at `index`, or null at or past the end and for a negative
    // index. Made on first use; the same object from then on.
    HtmlObject* GetEntry(int index) const {
        if (index < 0 || static_cast<unsigned>(index) >= Count) return nullptr;
        HtmlObject** made = Made[static_cast<unsigned>(index) >> kSegmentShift];
        HtmlObject* object = made != nullptr ? made[static_cast<unsigned>(index) & kSegmentMask] : nullptr;
        return object != nullptr ? object : Make(static_cast<unsigned>(index));
    }

    // What the walk asks of every object, read without making it.
    // The tag id, or -1 out of range.
    int GetTagIdOf(int index) const {
        return index >= 0 && static_cast<unsigned>(index) < Count ? RecordAt(static_cast<unsigned>(index)).TagId : -1;
    }
    // 1 on an end tag, else 0.
    int IsEndTagOf(int index) const { return InRange(index) && RecordAt(static_cast<unsigned>(index)).Is(HtmlRecord::kEnd) ? 1 : 0; }
    unsigned GetLineNumOf(int index) const;
    // True while the object is the parser's, unchanged: its record then
    // answers for it (IsAsParsed is false out of range).
    bool IsAsParsed(int index) const { return InRange(index) && !RecordAt(static_cast<unsigned>(index)).Is(HtmlRecord::kNeedsObject); }
    // A tag with a parameter in expression form "(...)".
    bool HasExpressionParam(int index) const;
    // The label of a tag as written, the text of a text object; valid while
    // the list lives and the entry is not replaced.
    std::string_view GetLabelOf(int index) const;
    std::string_view GetTextOf(int index) const;
    // A copy of the object at `index` that the caller owns, made without
    // keeping an object in the list; null out of range.
    HtmlObject* CopyEntry(int index) const;

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
    // True for such a list: a walk of it comes by again in a later request.
    bool IsKeptAcrossRequests() const { return KeepingOriginals; }
    bool RestoreOriginals();
    // About the bytes the list holds: its records and arena, the text it was
    // parsed from, and what the walks kept.
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
    // whenever an entry is added, or one inside a stretch is replaced.
    HtmlKeptRuns& GetKeptRuns() const { return KeptRuns; }

    // What a handler keeps about the object at `index`, or null. Every
    // attachment is destroyed whenever an entry is replaced or added.
    HtmlListAttachment* GetAttachment(int index) const;
    // Keeps `attachment` for the object at `index`, in place of any before.
    HtmlListAttachment* Attach(int index, std::unique_ptr<HtmlListAttachment> attachment) const;

private:
    friend class HtmlParser;

    void Parse();
    // `line` is the record's line; kept for the first of each segment.
    void AppendRecord(const HtmlRecord& record, unsigned line) {
        const unsigned slot = Count & kSegmentMask;
        if (slot == 0) AddSegment(line);
        Records[Count >> kSegmentShift][slot] = record;
        ++Count;
    }
    void AddSegment(unsigned line);
    std::size_t SizeOf(unsigned index) const;
    unsigned LineOf(unsigned index) const;
    bool InRange(int index) const { return index >= 0 && static_cast<unsigned>(index) < Count; }
    HtmlRecord& RecordAt(unsigned index) const { return Records[index >> kSegmentShift][index & kSegmentMask]; }
    HtmlObject*& MadeSlot(unsigned index) const;
    void ForgetPrint(unsigned index) const;
    HtmlObject* Make(unsigned index) const;
    HtmlObject* MakeFromRecord(unsigned index, HtmlObjectArena* arena) const;
    static HtmlRecord RecordOf(const HtmlObject& object);
    static constexpr unsigned kNoCount = 0xFFFFFFFFu;
    static void Destroy(HtmlObject* object);

    // Records sit in segments of 256 in the arena: no reallocation while a
    // page grows, no large block to fault in afresh per page, and a small
    // page (an include) costs a few kilobytes. The objects made so far sit in
    // segments of the same size, each made when the first object of its part
    // of the page is.
    static constexpr unsigned kSegmentShift = 8;
    static constexpr unsigned kSegmentSize = 1u << kSegmentShift;
    static constexpr unsigned kSegmentMask = kSegmentSize - 1;

    PageBuffer Text;        // the page's text, which the records point into
    mutable HtmlObjectArena Arena;  // records, objects made from them; its objects are destroyed by ~HtmlObjectList
    NyxString FilePath;
    bool Read = false;
    bool Opened = true;
    bool KeepingOriginals = false;
    bool Grown = false;  // an entry was added after parsing
    unsigned Count = 0;
    unsigned ParsedCount = kNoCount;  // records from the parse; those behind were added
    struct Original {
        HtmlRecord Record;
        HtmlObject* Object;  // owned; null if none was made
    };
    std::unordered_map<unsigned, Original> Originals;  // by index, while KeepingOriginals
    std::vector<HtmlRecord*> Records;  // each kSegmentSize records, in Arena
    std::vector<unsigned> SegmentLines;  // the line of each segment's first record
    mutable std::vector<HtmlObject**> Made;  // parallel to Records; null segments and slots: not made yet; owned
    // Tags printed once, a bit each (empty until the first), and for those
    // printed again the offset of their kept text in PrintedTexts (a 32-bit
    // length, then the bytes): a page walked once pays a bit per object.
    mutable std::vector<uint64_t> PrintedOnce;
    mutable std::unordered_map<unsigned, uint32_t> PrintedAgain;
    mutable std::string PrintedTexts;
    mutable HtmlKeptRuns KeptRuns;
    mutable std::unordered_map<int, std::unique_ptr<HtmlListAttachment>> Attachments;
    mutable std::unique_ptr<HtmlBlockIndex> BlockIndex;  // null until asked for, or after a change of ids
};
