// RangeLock on Linux: open-file-description locks (F_OFD_SETLK), which
// belong to this open file and not to the process, so two threads with a
// RangeLock each exclude each other too. Waiting polls with a growing pause,
// since the blocking form of the call has no time limit.
#include "foundation/RangeLock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace {

// Pauses between tries grow from 1 ms to this, so a freed lock is seen soon
// without the waiters spinning.
constexpr unsigned kLongestPauseMilliseconds = 16;

#ifndef F_OFD_SETLK
#define F_OFD_SETLK F_SETLK  // older headers: process locks, still right between processes
#endif

bool SetLock(int handle, uint64_t key, short type) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(key);
    range.l_len = 1;
    range.l_pid = 0;  // must be 0 for open-file-description locks
    int result;
    do {
        result = fcntl(handle, F_OFD_SETLK, &range);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace

RangeLock::RangeLock(const std::string& path) {
    Handle = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
}

RangeLock::~RangeLock() {
    if (Handle >= 0) close(Handle);
}

bool RangeLock::Lock(uint64_t key, unsigned timeoutMilliseconds) {
    if (Handle < 0) return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
    unsigned pause = 1;
    // Bounded by the deadline: each pass sleeps at least 1 ms.
    while (!SetLock(Handle, key, F_WRLCK)) {
        if (errno != EAGAIN && errno != EACCES) return false;
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) return false;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
        std::this_thread::sleep_for(std::chrono::milliseconds(left < pause ? left + 1 : pause));
        if (pause < kLongestPauseMilliseconds) pause *= 2;
    }
    return true;
}

void RangeLock::Unlock(uint64_t key) {
    if (Handle >= 0) SetLock(Handle, key, F_UNLCK);
}
