// Body readers and response writers on plain file descriptors, used by the
// CGI front end (standard input and output) and the development server (a
// socket, with a time limit on every wait).
#pragma once

#include "app/RequestTypes.h"

class DescriptorReader : public BodyReader {
public:
    // timeoutMilliseconds 0: wait without limit.
    DescriptorReader(int descriptor, int timeoutMilliseconds) : Descriptor(descriptor), Timeout(timeoutMilliseconds) {}
    long Read(char* buffer, std::size_t size) override;

private:
    int Descriptor;
    int Timeout;
};

class DescriptorWriter : public ResponseWriter {
public:
    DescriptorWriter(int descriptor, int timeoutMilliseconds) : Descriptor(descriptor), Timeout(timeoutMilliseconds) {}
    bool Write(const char* data, std::size_t size) override;

private:
    int Descriptor;
    int Timeout;
};

// Waits until the descriptor is readable (or writable); false on time-out or error.
bool WaitForDescriptor(int descriptor, bool forWriting, int timeoutMilliseconds);
