// IniFile: configuration entries from a text file of "[Section]" headers and
// "key = value" lines. Its base File (File.h) holds the lines.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/File.h"
#include "values/NyxString.h"

// Entries of an ini-style file. Comments are lines whose first non-blank
// character is ';' or '#'. Blanks around section names, keys and values are
// trimmed; section and key names are compared without regard to case. The
// value is everything after the first '=', so it may hold '=' and ';'. When a
// key occurs twice in a section the first occurrence wins, also when the
// section appears twice. Lines before the first section header belong to no
// section, and a line without '=' is no entry. Values are not unquoted.
class IniFile : public File {
public:
    explicit IniFile(const NyxString& path);  // missing file reads as empty
    ~IniFile() override;

    // The file at `path` as a process last read it, read again only when its
    // identity (device, inode, size, modification time) has changed: one
    // look at the file per call, so a front end calls this once per request
    // and hands the result around. Safe from several threads.
    static std::shared_ptr<const IniFile> Load(const NyxString& path);

    // A count from the configuration: decimal digits, optionally followed by
    // K, M or G (powers of 1024). Anything else gives `fallback`.
    static uint64_t ParseCount(const NyxString& text, uint64_t fallback);

    // Fills `value` with the entry, or with `defaultValue` when there is none;
    // returns whether the entry was found.
    bool GetEntryValue(const NyxString& section, const NyxString& key, NyxString& value,
                       const NyxString& defaultValue) const;

    // A switch: "1", "yes" or "true" (any case) turn it on; anything else,
    // or no entry, leaves it off.
    bool IsSwitchedOn(const NyxString& section, const NyxString& key) const;
};
