// Files: plain file handles and file facts behind one small interface, so
// that the engine never calls the operating system directly.
#pragma once

#include <string>

#include "values/NyxString.h"

class PageBuffer;

// Opens an existing file. mode 0 opens it for reading (and so also tests that
// it is readable); mode 1 opens it for writing without truncating. Returns a
// handle, or -1 on failure.
int FileOpen(const NyxString& path, int mode);

// Creates a new empty file (an existing one is truncated), open for writing,
// with permissions 0600. flags is unused. Returns a handle or -1.
int FileCreate(const NyxString& path, int flags);

// Moves to the end of the file; returns the new position (the size) or -1.
long long FileSeekEnd(int handle);

// Writes all of `size` bytes; returns the number written, or -1.
int FileWrite(int handle, const void* data, unsigned size);

// Closes the handle; -1 is accepted quietly. Returns 0, or -1 on failure.
int FileClose(int handle);

// Removes the file. flags is unused. Returns 0 on success, -1 on failure.
int FileDelete(const NyxString& path, int flags);

// Non-zero if something exists at the path (following links).
int FileExists(const NyxString& path);

// The st_mode of the path (0x8000 is set on a regular file); 0 if absent.
unsigned FileGetMode(const NyxString& path);

// What tells one state of a file from another without reading it: a file
// that was replaced, grown or written to since has another identity.
struct FileIdentity {
    unsigned long long Device = 0;
    unsigned long long Inode = 0;
    long long Size = -1;
    long long ModifiedNanoseconds = 0;
    bool operator==(const FileIdentity&) const = default;
};

// The identity of the file at the path (following links); false if absent.
bool FileGetIdentity(const NyxString& path, FileIdentity& identity);

// Sets the permission bits of the path (0600: read and write for the owner);
// 0 on success, -1 otherwise.
int FileSetMode(const NyxString& path, unsigned mode);

// Reads the whole file into `contents`; false (contents emptied) if it
// cannot be read.
bool FileReadAll(const NyxString& path, std::string& contents);
// The same into a PageBuffer, for files that are let go of as soon as read;
// `opened`, when given, tells whether the file could be opened at all.
bool FileReadAll(const NyxString& path, PageBuffer& contents, bool* opened = nullptr);
