// NodeList: an ordered list of opaque entries, numbered from 1.
#include "foundation/NodeList.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

NodeList::~NodeList() {
    DeleteAllEntries();
    ReleaseItems();
}

void NodeList::ReleaseItems() {
    if (Items != Inline && !Lent) std::free(Items);
}

void NodeList::Grow(unsigned needed) {
    if (needed <= Capacity) return;
    if (needed > kMostEntries) throw std::bad_alloc();
    const unsigned doubled = static_cast<unsigned>(Capacity) * 2u;
    unsigned capacity = doubled > needed && doubled <= kMostEntries ? doubled : needed;
    auto** block = static_cast<void**>(std::malloc(static_cast<std::size_t>(capacity) * sizeof(void*)));
    if (block == nullptr) throw std::bad_alloc();
    std::memcpy(block, Items, Count * sizeof(void*));
    ReleaseItems();
    Items = block;
    Capacity = capacity;
    Lent = 0;
}

void NodeList::UseStorage(void** storage, unsigned capacity) {
    if (storage == nullptr || capacity < Count || capacity > kMostEntries) return;
    std::memcpy(storage, Items, Count * sizeof(void*));
    ReleaseItems();
    Items = storage;
    Capacity = capacity;
    Lent = 1;
}

int NodeList::InsertEntry(unsigned number, void* entry) {
    if (number < 1) number = 1;
    if (number > Count) return AddEntry(entry);
    if (Count == Capacity) Grow(Count + 1);
    std::memmove(Items + number, Items + number - 1, (Count - number + 1) * sizeof(void*));
    Items[number - 1] = entry;
    ++Count;
    return static_cast<int>(number);
}

void* NodeList::RemoveEntry(unsigned number) {
    if (number < 1 || number > Count) return nullptr;
    void* entry = Items[number - 1];
    std::memmove(Items + number - 1, Items + number, (Count - number) * sizeof(void*));
    --Count;
    return entry;
}

void NodeList::DeleteEntry(unsigned number) {
    void* entry = RemoveEntry(number);
    if (entry != nullptr && Deleter != nullptr) Deleter(entry);
}

void NodeList::SetEntry(unsigned number, void* entry) {
    if (number < 1 || number > Count) return;
    void* previous = Items[number - 1];
    Items[number - 1] = entry;
    if (previous != nullptr && previous != entry && Deleter != nullptr) Deleter(previous);
}

void NodeList::DeleteAllEntries() {
    // Count drops first so that a deleter that looks at the list sees it empty.
    const unsigned count = Count;
    Count = 0;
    if (Deleter == nullptr) return;
    for (unsigned i = 0; i < count; ++i) {
        if (Items[i] != nullptr) Deleter(Items[i]);
    }
}

void NodeList::Sort() {
    if (Count < 2) return;
    std::stable_sort(Items, Items + Count, [this](void* a, void* b) { return SortCompare(a, b) < 0; });
}

int NodeList::SortCompare(void* a, void* b) { return 0; }
