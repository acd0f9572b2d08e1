// StdoutCapture: catches what the library writes to the standard output by
// itself during a request, so that a front end whose standard output is the
// response (CGI) keeps its headers first and puts that text in the body.
#pragma once

#include <string>

class StdoutCapture {
public:
    StdoutCapture() = default;
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;
    ~StdoutCapture();

    // Points file descriptor 1 at a scratch file. False if that failed; the
    // standard output then stays as it was.
    bool Begin();
    // Restores descriptor 1 and returns what was written in between.
    std::string End();

private:
    int SavedDescriptor = -1;   // the original descriptor 1 while capturing
    int ScratchDescriptor = -1; // memory file that receives the text
};
