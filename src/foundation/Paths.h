// Paths: making paths complete, searching folders, temporary files and the
// location of the running program.
#pragma once

#include "values/NyxString.h"

// Makes the path absolute against the working folder and resolves ".",
// ".." and repeated "/" in its text; links are not followed. ".." at the
// root stays at the root. The result has no trailing "/" except for "/".
NyxString CompletePath(const NyxString& path);

// The path with every link followed (realpath); for a file that does not
// exist yet, its folder's real path with the name behind it. "" when not even
// the folder exists.
NyxString RealPath(const NyxString& path);

// Looks for `name` in each folder of a ';'-separated list, in order; entries
// may or may not end in "/". An empty entry, like an empty list, means the
// working folder (the hit is then `name` itself); a final ';' only ends the
// last entry. An absolute name is tested as it is. Returns the first path
// (folder joined with name, not completed) that is an existing regular file,
// or "" if none.
NyxString PathSearch(const NyxString& directories, const NyxString& name);

// Creates a new empty file (0600) with a free name that begins with `prefix`
// in GetTemporaryDirectory(), closes it and returns its path; "" on failure.
NyxString GetTemporaryFilePath(const NyxString& prefix);

// The running program's file, from /proc/self/exe; "" if unknown.
NyxString GetExecutablePath();

// $TMPDIR when set and not empty, else "/tmp"; without a trailing "/".
NyxString GetTemporaryDirectory();
