// File holds the lines of a text file; IniFile reads configuration entries
// from such a file: "[Section]" headers and "key = value" lines.
#pragma once

#include "values/NyxString.h"
#include "values/NyxVector.h"

// The lines of a text file without their line ends ("\n" or "\r\n"). A
// missing or unreadable file gives no lines.
class File {
public:
    explicit File(const NyxString& path);
    virtual ~File();

    const NyxString& GetPath() const { return Path; }
    bool IsLoaded() const { return Loaded; }          // the file could be read
    unsigned GetLineCount() const { return Lines.Size(); }
    const NyxString& GetLine(unsigned index) const;  // from 0; "" out of range

protected:
    NyxString Path;
    NyxVector<NyxString> Lines;
    bool Loaded = false;
};

// Entries of an ini-style file. Comments are lines whose first non-blank
// character is ';' or '#'. Blanks around section names, keys and values are
// trimmed; section and key names are compared without regard to case. The
// value is everything after the first '=', so it may hold '=' and ';'. When a
// key occurs twice in a section the first occurrence wins.
class IniFile : public File {
public:
    explicit IniFile(const NyxString& path);  // missing file reads as empty
    ~IniFile() override;

    // Fills `value` with the entry, or with `defaultValue` when there is none;
    // returns whether the entry was found.
    bool GetEntryValue(const NyxString& section, const NyxString& key, NyxString& value,
                       const NyxString& defaultValue);
};
