// HtmlObjectArena: block memory for parsed pages, with a per-thread cache of
// free blocks. Blocks are pages mapped for the arena, not malloc memory: a
// large page's blocks go back to the system as soon as it ends, and a checked
// build does not hold them in its quarantine or paint them when they are
// freed (it cannot check the objects inside a block anyway).
#include "values/HtmlObjectArena.h"

#include <new>

#include "foundation/PageMemory.h"

namespace {

// Free blocks kept for the next page of this thread. 128 blocks of 256 KiB are
// 32 MiB: the objects of a page of a few MiB; larger pages go back to the system.
constexpr std::size_t kMaxCachedBlocks = 128;

struct BlockCache {
    void* Free[kMaxCachedBlocks];
    std::size_t Count = 0;
    bool Closed = false;  // the thread is ending: blocks go straight back to the system

    ~BlockCache() {
        for (std::size_t i = 0; i < Count; ++i) UnmapPages(Free[i], HtmlObjectArena::kBlockSize);
        Count = 0;
        Closed = true;
    }
};

thread_local BlockCache tCache;

constexpr std::size_t kHeaderSize =
    (sizeof(void*) * 2 + HtmlObjectArena::kAlignment - 1) & ~(HtmlObjectArena::kAlignment - 1);

}  // namespace

HtmlObjectArena::~HtmlObjectArena() {
    Block* block = Blocks;
    while (block != nullptr) {
        Block* next = block->Next;
        if (block->Size == kBlockSize && !tCache.Closed && tCache.Count < kMaxCachedBlocks) {
            tCache.Free[tCache.Count++] = block;
        } else {
            UnmapPages(block, block->Size);
        }
        block = next;
    }
}

std::size_t HtmlObjectArena::GetReservedBytes() const {
    std::size_t bytes = 0;
    for (const Block* block = Blocks; block != nullptr; block = block->Next) bytes += block->Size;
    return bytes;
}

void HtmlObjectArena::NewBlock(std::size_t needed) {
    // An object larger than a block gets a block of its own size.
    const std::size_t size = needed + kHeaderSize > kBlockSize ? needed + kHeaderSize : kBlockSize;
    void* memory = nullptr;
    if (size == kBlockSize && tCache.Count > 0) {
        memory = tCache.Free[--tCache.Count];
    } else {
        memory = MapPages(size);
        if (memory == nullptr) throw std::bad_alloc();
    }
    auto* block = static_cast<Block*>(memory);
    block->Next = Blocks;
    block->Size = size;
    Blocks = block;
    Cursor = static_cast<char*>(memory) + kHeaderSize;
    Limit = static_cast<char*>(memory) + size;
}
