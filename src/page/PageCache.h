// PageCache: parsed pages kept by a long-running front end from one request
// to the next, so that a page or an included file is parsed once while its
// file stays the same.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "foundation/Files.h"
#include "values/NyxString.h"

class HtmlObjectList;

// A list is lent to one walk at a time and comes back as it was parsed
// (HtmlObjectList::RestoreOriginals), so a cached render writes the bytes of
// a fresh one. A file is looked at (device, inode, size, modification time)
// at most once per request; a changed one is parsed again. The kept lists
// stay within a number of bytes; the least recently used go first. Safe
// from several threads.
class PageCache {
public:
    static constexpr std::size_t kDefaultBytes = 64u * 1024 * 1024;

    explicit PageCache(std::size_t capacityBytes = kDefaultBytes);
    ~PageCache();
    PageCache(const PageCache&) = delete;
    PageCache& operator=(const PageCache&) = delete;

    // The one cache of the process, for the front ends.
    static PageCache& Shared();

    // A number for one request: files are looked at once per number.
    uint64_t BeginRequest();
    // Lists beyond the new bound are let go at once (those not lent out).
    void SetCapacity(std::size_t bytes);
    std::size_t GetCapacity() const;
    std::size_t GetKeptBytes() const;
    std::size_t GetKeptCount() const;

    // The parsed list of the file at `path` (a full path): a kept one when the
    // file is unchanged and the list is not lent out, else a fresh one. Never
    // null; give it back with Give.
    HtmlObjectList* Take(const NyxString& path, uint64_t request);
    // Takes back a list from Take: a kept one is made as parsed again, any
    // other one is kept if there is room, or destroyed.
    void Give(HtmlObjectList* list);

private:
    struct Entry {
        std::unique_ptr<HtmlObjectList> List;
        FileIdentity Identity;
        uint64_t CheckedInRequest = 0;
        std::size_t Bytes = 0;
        bool Lent = false;
        std::list<std::string>::iterator Use;  // its place in Uses
    };

    void Forget(std::unordered_map<std::string, Entry>::iterator entry);
    void Trim();  // holds `Guard`

    mutable std::mutex Guard;
    std::size_t Capacity;
    std::size_t KeptBytes = 0;
    uint64_t Requests = 0;
    std::unordered_map<std::string, Entry> Entries;  // by full path
    std::list<std::string> Uses;                     // most recently used first
};
