// PageCache: a map from full paths to parsed lists, with a list of uses for
// letting the least recently used go.
#include "page/PageCache.h"

#include "values/HtmlObjectList.h"

PageCache::PageCache(std::size_t capacityBytes) : Capacity(capacityBytes) {}

PageCache::~PageCache() = default;

PageCache& PageCache::Shared() {
    // Never destroyed: lists may still be lent out while the process ends.
    static PageCache* const cache = new PageCache();
    return *cache;
}

uint64_t PageCache::BeginRequest() {
    const std::lock_guard<std::mutex> lock(Guard);
    return ++Requests;
}

void PageCache::SetCapacity(std::size_t bytes) {
    const std::lock_guard<std::mutex> lock(Guard);
    Capacity = bytes;
    Trim();
}

std::size_t PageCache::GetCapacity() const {
    const std::lock_guard<std::mutex> lock(Guard);
    return Capacity;
}

std::size_t PageCache::GetKeptBytes() const {
    const std::lock_guard<std::mutex> lock(Guard);
    return KeptBytes;
}

std::size_t PageCache::GetKeptCount() const {
    const std::lock_guard<std::mutex> lock(Guard);
    return Entries.size();
}

HtmlObjectList* PageCache::Take(const NyxString& path, uint64_t request) {
    const std::string key = path.ToStd();
    FileIdentity identity;
    {
        const std::lock_guard<std::mutex> lock(Guard);
        const auto found = Entries.find(key);
        if (found != Entries.end() && !found->second.Lent) {
            Entry& entry = found->second;
            bool current = entry.CheckedInRequest == request;
            if (!current) {
                FileGetIdentity(path, identity);
                current = identity == entry.Identity;
            }
            if (current) {
                entry.CheckedInRequest = request;
                entry.Lent = true;
                Uses.splice(Uses.begin(), Uses, entry.Use);
                return entry.List.get();
            }
            Forget(found);
        }
    }
    // Looked at before it is read: a file changed in between is read again
    // on the next request.
    FileGetIdentity(path, identity);
    auto list = std::make_unique<HtmlObjectList>(path);
    if (!list->WasRead()) return list.release();
    list->KeepOriginals();
    const std::lock_guard<std::mutex> lock(Guard);
    // Not kept when another walk has the path already or nothing may be kept.
    if (Capacity == 0 || Entries.find(key) != Entries.end()) return list.release();
    Uses.push_front(key);
    Entry& entry = Entries[key];
    entry.Identity = identity;
    entry.CheckedInRequest = request;
    entry.Bytes = list->GetMemoryBytes();
    entry.Lent = true;
    entry.Use = Uses.begin();
    entry.List = std::move(list);
    KeptBytes += entry.Bytes;
    return entry.List.get();
}

void PageCache::Give(HtmlObjectList* list) {
    if (list == nullptr) return;
    {
        const std::lock_guard<std::mutex> lock(Guard);
        const auto found = Entries.find(list->GetFilePath().ToStd());
        if (found != Entries.end() && found->second.List.get() == list) {
            Entry& entry = found->second;
            entry.Lent = false;
            if (!list->RestoreOriginals()) {
                Forget(found);
                return;
            }
            // What the walks kept with the list counts too.
            KeptBytes -= entry.Bytes;
            entry.Bytes = list->GetMemoryBytes();
            KeptBytes += entry.Bytes;
            Trim();
            return;
        }
    }
    delete list;
}

void PageCache::Forget(std::unordered_map<std::string, Entry>::iterator entry) {
    KeptBytes -= entry->second.Bytes;
    Uses.erase(entry->second.Use);
    Entries.erase(entry);
}

void PageCache::Trim() {
    // From the least recently used; lists lent out stay until they come back.
    for (auto use = Uses.end(); KeptBytes > Capacity && use != Uses.begin();) {
        --use;
        const auto entry = Entries.find(*use);
        if (entry->second.Lent) continue;
        use = std::next(use);
        Forget(entry);
    }
}
