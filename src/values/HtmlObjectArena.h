// HtmlObjectArena: the block memory that a parsed page's objects and
// parameters live in. A page of many small objects then costs a few large
// blocks instead of one heap cell per object, and freed blocks stay with the
// thread for the next page, so their pages are not faulted in again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

class HtmlObjectArena {
public:
    HtmlObjectArena() = default;
    HtmlObjectArena(const HtmlObjectArena&) = delete;
    HtmlObjectArena& operator=(const HtmlObjectArena&) = delete;
    // Hands the blocks back; the objects in them must be destroyed already.
    ~HtmlObjectArena();

    // `size` bytes aligned to `alignment` (a power of two up to kAlignment);
    // never fails (throws bad_alloc like new).
    void* Allocate(std::size_t size, std::size_t alignment = kAlignment) {
        std::size_t padding = static_cast<std::size_t>(-reinterpret_cast<std::uintptr_t>(Cursor)) & (alignment - 1);
        if (static_cast<std::size_t>(Limit - Cursor) < size + padding) {
            NewBlock(size);
            padding = 0;
        }
        void* memory = Cursor + padding;
        Cursor += padding + size;
        return memory;
    }

    // Constructs a T in the arena and marks it so that its deletion leaves
    // the memory to the arena.
    template <class T, class... Arguments>
    T* Make(Arguments&&... arguments) {
        T* object = new (Allocate(sizeof(T), alignof(T))) T(std::forward<Arguments>(arguments)...);
        object->InArena = true;
        return object;
    }

    // Ends an object made by Make or by new: an arena object is destroyed in
    // place, any other deleted.
    template <class T>
    static void Destroy(T* object) {
        if (object == nullptr) return;
        if (object->InArena) {
            object->~T();
        } else {
            delete object;
        }
    }

    // The bytes of the blocks it holds.
    std::size_t GetReservedBytes() const;
    // The same without the unused end of the newest block, which the system
    // has not given memory for yet.
    std::size_t GetUsedBytes() const { return GetReservedBytes() - static_cast<std::size_t>(Limit - Cursor); }

    static constexpr std::size_t kAlignment = alignof(std::max_align_t);
    static constexpr std::size_t kBlockSize = 256 * 1024;  // about two thousand objects each; whole pages

private:
    struct Block {
        Block* Next;
        std::size_t Size;
    };

    void NewBlock(std::size_t needed);

    Block* Blocks = nullptr;  // newest first
    char* Cursor = nullptr;
    char* Limit = nullptr;
};
