// PathParser: a file path cut into drive, folder, name and extension.
// On this platform the drive is always empty and the folder keeps its
// trailing separator, so GetDrive() + GetDir() is the folder as written.
#pragma once

#include "values/NyxString.h"

class PathParser {
public:
    PathParser() = default;
    explicit PathParser(const NyxString& path);
    virtual ~PathParser() = default;

    NyxString GetDrive() const { return Drive; }
    NyxString GetDir() const { return Dir; }
    NyxString GetFileName() const { return FileName; }
    NyxString GetFileNameWithoutExt() const { return FileNameWithoutExt; }
    NyxString GetFileExt() const { return FileExt; }

private:
    NyxString Path;                // the path as given
    NyxString Drive;
    NyxString Dir;                 // ends with '/' unless empty
    NyxString FileName;
    NyxString FileNameWithoutExt;
    NyxString FileExt;             // with its dot, or empty
};
