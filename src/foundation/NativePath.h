// NativePath: the test that a NyxString can be handed to the system as a path.
// Internal to the foundation's .cpp files.
#pragma once

#include <cstring>

#include "values/NyxString.h"

// A system call reads a path up to its first NUL byte, so a path holding one
// would name a different file than the text says; such a path, and the empty
// one, are refused.
inline bool IsNativePath(const NyxString& path) {
    return path.GetSize() != 0 && std::memchr(path.GetString(), '\0', path.GetSize()) == nullptr;
}
