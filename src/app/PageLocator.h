// PageLocator: finds the file a request names inside a document root, and
// refuses everything that would lead outside it.
#pragma once

#include <string>
#include <string_view>

enum class LocateStatus { Found, Forbidden, NotFound };

struct Location {
    LocateStatus Status = LocateStatus::NotFound;
    std::string Path;          // the real path (links resolved) when found
    bool IsDirectory = false;  // found, and a folder rather than a regular file
};

// The real path of a folder to serve from; empty when it is no folder.
std::string ResolveRootFolder(const std::string& folder);

// Locates `requested` below `root` (a real path, as ResolveRootFolder gives).
// A `requested` beginning with "/" counts from the root, any other from
// `base`, a real folder inside the root. Forbidden: ".." that climbs above
// the root, a name beginning with "." (hidden files such as .git), a NUL
// byte, a link whose target lies outside the root, anything that is neither
// a regular file nor a folder. NotFound: the path does not exist.
Location LocateInRoot(const std::string& root, const std::string& base, std::string_view requested);

// The folder part of a path ("/a/b/c.vxl" gives "/a/b").
std::string FolderOf(const std::string& path);

// True when `path` ends with `extension` (".vxl"), case ignored.
bool HasExtension(std::string_view path, std::string_view extension);

// Locates a path that the web server gave as a full file-system path
// (PATH_TRANSLATED, SCRIPT_FILENAME) by the same rules, below the real `root`;
// `rootAsGiven` is the root as configured, links unresolved.
Location LocateServerPath(const std::string& root, const std::string& rootAsGiven, const std::string& path);
