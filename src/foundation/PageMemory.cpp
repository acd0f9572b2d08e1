// PageMemory: anonymous private mappings.
#include "foundation/PageMemory.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <new>

void* MapPages(std::size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : memory;
}

void UnmapPages(void* memory, std::size_t size) {
    if (memory != nullptr) munmap(memory, size);
}

void PageBuffer::resize(std::size_t size) {
    if (size <= Capacity) {
        Size = size;
        return;
    }
    const bool mapped = size >= kMapFrom;
    auto* memory = static_cast<char*>(mapped ? MapPages(size) : std::malloc(size));
    if (memory == nullptr) throw std::bad_alloc();
    if (Size > 0) std::memcpy(memory, Data, Size);
    Release();
    Data = memory;
    Size = size;
    Capacity = size;
    Mapped = mapped;
}

void PageBuffer::Release() {
    if (Mapped) {
        UnmapPages(Data, Capacity);
    } else {
        std::free(Data);
    }
    Data = nullptr;
    Capacity = 0;
    Mapped = false;
}
