// PrivateStorage: folders and files that hold one user's private state (the
// session store), created so that no other user can read, plant or replace
// them, and refused when someone else could have.
#pragma once

#include <string>

// Makes `folder` (and its missing parents) with mode 0700, then checks it:
// a real folder, owned by the running user (or by root), writable by nobody
// else. False with the reason in `problem` otherwise.
bool MakePrivateFolder(const std::string& folder, std::string& problem);

// Creates the file with mode 0600 when it is missing (never through a link),
// then checks it: a regular file owned by the running user, writable by
// nobody else. False with the reason in `problem` otherwise.
bool MakePrivateFile(const std::string& path, std::string& problem);
