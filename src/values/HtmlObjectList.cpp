// HtmlObjectList: a page parsed into a flat list of objects.
#include "values/HtmlObjectList.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "outside/foundation/Files.h"
#include "outside/foundation/PageMemory.h"
#include "values/HtmlParser.h"

HtmlObjectList::HtmlObjectList(const NyxString& path) : FilePath(path) {
    // The text is needed only while parsing; a large one goes straight back
    // to the system afterwards.
    PageBuffer contents;
    if (!FileReadAll(path, contents, &Opened)) return;
    Read = true;
    Parse(std::string_view(contents.data(), contents.size()));
}

HtmlObjectList::HtmlObjectList(const NyxString& path, std::string_view text) : FilePath(path), Read(true) {
    Parse(text);
}

HtmlObjectList::~HtmlObjectList() {
    for (unsigned i = 0; i < Count; ++i) Destroy(GetEntry(static_cast<int>(i)));
    for (auto& [index, original] : Originals) Destroy(original);
}

void HtmlObjectList::Destroy(HtmlObject* object) { HtmlObjectArena::Destroy(object); }

void HtmlObjectList::Parse(std::string_view text) {
    TextBytes = text.size();
    HtmlParser parser(text, &Arena);
    parser.ParseInto(*this);
}

void HtmlObjectList::AddSegment() {
    if ((Count >> kSegmentShift) < Segments.size()) return;
    Segments.push_back(static_cast<HtmlObject**>(Arena.Allocate(kSegmentSize * sizeof(HtmlObject*))));
}

void HtmlObjectList::ReplaceEntry(int index, HtmlObject* object) {
    if (object == nullptr) return;
    if (index < 0 || static_cast<unsigned>(index) >= Count) {
        Destroy(object);
        return;
    }
    HtmlObject*& slot = Segments[static_cast<unsigned>(index) >> kSegmentShift][static_cast<unsigned>(index) & kSegmentMask];
    if (slot == object) return;
    HtmlObject* previous = slot;
    if (previous->GetTagId() != object->GetTagId() || previous->IsEndTag() != object->IsEndTag()) BlockIndex.reset();
    if (!PrintMarks.empty()) PrintMarks[static_cast<unsigned>(index)] = 0;
    KeptRuns.ForgetAll();
    Attachments.clear();
    slot = object;
    if (KeepingOriginals && Originals.emplace(static_cast<unsigned>(index), previous).second) return;
    Destroy(previous);
}

bool HtmlObjectList::RestoreOriginals() {
    for (auto& [index, original] : Originals) {
        HtmlObject*& slot = Segments[index >> kSegmentShift][index & kSegmentMask];
        if (slot->GetTagId() != original->GetTagId() || slot->IsEndTag() != original->IsEndTag()) BlockIndex.reset();
        if (!PrintMarks.empty()) PrintMarks[index] = 0;
        Destroy(slot);
        slot = original;
    }
    if (!Originals.empty()) KeptRuns.ForgetAll();
    Originals.clear();
    Attachments.clear();
    return !Grown;
}

std::size_t HtmlObjectList::GetMemoryBytes() const {
    return GetUsedBytes() + (Arena.GetReservedBytes() - Arena.GetUsedBytes());
}

std::size_t HtmlObjectList::GetUsedBytes() const {
    return sizeof *this + Arena.GetUsedBytes() + TextBytes + Segments.capacity() * sizeof(HtmlObject**) +
           PrintMarks.capacity() * sizeof(uint32_t) + PrintedTexts.capacity() + KeptRuns.GetMemoryBytes() +
           (BlockIndex != nullptr ? sizeof(HtmlBlockIndex) + 4 * Count * sizeof(int) : 0);
}

void HtmlObjectList::AddEntry(HtmlObject* object) {
    if (object == nullptr) return;
    BlockIndex.reset();
    Grown = true;
    Append(object);
    if (!PrintMarks.empty()) PrintMarks.push_back(0);
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
    const HtmlObject* object = GetEntry(index);
    if (object == nullptr) return;
    if (object->GetTagId() == 0) {  // a text is one copy already
        object->AppendOutputTo(out);
        return;
    }
    if (PrintMarks.empty()) PrintMarks.assign(Count, 0);
    uint32_t& mark = PrintMarks[static_cast<unsigned>(index)];
    if (mark >= 2) {
        const char* kept = PrintedTexts.data() + (mark - 2);
        uint32_t size;
        std::memcpy(&size, kept, sizeof size);
        out.AppendBytes(kept + sizeof size, size);
        return;
    }
    const unsigned before = out.GetSize();
    object->AppendOutputTo(out);
    if (mark == 0) {
        mark = 1;
        return;
    }
    const uint32_t size = out.GetSize() - before;
    // Offsets stay below 4 GiB; a page with more to keep prints the rest afresh.
    if (PrintedTexts.size() + sizeof size + size >= UINT32_MAX - 2) return;
    mark = static_cast<uint32_t>(PrintedTexts.size()) + 2;
    PrintedTexts.append(reinterpret_cast<const char*>(&size), sizeof size);
    PrintedTexts.append(out.GetString() + before, size);
}

const HtmlBlockIndex& HtmlObjectList::GetBlockIndex() const {
    if (BlockIndex == nullptr) BlockIndex = std::make_unique<HtmlBlockIndex>(*this);
    return *BlockIndex;
}
