// File: the lines of a text file, read once when the object is made.
#pragma once

#include "values/NyxString.h"
#include "values/NyxVector.h"

// The lines of a text file without their line ends ("\n" or "\r\n"); a UTF-8
// byte order mark at the start is dropped. A missing or unreadable file gives
// no lines.
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
