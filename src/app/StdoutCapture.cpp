// StdoutCapture: redirection of descriptor 1 into a memory file.
#include "app/StdoutCapture.h"

#include <cstdio>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// More than this of stray standard output in one request is cut off.
constexpr long kMaxCapturedBytes = 1024 * 1024;

}  // namespace

StdoutCapture::~StdoutCapture()
{
    if (SavedDescriptor >= 0)
        End();
}

bool StdoutCapture::Begin()
{
    std::fflush(stdout);
    ScratchDescriptor = memfd_create("vexl-stdout", MFD_CLOEXEC);
    if (ScratchDescriptor < 0) {
        std::FILE* scratch = std::tmpfile();
        if (!scratch)
            return false;
        ScratchDescriptor = dup(fileno(scratch));
        std::fclose(scratch);
        if (ScratchDescriptor < 0)
            return false;
    }
    SavedDescriptor = dup(1);
    if (SavedDescriptor < 0 || dup2(ScratchDescriptor, 1) < 0) {
        if (SavedDescriptor >= 0)
            close(SavedDescriptor);
        close(ScratchDescriptor);
        SavedDescriptor = ScratchDescriptor = -1;
        return false;
    }
    return true;
}

std::string StdoutCapture::End()
{
    std::string captured;
    if (SavedDescriptor < 0)
        return captured;
    std::fflush(stdout);
    dup2(SavedDescriptor, 1);
    close(SavedDescriptor);
    SavedDescriptor = -1;

    off_t size = lseek(ScratchDescriptor, 0, SEEK_END);
    if (size > kMaxCapturedBytes)
        size = kMaxCapturedBytes;
    if (size > 0) {
        captured.resize(static_cast<std::size_t>(size));
        ssize_t got = pread(ScratchDescriptor, captured.data(), captured.size(), 0);
        captured.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    close(ScratchDescriptor);
    ScratchDescriptor = -1;
    return captured;
}
