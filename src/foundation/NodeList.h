// NodeList: an ordered list of opaque entries, numbered from 1.
// A list built with a deleter owns its entries and disposes of each one with
// it; a list built without one only lends them out.
#pragma once

class NodeList {
public:
    using EntryDeleter = void (*)(void* entry);

    NodeList() : Deleter(nullptr), Items(Inline) {}                                // entries are not owned
    explicit NodeList(EntryDeleter deleter) : Deleter(deleter), Items(Inline) {}  // entries owned, disposed of by `deleter`
    NodeList(const NodeList&) = delete;
    NodeList& operator=(const NodeList&) = delete;
    virtual ~NodeList();

    unsigned GetCount() const { return Count; }
    // Entry number `number`, from 1 up to and including GetCount(); null otherwise.
    void* GetEntry(unsigned number) const {
        return number >= 1 && number <= Count ? Items[number - 1] : nullptr;
    }

    // Appends `entry`; returns its number.
    int AddEntry(void* entry) {
        if (Count == Capacity) Grow(Count + 1);
        Items[Count++] = entry;
        return static_cast<int>(Count);
    }
    // Puts `entry` at `number` (1 .. GetCount()+1, larger numbers append); returns its number.
    int InsertEntry(unsigned number, void* entry);
    // Takes the entry out without disposing of it and hands it back; null out of range.
    void* RemoveEntry(unsigned number);
    // Takes the entry out and disposes of it; the entries behind it move up.
    void DeleteEntry(unsigned number);
    // Puts `entry` in the place of entry `number`, disposing of the previous one.
    void SetEntry(unsigned number, void* entry);
    // Disposes of every entry.
    void DeleteAllEntries();

    // Room for entries before the list must grow.
    unsigned GetCapacity() const { return Capacity; }
    // Moves the entries to `storage`, room for `capacity` entries (no fewer
    // than GetCount()), which the list uses without owning: it must outlive
    // the list. Growing past it moves the entries to a block of the list's own.
    void UseStorage(void** storage, unsigned capacity);

    // Stable sort by SortCompare.
    void Sort();
    // Order of two entries: negative, 0 or positive. The base keeps the order.
    virtual int SortCompare(void* a, void* b);

protected:
    EntryDeleter Deleter;  // null: entries are not owned

private:
    void Grow(unsigned needed);
    void ReleaseItems();  // frees Items if it is a block of the list's own

    static constexpr unsigned kInlineEntries = 2;  // most tags carry one or two parameters
    static constexpr unsigned kMostEntries = 0x7FFFFFFFu;  // what the capacity field holds

    void** Items;        // Inline until the list outgrows it, then a malloc block or lent storage
    unsigned Count = 0;
    unsigned Capacity : 31 = kInlineEntries;
    unsigned Lent : 1 = 0;  // Items is storage given by UseStorage
    void* Inline[kInlineEntries];
};
