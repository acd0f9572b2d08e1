// Files on POSIX: descriptors opened close-on-exec, so that child processes
// started by the engine do not inherit them.
#include "foundation/Files.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/NativePath.h"
#include "foundation/PageMemory.h"

namespace {

// FileReadAll refuses anything larger: a page or configuration file of this
// size is a mistake, and NyxString positions are 32-bit.
constexpr std::size_t kMaxReadAllBytes = std::size_t{1} << 30;
constexpr std::size_t kReadChunkBytes = 64 * 1024;  // the first room when the size is unknown
constexpr mode_t kCreatedFileMode = 0600;  // the engine's files are its own

}  // namespace

int FileOpen(const NyxString& path, int mode) {
    if (!IsNativePath(path)) return -1;
    int access = 0;
    if (mode == 0) {
        access = O_RDONLY;
    } else if (mode == 1) {
        access = O_WRONLY;
    } else {
        return -1;
    }
    int handle;
    do {
        handle = open(path.GetString(), access | O_CLOEXEC);
    } while (handle < 0 && errno == EINTR);
    return handle < 0 ? -1 : handle;
}

int FileCreate(const NyxString& path, int flags) {
    if (!IsNativePath(path)) return -1;
    int handle;
    do {
        handle = open(path.GetString(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kCreatedFileMode);
    } while (handle < 0 && errno == EINTR);
    return handle < 0 ? -1 : handle;
}

long long FileSeekEnd(int handle) {
    if (handle < 0) return -1;
    off_t position = lseek(handle, 0, SEEK_END);
    return position < 0 ? -1 : static_cast<long long>(position);
}

int FileWrite(int handle, const void* data, unsigned size) {
    if (handle < 0 || size > static_cast<unsigned>(INT_MAX)) return -1;
    if (size != 0 && data == nullptr) return -1;
    const char* bytes = static_cast<const char*>(data);
    unsigned written = 0;
    // Each pass writes at least one byte or fails, so the loop ends.
    while (written < size) {
        ssize_t count = write(handle, bytes + written, size - written);
        if (count < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (count == 0) return -1;
        written += static_cast<unsigned>(count);
    }
    return static_cast<int>(written);
}

int FileClose(int handle) {
    if (handle < 0) return -1;
    // Not retried on EINTR: on Linux the descriptor is released all the same.
    return close(handle) == 0 ? 0 : -1;
}

int FileDelete(const NyxString& path, int flags) {
    if (!IsNativePath(path)) return -1;
    return unlink(path.GetString()) == 0 ? 0 : -1;
}

int FileExists(const NyxString& path) {
    if (!IsNativePath(path)) return 0;
    struct stat facts;
    return stat(path.GetString(), &facts) == 0 ? 1 : 0;
}

unsigned FileGetMode(const NyxString& path) {
    if (!IsNativePath(path)) return 0;
    struct stat facts;
    if (stat(path.GetString(), &facts) != 0) return 0;
    return static_cast<unsigned>(facts.st_mode);
}

bool FileGetIdentity(const NyxString& path, FileIdentity& identity) {
    identity = FileIdentity();
    if (!IsNativePath(path)) return false;
    struct stat facts;
    if (stat(path.GetString(), &facts) != 0) return false;
    identity.Device = static_cast<unsigned long long>(facts.st_dev);
    identity.Inode = static_cast<unsigned long long>(facts.st_ino);
    identity.Size = static_cast<long long>(facts.st_size);
    identity.ModifiedNanoseconds =
        static_cast<long long>(facts.st_mtim.tv_sec) * 1000000000LL + static_cast<long long>(facts.st_mtim.tv_nsec);
    return true;
}

int FileSetMode(const NyxString& path, unsigned mode) {
    if (!IsNativePath(path)) return -1;
    return chmod(path.GetString(), static_cast<mode_t>(mode & 07777)) == 0 ? 0 : -1;
}

namespace {

// Any buffer with clear, size, resize and data: std::string or PageBuffer.
template <class Buffer>
bool ReadAllInto(const NyxString& path, Buffer& contents, bool* opened) {
    contents.clear();
    int handle = FileOpen(path, 0);
    if (opened != nullptr) *opened = handle >= 0;
    if (handle < 0) return false;
    // The size is only a hint (a pipe or a growing file reads past it): the
    // buffer starts at the size and doubles while the file holds more. The
    // bytes are read straight into the buffer, without a copy.
    std::size_t room = kReadChunkBytes;
    struct stat facts;
    const bool regular = fstat(handle, &facts) == 0 && S_ISREG(facts.st_mode);
    if (regular && facts.st_size > 0 && static_cast<unsigned long long>(facts.st_size) < kMaxReadAllBytes) {
        room = static_cast<std::size_t>(facts.st_size) + 1;
    }
    std::size_t used = 0;
    bool complete = false;
    // Bounded by kMaxReadAllBytes: a file that never ends (a device, a pipe
    // that keeps writing) fails instead of filling memory.
    while (used <= kMaxReadAllBytes) {
        if (contents.size() == used) contents.resize(std::min(std::max(room, used * 2), kMaxReadAllBytes + 1));
        ssize_t count = read(handle, contents.data() + used, contents.size() - used);
        if (count < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (count == 0) {
            complete = true;
            break;
        }
        used += static_cast<std::size_t>(count);
        // A regular file reads short only at its end: no further call needed to learn it.
        if (regular && used < contents.size()) {
            complete = true;
            break;
        }
    }
    FileClose(handle);
    contents.resize(used);
    if (!complete || used > kMaxReadAllBytes) {
        contents.clear();
        return false;
    }
    return true;
}

}  // namespace

bool FileReadAll(const NyxString& path, std::string& contents) { return ReadAllInto(path, contents, nullptr); }

bool FileReadAll(const NyxString& path, PageBuffer& contents, bool* opened) {
    return ReadAllInto(path, contents, opened);
}
