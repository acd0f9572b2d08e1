// Modules: loading shared objects at run time and finding their symbols.
#pragma once

#include "values/NyxString.h"

// Loads the shared object with all symbols bound now and kept local; null on
// failure.
void* ModuleOpen(const NyxString& path);

// The address of `name` in a loaded module; null if absent or handle is null.
void* ModuleSymbol(void* handle, const char* name);

// Unloads the module; null is accepted quietly.
void ModuleClose(void* handle);

// The folder of the shared object this code was loaded from (the library
// itself), without a trailing "/"; "" if unknown.
NyxString GetLibraryFolder();
