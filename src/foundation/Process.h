// Process: starting a program with its output sent to a file, and waiting
// for it with a time limit.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "values/NyxString.h"

class XmlProxyClient;

// Starts the program named by the first word of `commandLine` (searched on
// PATH), with the remaining words as its arguments; words are separated by
// blanks and there is no quoting. When `redirect` is true the child's standard
// output goes to `outputPath` (truncated; a new file is made 0600); its standard input
// is /dev/null and its standard error is inherited. The child leads a process
// group of its own and inherits no descriptor above 2. `started` tells whether a
// process was made. Returns the process id, or 0 on failure. The parameters
// named unused are accepted for the callers' sake and ignored.
int ExecRedirect(const NyxString& commandLine, bool& started, XmlProxyClient* proxy,
                 const NyxString& unused1, const NyxString& outputPath, const NyxString& unused2,
                 unsigned long unused3, bool unused4, bool redirect, void* unused5, bool unused6,
                 int* unused7);

enum class WaitOutcome { Exited, TimedOut, Failed };

// Waits for the child `pid` to end and reaps it. timeoutMilliseconds 0 means
// no limit; past the limit the child's process group is killed (SIGKILL), the
// child reaped, and the outcome is TimedOut. Failed means pid was not a child that could be waited
// for.
WaitOutcome WaitForProcess(int pid, unsigned timeoutMilliseconds);

// What RunPiped gives back.
struct PipedRun {
    bool Started = false;
    bool TimedOut = false;     // the child was killed at the time limit
    bool OutputCut = false;    // the child was killed for writing more than the bound
    int ExitStatus = -1;       // its exit status when it exited
    std::string Output;        // its standard output
};

// Runs `program` (a path) with `arguments` and exactly `environment`
// ("NAME=value" each) in a process group of its own; `input` goes to its
// standard input, its standard output is collected (at most `maxOutput`
// bytes), its standard error is inherited. Past `timeoutMilliseconds` (0: no
// limit) the group is killed. Safe in a process with several threads.
PipedRun RunPiped(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment, std::string_view input,
                  unsigned timeoutMilliseconds, std::size_t maxOutput);

// While it lives, no file that this process, or a child it starts meanwhile,
// writes may grow past `bytes` (0: no change): the soft RLIMIT_FSIZE, put back
// at the end. A child that tries gets SIGXFSZ.
class ScopedFileSizeLimit {
public:
    explicit ScopedFileSizeLimit(unsigned long long bytes);
    ~ScopedFileSizeLimit();
    ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
    ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;

private:
    bool Changed = false;
    unsigned long long Saved = 0;
};

// Descendants that lose their parent become children of this process (the
// kernel's child subreaper), so that a child that left its process group
// (setsid) can still be ended by EndStrayChildren. Once per process.
void AdoptOrphans();

// Kills and reaps every child this process has, adopted ones included; for
// the page front ends, whose only children are a page's interpreters.
// Returns how many were ended.
unsigned EndStrayChildren();

// Asks for `signal` when the process that started this one ends; true if the
// parent is still there afterwards (false: it is gone already).
bool SignalWhenParentEnds(int signal);
