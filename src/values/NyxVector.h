// NyxVector<T>: a growable array whose first ten slots live inside the object.
// Every element sits in a heap cell of its own, so its address survives
// growth, shrinking and sorting; only the cell pointers move.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>

template <class T>
class NyxVector {
public:
    static constexpr unsigned kEmbedded = 10;

    NyxVector() : Items(Embedded), Count(0), Capacity(kEmbedded) {}
    NyxVector(const NyxVector& other) : NyxVector() { *this = other; }
    virtual ~NyxVector() { Clear(true); }

    NyxVector& operator=(const NyxVector& other) {
        if (this == &other) return *this;
        Clear(false);
        ResizeAsNeeded(other.Size());
        for (unsigned i = 0; i < other.Count; ++i) {
            Items[i] = new T(*other.Items[i]);
            Count = i + 1;
        }
        return *this;
    }

    // Deletes every cell in index order; with releaseStorage the slots go back
    // to the embedded block.
    void Clear(bool releaseStorage) {
        for (unsigned i = 0; i < Count; ++i) delete Items[i];
        Count = 0;
        if (releaseStorage) ResizeAsNeeded(0);
    }

    unsigned Size() const { return Count; }
    bool IsEmpty() const { return Count == 0; }
    unsigned GetCapacity() const { return Capacity; }
    bool UsesEmbedded() const { return Items == Embedded; }

    T& ItemAt(unsigned index) const { return *Items[index]; }
    T& operator[](unsigned index) const { return *Items[index]; }

    T& PushBack(const T& value) {
        ResizeAsNeeded(Count + 1);
        Items[Count] = new T(value);
        return *Items[Count++];
    }

    // Note the order: value, then index.
    T& Insert(const T& value, unsigned index) {
        if (index == Count) return PushBack(value);
        ResizeAsNeeded(Count + 1);
        std::memmove(static_cast<void*>(Items + index + 1), static_cast<const void*>(Items + index),
                     (Count - index) * sizeof(T*));
        ++Count;
        Items[index] = new T(value);
        return *Items[index];
    }

    bool Find(const T& value) const {
        for (unsigned i = 0; i < Count; ++i) {
            if (*Items[i] == value) return true;
        }
        return false;
    }

    void Remove(unsigned index) {
        delete Items[index];
        std::memmove(static_cast<void*>(Items + index), static_cast<const void*>(Items + index + 1),
                     (Count - index - 1) * sizeof(T*));
        --Count;
        ResizeAsNeeded(Count);
    }

    // Takes the cell at `index` out and hands back its element by value.
    T TakeAt(unsigned index) {
        T value = *Items[index];
        Remove(index);
        return value;
    }

    using LessFn = bool (*)(const T&, const T&, void*);

    void Sort(LessFn less, void* userData) {
        if (Count == 0) return;
        QuickSort(0, Count - 1, less, userData);
    }

private:
    // The partition step is the classic one with the middle element as pivot.
    // The smaller side recurses and the larger loops, so the stack stays
    // logarithmic whatever the data; the result is the same either way.
    void QuickSort(unsigned left, unsigned right, LessFn less, void* userData) {
        while (left < right) {
            SwapElements(left, left + (right - left) / 2);
            unsigned last = left;
            for (unsigned i = left + 1; i <= right; ++i) {
                const bool isLess = less != nullptr ? less(*Items[i], *Items[left], userData)
                                                    : *Items[i] < *Items[left];
                if (isLess) SwapElements(++last, i);
            }
            SwapElements(left, last);
            if (last == left && RestEquivalentToPivot(left, right, less, userData)) {
                // Every later pass would find nothing below its pivot and
                // only swap it to the front: do those swaps without comparing.
                for (unsigned l = left + 1; l < right; ++l) SwapElements(l, l + (right - l) / 2);
                return;
            }
            if (last - left < right - last) {
                if (last > left) QuickSort(left, last - 1, less, userData);
                left = last + 1;
            } else {
                if (last < right) QuickSort(last + 1, right, less, userData);
                if (last == left) return;
                right = last - 1;
            }
        }
    }

    // Whether no element after the pivot at `left` is greater than it. The
    // partition has just found none below it, so for a strict weak order the
    // whole range is equivalent, and the plain algorithm would take one
    // quadratic pass per element (all-equal data). The scan stops at the first
    // greater element, so it costs at most one comparison per element.
    bool RestEquivalentToPivot(unsigned left, unsigned right, LessFn less, void* userData) {
        for (unsigned i = left + 1; i <= right; ++i) {
            const bool isGreater = less != nullptr ? less(*Items[left], *Items[i], userData)
                                                   : *Items[left] < *Items[i];
            if (isGreater) return false;
        }
        return true;
    }

    void SwapElements(unsigned a, unsigned b) {
        if (a == b) return;
        T* cell = Items[a];
        Items[a] = Items[b];
        Items[b] = cell;
    }

    void ResizeAsNeeded(unsigned needed) {
        unsigned capacity = Capacity;
        if (Capacity < needed) {
            capacity = Capacity * 2;
            if (capacity < needed) capacity = needed;
        } else if (Capacity > kEmbedded && Capacity > 3 * needed) {
            capacity = needed < kEmbedded ? kEmbedded : needed;
        } else {
            return;
        }
        T** old = Items;
        if (capacity == kEmbedded) {
            std::memcpy(static_cast<void*>(Embedded), static_cast<const void*>(old), Count * sizeof(T*));
            Items = Embedded;
        } else {
            auto** block = static_cast<T**>(std::malloc(capacity * sizeof(T*)));
            if (block == nullptr) throw std::bad_alloc();
            std::memcpy(static_cast<void*>(block), static_cast<const void*>(old), Count * sizeof(T*));
            Items = block;
        }
        if (old != Embedded) std::free(old);
        Capacity = capacity;
    }

    T** Items;                 // Embedded while Capacity is 10, else a malloc block
    unsigned Count;
    unsigned Capacity;         // never below 10
    T* Embedded[kEmbedded];
};
