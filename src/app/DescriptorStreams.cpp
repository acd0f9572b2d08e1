// Descriptor streams: read and write with poll(2) time limits.
#include "app/DescriptorStreams.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

bool WaitForDescriptor(int descriptor, bool forWriting, int timeoutMilliseconds)
{
    if (timeoutMilliseconds <= 0)
        return true;
    pollfd entry{};
    entry.fd = descriptor;
    entry.events = forWriting ? POLLOUT : POLLIN;
    int ready;
    do {
        ready = poll(&entry, 1, timeoutMilliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

long DescriptorReader::Read(char* buffer, std::size_t size)
{
    if (!WaitForDescriptor(Descriptor, false, Timeout))
        return -1;
    ssize_t got;
    do {
        got = read(Descriptor, buffer, size);
    } while (got < 0 && errno == EINTR);
    return got < 0 ? -1 : static_cast<long>(got);
}

bool DescriptorWriter::Write(const char* data, std::size_t size)
{
    std::size_t written = 0;
    // Each pass writes at least one byte or returns.
    while (written < size) {
        if (!WaitForDescriptor(Descriptor, true, Timeout))
            return false;
        ssize_t count = write(Descriptor, data + written, size - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}
