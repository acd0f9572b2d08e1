// RangeLock: exclusive locks on single bytes of one lock file, one byte per
// key, shared by every process and thread that opens the same file. The
// system drops a lock when its holder closes the file or dies, so a crashed
// request never leaves a key locked.
#pragma once

#include <cstdint>
#include <string>

class RangeLock {
public:
    // Opens (creating it with mode 0600) the lock file; IsOpen tells whether that worked.
    explicit RangeLock(const std::string& path);
    ~RangeLock();
    RangeLock(const RangeLock&) = delete;
    RangeLock& operator=(const RangeLock&) = delete;

    bool IsOpen() const { return Handle >= 0; }

    // Takes the lock of `key`, waiting up to `timeoutMilliseconds` for
    // another holder to let go. False when the time ran out or locking failed.
    bool Lock(uint64_t key, unsigned timeoutMilliseconds);
    void Unlock(uint64_t key);

private:
    int Handle = -1;
};
