// FileConfinement: with ConfineFiles = 1 (or SafeOutput = 1) in
// [QuinceConfig], the files a page names for INCLUDE, SCRIPT src= and
// TRANSLATION file= must lie inside the site's root (the front ends' root;
// for `vexl render`, the top page's folder) or a folder that AllowedFolders
// lists, after links are followed.
// An expression that a visitor's value reaches can then name nothing else.
#pragma once

#include <string>
#include <vector>

#include "values/NyxString.h"

class IniFile;

class FileConfinement {
public:
    // Reads the keys; `root` is the site's folder.
    void Configure(const IniFile& config, const NyxString& root);
    bool IsOn() const { return On; }
    // Whether the file at `path` (relative to the working folder) may be
    // used: always when the confinement is off.
    bool Admits(const NyxString& path) const;

private:
    bool On = false;
    std::vector<std::string> Folders;  // real paths, the root first
};
