// Process on POSIX: posix_spawnp to start, waitpid to reap, and a pidfd (or,
// where the kernel has none, polling) to wait with a time limit.
#include "outside/foundation/Process.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "outside/foundation/NativePath.h"

extern char** environ;

namespace {

constexpr mode_t kOutputFileMode = 0600;
// A command line is split into at most this many words; more is refused.
constexpr std::size_t kMaxArguments = 4096;
// Polling, where no pidfd is available, starts fine and grows coarse.
constexpr long kFirstPollNanoseconds = 100'000;   // 0.1 ms
constexpr long kLastPollNanoseconds = 10'000'000;  // 10 ms
constexpr long long kMaxPollMilliseconds = 1'000'000'000;  // fits poll's int

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::vector<std::string> SplitCommandLine(std::string_view text) {
    std::vector<std::string> words;
    std::size_t position = 0;
    while (position < text.size()) {
        while (position < text.size() && IsBlank(text[position])) ++position;
        std::size_t start = position;
        while (position < text.size() && !IsBlank(text[position])) ++position;
        if (position > start) words.emplace_back(text.substr(start, position - start));
    }
    return words;
}

long long NowMilliseconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

// Blocks until the child is reaped; true if it was.
bool Reap(pid_t pid) {
    int status = 0;
    pid_t result;
    do {
        result = waitpid(pid, &status, 0);
    } while (result < 0 && errno == EINTR);
    return result == pid;
}

// The child leads its own process group, so that the kill reaches whatever it
// started too (an interpreter's own children).
WaitOutcome KillAndReap(pid_t pid) {
    kill(-pid, SIGKILL);
    kill(pid, SIGKILL);
    return Reap(pid) ? WaitOutcome::TimedOut : WaitOutcome::Failed;
}

enum class PidfdWait { Unavailable, Ended, Expired };

// Waits on a pidfd until the child ends or the deadline passes. Unavailable
// (no pidfd on this kernel, or poll failing) sends the caller to polling.
PidfdWait WaitWithPidfd(pid_t pid, long long deadline) {
#ifdef SYS_pidfd_open
    int pidfd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (pidfd < 0) return PidfdWait::Unavailable;
    PidfdWait outcome = PidfdWait::Expired;
    // Each pass either ends or waits until the deadline; EINTR repeats it
    // with what remains.
    while (true) {
        long long remaining = deadline - NowMilliseconds();
        if (remaining <= 0) break;
        if (remaining > kMaxPollMilliseconds) remaining = kMaxPollMilliseconds;
        pollfd entry{pidfd, POLLIN, 0};
        int ready = poll(&entry, 1, static_cast<int>(remaining));
        if (ready > 0) {
            outcome = PidfdWait::Ended;
            break;
        }
        if (ready < 0 && errno != EINTR) {
            outcome = PidfdWait::Unavailable;
            break;
        }
    }
    close(pidfd);
    return outcome;
#else
    (void)pid;
    (void)deadline;
    return PidfdWait::Unavailable;
#endif
}

}  // namespace

int ExecRedirect(const NyxString& commandLine, bool& started, XmlProxyClient* proxy,
                 const NyxString& unused1, const NyxString& outputPath, const NyxString& unused2,
                 unsigned long unused3, bool unused4, bool redirect, void* unused5, bool unused6,
                 int* unused7) {
    started = false;
    if (std::memchr(commandLine.GetString(), '\0', commandLine.GetSize()) != nullptr) return 0;
    std::vector<std::string> words = SplitCommandLine(commandLine.View());
    if (words.empty() || words.size() > kMaxArguments) return 0;
    if (redirect && !IsNativePath(outputPath)) return 0;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0) return 0;
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return 0;
    }
    bool ready = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0;
    if (redirect) {
        ready = ready && posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.GetString(),
                                                          O_WRONLY | O_CREAT | O_TRUNC, kOutputFileMode) == 0;
    }
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 34))
    // Descriptors that someone opened without close-on-exec stay with us.
    ready = ready && posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1) == 0;
#endif
    // The child starts with no blocked signal and every signal at its default,
    // whatever the server did with its own; and in a process group of its own.
    sigset_t noSignals;
    sigset_t allSignals;
    sigemptyset(&noSignals);
    sigfillset(&allSignals);
    ready = ready && posix_spawnattr_setsigmask(&attributes, &noSignals) == 0 &&
            posix_spawnattr_setsigdefault(&attributes, &allSignals) == 0 &&
            posix_spawnattr_setpgroup(&attributes, 0) == 0 &&
            posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                      POSIX_SPAWN_SETPGROUP) == 0;
    pid_t pid = 0;
    int failure = ready ? posix_spawnp(&pid, arguments[0], &actions, &attributes, arguments.data(), environ) : -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0 || pid <= 0) return 0;
    started = true;
    return static_cast<int>(pid);
}

WaitOutcome WaitForProcess(int pid, unsigned timeoutMilliseconds) {
    // waitpid would take 0 and negative numbers as "any child" or a group.
    if (pid <= 0) return WaitOutcome::Failed;
    if (timeoutMilliseconds == 0) return Reap(pid) ? WaitOutcome::Exited : WaitOutcome::Failed;

    // Only a child of ours may be waited for, and so killed: a pidfd would
    // accept any process.
    int status = 0;
    pid_t first;
    do {
        first = waitpid(pid, &status, WNOHANG);
    } while (first < 0 && errno == EINTR);
    if (first == pid) return WaitOutcome::Exited;
    if (first < 0) return WaitOutcome::Failed;

    const long long deadline = NowMilliseconds() + timeoutMilliseconds;
    switch (WaitWithPidfd(pid, deadline)) {
        case PidfdWait::Ended:
            return Reap(pid) ? WaitOutcome::Exited : WaitOutcome::Failed;
        case PidfdWait::Expired:
            return KillAndReap(pid);
        case PidfdWait::Unavailable:
            break;
    }

    long pause = kFirstPollNanoseconds;
    while (true) {
        pid_t result = waitpid(pid, &status, WNOHANG);
        if (result == pid) return WaitOutcome::Exited;
        if (result < 0 && errno != EINTR) return WaitOutcome::Failed;
        long long remaining = deadline - NowMilliseconds();
        if (remaining <= 0) return KillAndReap(pid);
        long long step = pause;
        if (step > remaining * 1'000'000) step = remaining * 1'000'000;
        timespec sleepTime{0, static_cast<long>(step)};
        nanosleep(&sleepTime, nullptr);
        if (pause < kLastPollNanoseconds) pause = pause * 2 > kLastPollNanoseconds ? kLastPollNanoseconds : pause * 2;
    }
}
