// PageMemory: memory taken straight from the system in whole pages, and
// handed straight back: nothing of it stays with the allocator after release.
#pragma once

#include <cstddef>

// `size` bytes of zeroed, writable memory; null if the system has none.
void* MapPages(std::size_t size);
// Returns memory from MapPages; `size` as it was asked for.
void UnmapPages(void* memory, std::size_t size);

// A growable byte buffer for a file's contents. Small contents live in malloc
// memory; from kMapFrom bytes on they live in mapped pages, so that the
// megabytes of a large file go back to the system the moment the buffer ends
// instead of staying with the allocator.
class PageBuffer {
public:
    static constexpr std::size_t kMapFrom = 4 * 1024 * 1024;

    PageBuffer() = default;
    PageBuffer(const PageBuffer&) = delete;
    PageBuffer& operator=(const PageBuffer&) = delete;
    ~PageBuffer() { Release(); }

    char* data() { return Data; }
    const char* data() const { return Data; }
    std::size_t size() const { return Size; }
    // Keeps the first min(size, new size) bytes; new bytes are unspecified.
    // Throws std::bad_alloc when memory runs out.
    void resize(std::size_t size);
    void clear() { Size = 0; }

private:
    void Release();

    char* Data = nullptr;
    std::size_t Size = 0;
    std::size_t Capacity = 0;
    bool Mapped = false;
};
