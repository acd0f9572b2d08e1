// Maps: string keys beside an array's items, found through an open-addressed
// hash index of their positions.
#include <cstring>
#include <new>

#include "quince/Value.h"

namespace quince {

namespace {

uint32_t HashOf(std::string_view key) {
    uint32_t hash = 2166136261u;  // FNV-1a
    for (const char c : key) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 16777619u;
    }
    return hash;
}

bool SameKey(const StringObject* stored, std::string_view key) {
    return stored->Length == key.size() && std::memcmp(stored->Data, key.data(), key.size()) == 0;
}

// The slot that holds `key`, or the empty slot where it would go.
std::size_t SlotFor(const MapKeys& keys, std::string_view key) {
    const std::size_t mask = keys.Slots.size() - 1;
    for (std::size_t slot = HashOf(key) & mask;; slot = (slot + 1) & mask) {
        const uint32_t entry = keys.Slots[slot];
        if (entry == 0 || SameKey(keys.Keys[entry - 1], key)) return slot;
    }
}

void Reindex(MapKeys& keys, std::size_t slotCount) {
    keys.Slots.assign(slotCount, 0);
    for (std::size_t i = 0; i < keys.Keys.size(); ++i) {
        const StringObject* key = keys.Keys[i];
        keys.Slots[SlotFor(keys, {key->Data, key->Length})] = static_cast<uint32_t>(i + 1);
    }
}

void ReleaseKey(StringObject* key) {
    Value text = Value::MakeString(key);
    Release(text);
}

}  // namespace

ArrayObject* NewMap(MemoryAccount& account) {
    ArrayObject* map = NewArray(account, StaticType::Any);
    if (map == nullptr) return nullptr;
    map->Map = new (std::nothrow) MapKeys;
    if (map->Map == nullptr || (map->Map->Slots.assign(8, 0), !ChargeArray(*map))) {
        Value dropped = Value::MakeMap(map);
        Release(dropped);
        return nullptr;
    }
    return map;
}

std::size_t MapKeysCharge(const ArrayObject& map) {
    return sizeof(MapKeys) + map.Map->Keys.capacity() * sizeof(StringObject*) + map.Map->Slots.size() * sizeof(uint32_t);
}

std::size_t MapFind(const ArrayObject& map, std::string_view key) {
    const uint32_t entry = map.Map->Slots[SlotFor(*map.Map, key)];
    return entry == 0 ? SIZE_MAX : entry - 1;
}

bool MapSet(ArrayObject& map, std::string_view key, Value item, NyxString& error) {
    MapKeys& keys = *map.Map;
    if (!ArrayAdmits(map, item)) {
        Release(item);
        error.Printf("arrays and maps nested deeper than %u levels", kMaxArrayNesting);
        return false;
    }
    const std::size_t slot = SlotFor(keys, key);
    if (keys.Slots[slot] != 0) {
        Value& old = map.Items[keys.Slots[slot] - 1];
        Release(old);
        old = item;
        return true;
    }
    const auto outOfMemory = [&] {
        Release(item);
        error = "out of memory for strings and arrays (QuinceConfig MaxMemory)";
        return false;
    };
    StringObject* stored = NewString(*map.Account, key.data(), key.size());
    if (stored == nullptr) return outOfMemory();
    const std::size_t count = map.Items.size() + 1;
    if (!ArrayReserve(map, count)) {
        ReleaseKey(stored);
        return outOfMemory();
    }
    if (keys.Keys.capacity() < count) keys.Keys.reserve(map.Items.capacity());
    const bool grow = count * 2 > keys.Slots.size();
    if (grow) Reindex(keys, keys.Slots.size() * 2);
    if (!ChargeArray(map)) {
        ReleaseKey(stored);
        return outOfMemory();
    }
    map.Items.push_back(item);
    keys.Keys.push_back(stored);
    keys.Slots[grow ? SlotFor(keys, key) : slot] = static_cast<uint32_t>(count);
    return true;
}

void MapRemoveAt(ArrayObject& map, std::size_t position, Value& item) {
    MapKeys& keys = *map.Map;
    item = map.Items[position];
    map.Items.erase(map.Items.begin() + static_cast<std::ptrdiff_t>(position));
    ReleaseKey(keys.Keys[position]);
    keys.Keys.erase(keys.Keys.begin() + static_cast<std::ptrdiff_t>(position));
    // The positions behind it moved: the index is made again.
    Reindex(keys, keys.Slots.size());
}

bool CopyMapKeys(const ArrayObject& source, ArrayObject& copy) {
    copy.Map = new (std::nothrow) MapKeys;
    if (copy.Map == nullptr) return false;
    copy.Map->Keys = source.Map->Keys;
    for (StringObject* key : copy.Map->Keys) ++key->RefCount;
    copy.Map->Slots = source.Map->Slots;
    return true;
}

void FreeMapKeys(ArrayObject& map) {
    for (StringObject* key : map.Map->Keys) ReleaseKey(key);
    delete map.Map;
    map.Map = nullptr;
}

}  // namespace quince
