// PrivateStorage on POSIX: mkdir and open with owner-only modes, and lstat
// checks of owner and write bits.
#include "foundation/PrivateStorage.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Owner-only is what we create; a folder or file that another user owns, or
// that group or others may write, could have been prepared to read or
// change what we keep in it.
bool CheckOwnership(const std::string& path, const struct stat& facts, bool isFolder, std::string& problem) {
    const char* what = isFolder ? "folder" : "file";
    const uid_t self = geteuid();
    // Root's own folders (/var/lib, say) are as safe as ours; files are ours only.
    if (facts.st_uid != self && !(isFolder && facts.st_uid == 0)) {
        problem = std::string("the ") + what + " '" + path + "' belongs to another user";
        return false;
    }
    if ((facts.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        problem = std::string("the ") + what + " '" + path + "' may be written by other users";
        return false;
    }
    return true;
}

}  // namespace

bool MakePrivateFolder(const std::string& folder, std::string& problem) {
    if (folder.empty()) {
        problem = "no folder was given";
        return false;
    }
    // Each missing part from the root down, 0700 whatever the umask says.
    // The path has a bounded number of parts, so this loop is bounded.
    for (std::size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
        const std::string part = folder.substr(0, slash);
        if (!part.empty() && mkdir(part.c_str(), 0700) == 0) chmod(part.c_str(), 0700);
        if (slash == std::string::npos) break;
    }
    struct stat facts {};
    if (lstat(folder.c_str(), &facts) != 0) {
        problem = "the folder '" + folder + "' cannot be made: " + std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(facts.st_mode)) {
        problem = "'" + folder + "' is not a folder";
        return false;
    }
    return CheckOwnership(folder, facts, true, problem);
}

bool MakePrivateFile(const std::string& path, std::string& problem) {
    int handle = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (handle >= 0) {
        fchmod(handle, 0600);
        close(handle);
    }
    struct stat facts {};
    if (lstat(path.c_str(), &facts) != 0) {
        problem = "the file '" + path + "' cannot be made: " + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(facts.st_mode)) {
        problem = "'" + path + "' is not a plain file";
        return false;
    }
    return CheckOwnership(path, facts, false, problem);
}
