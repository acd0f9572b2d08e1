// Random on Linux: getrandom(2) first, /dev/urandom where the kernel lacks it.
#include "foundation/Random.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace {

// Fills `buffer` completely; false if the source fails.
bool ReadFromGetrandom(unsigned char* buffer, std::size_t size) {
    std::size_t filled = 0;
    // Each pass fills at least one byte or ends, so the loop ends.
    while (filled < size) {
        ssize_t count = getrandom(buffer + filled, size - filled, 0);
        if (count < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (count == 0) return false;
        filled += static_cast<std::size_t>(count);
    }
    return true;
}

bool ReadFromDevice(unsigned char* buffer, std::size_t size) {
    int handle;
    do {
        handle = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    } while (handle < 0 && errno == EINTR);
    if (handle < 0) return false;
    std::size_t filled = 0;
    bool complete = true;
    while (filled < size) {
        ssize_t count = read(handle, buffer + filled, size - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            complete = false;
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    close(handle);
    return complete;
}

// Used only when the system gives no randomness at all: numbers that are
// unlikely to repeat, though not secret.
uint32_t LastResortNumber() {
    static std::atomic<uint64_t> counter{0};
    uint64_t x = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
                 (static_cast<uint64_t>(getpid()) << 32) ^ (++counter * 0x9E3779B97F4A7C15ull);
    // splitmix64 finaliser
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    x ^= x >> 31;
    return static_cast<uint32_t>(x);
}

}  // namespace

uint32_t SecureRandom32() {
    unsigned char bytes[4];
    if (!ReadFromGetrandom(bytes, sizeof bytes) && !ReadFromDevice(bytes, sizeof bytes)) {
        return LastResortNumber();
    }
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}
