// HtmlObjectList: a page parsed into a flat list of records, and the objects
// made from them on demand.
#include "values/HtmlObjectList.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "foundation/Files.h"
#include "values/HtmlParser.h"
#include "values/HtmlTagIds.h"

HtmlObjectList::HtmlObjectList(const NyxString& path) : FilePath(path) {
    if (!FileReadAll(path, Text, &Opened)) return;
    Read = true;
    Parse();
}

HtmlObjectList::HtmlObjectList(const NyxString& path, std::string_view text) : FilePath(path), Read(true) {
    Text.resize(text.size());
    if (!text.empty()) std::memcpy(Text.data(), text.data(), text.size());
    Parse();
}

HtmlObjectList::~HtmlObjectList() {
    for (HtmlObject** made : Made) {
        if (made == nullptr) continue;
        for (unsigned i = 0; i < kSegmentSize; ++i) Destroy(made[i]);
    }
    for (auto& [index, original] : Originals) Destroy(original.Object);
}

void HtmlObjectList::Destroy(HtmlObject* object) { HtmlObjectArena::Destroy(object); }

void HtmlObjectList::Parse() {
    HtmlParser parser(std::string_view(Text.data(), Text.size()));
    parser.ParseInto(*this);
    ParsedCount = Count;
}

// Parsed objects cover the text without gaps: each ends where the next begins.
std::size_t HtmlObjectList::SizeOf(unsigned index) const {
    const std::size_t end = index + 1 < ParsedCount && index + 1 < Count ? RecordAt(index + 1).Offset : Text.size();
    return end - RecordAt(index).Offset;
}

unsigned HtmlObjectList::LineOf(unsigned index) const {
    const unsigned first = index & ~kSegmentMask;
    const std::size_t from = RecordAt(first).Offset;
    return SegmentLines[index >> kSegmentShift] +
           static_cast<unsigned>(HtmlParser::CountLineFeeds(Text.data() + from, RecordAt(index).Offset - from));
}

unsigned HtmlObjectList::GetLineNumOf(int index) const {
    if (!InRange(index)) return 0;
    if (RecordAt(static_cast<unsigned>(index)).Is(HtmlRecord::kNeedsObject)) return GetEntry(index)->GetLineNum();
    return LineOf(static_cast<unsigned>(index));
}

void HtmlObjectList::AddSegment(unsigned line) {
    if ((Count >> kSegmentShift) < Records.size()) return;
    SegmentLines.push_back(line);
    Records.push_back(static_cast<HtmlRecord*>(Arena.Allocate(kSegmentSize * sizeof(HtmlRecord), alignof(HtmlRecord))));
    Made.push_back(nullptr);
}

HtmlObject*& HtmlObjectList::MadeSlot(unsigned index) const {
    HtmlObject**& made = Made[index >> kSegmentShift];
    if (made == nullptr) {
        made = static_cast<HtmlObject**>(Arena.Allocate(kSegmentSize * sizeof(HtmlObject*), alignof(HtmlObject*)));
        std::memset(made, 0, kSegmentSize * sizeof(HtmlObject*));
    }
    return made[index & kSegmentMask];
}

HtmlObject* HtmlObjectList::Make(unsigned index) const {
    HtmlObject*& slot = MadeSlot(index);
    slot = MakeFromRecord(index, &Arena);
    return slot;
}

// The object as the parser would have made it from the record's bytes.
HtmlObject* HtmlObjectList::MakeFromRecord(unsigned index, HtmlObjectArena* arena) const {
    const HtmlRecord& record = RecordAt(index);
    const unsigned line = LineOf(index);
    const std::size_t size = SizeOf(index);
    HtmlObject* object = arena != nullptr ? arena->Make<HtmlObject>(line) : new HtmlObject(line);
    const std::string_view text(Text.data(), Text.size());
    if (record.TagId == TagId::Text) {
        object->SetText(text.substr(record.Offset, size));
    } else {
        HtmlParser::ReadTag(text, record.Offset, record.Is(HtmlRecord::kEnd), *object, arena);
    }
    object->SetSourceSpan(record.Offset, size);
    return object;
}

// A record that sends every question to its object.
HtmlRecord HtmlObjectList::RecordOf(const HtmlObject& object) {
    HtmlRecord record;
    record.Offset = static_cast<uint32_t>(object.GetSourceOffset());
    record.TagId = static_cast<uint16_t>(object.GetTagId());
    record.Bits = HtmlRecord::kNeedsObject | (object.IsEndTag() != 0 ? HtmlRecord::kEnd : 0);
    return record;
}

bool HtmlObjectList::HasExpressionParam(int index) const {
    if (!InRange(index)) return false;
    const HtmlRecord& record = RecordAt(static_cast<unsigned>(index));
    if (!record.Is(HtmlRecord::kNeedsObject)) return record.Is(HtmlRecord::kHasExpression);
    const HtmlObject* object = GetEntry(index);
    for (unsigned i = 1; i <= object->GetCount(); ++i) {
        if (HtmlTagParam::IsExpressionForm(object->GetEntry(static_cast<int>(i))->GetValue().View())) return true;
    }
    return false;
}

std::string_view HtmlObjectList::GetLabelOf(int index) const {
    if (!InRange(index)) return {};
    const HtmlRecord& record = RecordAt(static_cast<unsigned>(index));
    if (record.Is(HtmlRecord::kNeedsObject)) return GetEntry(index)->GetTagLabel().View();
    if (record.TagId == TagId::Text) return {};
    return std::string_view(Text.data() + record.Offset + (record.Is(HtmlRecord::kEnd) ? 2 : 1), record.LabelSize);
}

std::string_view HtmlObjectList::GetTextOf(int index) const {
    if (!InRange(index)) return {};
    const HtmlRecord& record = RecordAt(static_cast<unsigned>(index));
    if (record.Is(HtmlRecord::kNeedsObject)) return GetEntry(index)->GetText().View();
    if (record.TagId != TagId::Text) return {};
    return std::string_view(Text.data() + record.Offset, SizeOf(static_cast<unsigned>(index)));
}

HtmlObject* HtmlObjectList::CopyEntry(int index) const {
    if (!InRange(index)) return nullptr;
    const HtmlObject* made = Made[static_cast<unsigned>(index) >> kSegmentShift] != nullptr
                                 ? Made[static_cast<unsigned>(index) >> kSegmentShift][static_cast<unsigned>(index) & kSegmentMask]
                                 : nullptr;
    if (made != nullptr) return new HtmlObject(*made);
    return MakeFromRecord(static_cast<unsigned>(index), nullptr);
}

void HtmlObjectList::ReplaceEntry(int index, HtmlObject* object) {
    if (object == nullptr) return;
    if (!InRange(index)) {
        Destroy(object);
        return;
    }
    const unsigned at = static_cast<unsigned>(index);
    HtmlObject*& slot = MadeSlot(at);
    if (slot == object) return;
    HtmlRecord& record = RecordAt(at);
    const HtmlRecord previousRecord = record;
    HtmlObject* previous = slot;
    if (previousRecord.TagId != object->GetTagId() || (previousRecord.Is(HtmlRecord::kEnd) ? 1 : 0) != object->IsEndTag())
        BlockIndex.reset();
    ForgetPrint(at);
    if (KeptRuns.Holds(at)) KeptRuns.ForgetAll();
    Attachments.clear();
    slot = object;
    // The place in the text stays the parsed one: the sizes and lines of
    // its neighbours are read from it.
    record = RecordOf(*object);
    record.Offset = previousRecord.Offset;
    if (KeepingOriginals && Originals.emplace(at, Original{previousRecord, previous}).second) return;
    Destroy(previous);
}

bool HtmlObjectList::RestoreOriginals() {
    for (auto& [index, original] : Originals) {
        if (KeptRuns.Holds(index)) KeptRuns.ForgetAll();
        HtmlObject*& slot = MadeSlot(index);
        HtmlRecord& record = RecordAt(index);
        if (record.TagId != original.Record.TagId || record.Is(HtmlRecord::kEnd) != original.Record.Is(HtmlRecord::kEnd))
            BlockIndex.reset();
        ForgetPrint(index);
        Destroy(slot);
        slot = original.Object;
        record = original.Record;
    }
    Originals.clear();
    Attachments.clear();
    return !Grown;
}

std::size_t HtmlObjectList::GetMemoryBytes() const {
    return GetUsedBytes() + (Arena.GetReservedBytes() - Arena.GetUsedBytes());
}

std::size_t HtmlObjectList::GetUsedBytes() const {
    return sizeof *this + Arena.GetUsedBytes() + Text.size() + (Records.capacity() + Made.capacity()) * sizeof(void*) +
           SegmentLines.capacity() * sizeof(unsigned) +
           PrintedOnce.capacity() * sizeof(uint64_t) + PrintedAgain.size() * 32 + PrintedTexts.capacity() + KeptRuns.GetMemoryBytes() +
           (BlockIndex != nullptr ? sizeof(HtmlBlockIndex) + 4 * Count * sizeof(int) : 0);
}

void HtmlObjectList::AddEntry(HtmlObject* object) {
    if (object == nullptr) return;
    BlockIndex.reset();
    Grown = true;
    if (ParsedCount == kNoCount) ParsedCount = Count;
    AppendRecord(RecordOf(*object), object->GetLineNum());
    MadeSlot(Count - 1) = object;
    KeptRuns.ForgetAll();
    Attachments.clear();
}

HtmlListAttachment* HtmlObjectList::GetAttachment(int index) const {
    const auto found = Attachments.find(index);
    return found != Attachments.end() ? found->second.get() : nullptr;
}

HtmlListAttachment* HtmlObjectList::Attach(int index, std::unique_ptr<HtmlListAttachment> attachment) const {
    std::unique_ptr<HtmlListAttachment>& slot = Attachments[index];
    slot = std::move(attachment);
    return slot.get();
}

void HtmlObjectList::AppendOutputOf(int index, NyxString& out) const {
    if (!InRange(index)) return;
    const HtmlRecord& record = RecordAt(static_cast<unsigned>(index));
    const bool asParsed = !record.Is(HtmlRecord::kNeedsObject);
    if (asParsed && record.TagId == TagId::Text) {
        out.AppendBytes(Text.data() + record.Offset, SizeOf(static_cast<unsigned>(index)));
        return;
    }
    if (asParsed && !record.Is(HtmlRecord::kHasParams)) {
        // No parameters: the label between its brackets, as written.
        const bool end = record.Is(HtmlRecord::kEnd);
        out.Append('<');
        if (end) out.Append('/');
        out.AppendBytes(Text.data() + record.Offset + (end ? 2 : 1), record.LabelSize);
        const auto closing = static_cast<HtmlObject::Closing>((record.Bits & HtmlRecord::kClosingMask) >> HtmlRecord::kClosingShift);
        if (!end && closing == HtmlObject::Closing::Slash) out.Append('/');
        if (!end && closing == HtmlObject::Closing::BlankSlash) out.AppendBytes(" /", 2);
        out.Append('>');
        return;
    }
    const HtmlObject* object = asParsed ? nullptr : GetEntry(index);
    if (object != nullptr && object->GetTagId() == 0) {  // a text is one copy already
        object->AppendOutputTo(out);
        return;
    }
    // A tag with parameters is rendered afresh the first time and kept from
    // the second on.
    const auto at = static_cast<unsigned>(index);
    const auto kept = PrintedAgain.find(at);
    if (kept != PrintedAgain.end()) {
        const char* text = PrintedTexts.data() + kept->second;
        uint32_t size;
        std::memcpy(&size, text, sizeof size);
        out.AppendBytes(text + sizeof size, size);
        return;
    }
    const unsigned before = out.GetSize();
    if (object != nullptr) {
        object->AppendOutputTo(out);
    } else {
        HtmlParser::AppendTagOutput(std::string_view(Text.data(), Text.size()), record.Offset, record.Is(HtmlRecord::kEnd), out);
    }
    if (PrintedOnce.size() * 64 < Count) PrintedOnce.resize((Count + 63) / 64, 0);
    uint64_t& word = PrintedOnce[at / 64];
    const uint64_t bit = uint64_t{1} << (at % 64);
    if ((word & bit) == 0) {
        word |= bit;
        return;
    }
    const uint32_t size = out.GetSize() - before;
    // Offsets stay below 4 GiB; a page with more to keep prints the rest afresh.
    if (PrintedTexts.size() + sizeof size + size >= UINT32_MAX) return;
    PrintedAgain.emplace(at, static_cast<uint32_t>(PrintedTexts.size()));
    PrintedTexts.append(reinterpret_cast<const char*>(&size), sizeof size);
    PrintedTexts.append(out.GetString() + before, size);
}

void HtmlObjectList::ForgetPrint(unsigned index) const {
    if (index / 64 < PrintedOnce.size()) PrintedOnce[index / 64] &= ~(uint64_t{1} << (index % 64));
    PrintedAgain.erase(index);
}

const HtmlBlockIndex& HtmlObjectList::GetBlockIndex() const {
    if (BlockIndex == nullptr) BlockIndex = std::make_unique<HtmlBlockIndex>(*this);
    return *BlockIndex;
}
