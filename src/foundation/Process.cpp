// Process on POSIX: posix_spawnp to start, waitpid to reap, and a pidfd (or,
// where the kernel has none, polling) to wait with a time limit.
#include "foundation/Process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <dirent.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "foundation/NativePath.h"

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

PipedRun RunPiped(const std::string& program, const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment, std::string_view input,
                  unsigned timeoutMilliseconds, std::size_t maxOutput) {
    PipedRun run;
    int toChild[2] = {-1, -1};
    int fromChild[2] = {-1, -1};
    if (pipe2(toChild, O_CLOEXEC) != 0) return run;
    if (pipe2(fromChild, O_CLOEXEC) != 0) {
        close(toChild[0]);
        close(toChild[1]);
        return run;
    }
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const std::string& entry : environment) envp.push_back(const_cast<char*>(entry.c_str()));
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
    posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(toChild[0]);
    close(fromChild[1]);
    if (spawned != 0) {
        close(toChild[1]);
        close(fromChild[0]);
        return run;
    }
    run.Started = true;

    // Feed and drain at once: a child that writes before it has read all its
    // input must not stall either side.
    const long long deadline = timeoutMilliseconds != 0 ? NowMilliseconds() + timeoutMilliseconds : 0;
    fcntl(toChild[1], F_SETFL, O_NONBLOCK);
    std::size_t written = 0;
    int writeEnd = toChild[1];
    if (input.empty()) {
        close(writeEnd);
        writeEnd = -1;
    }
    char buffer[16384];
    bool reading = true;
    while (reading) {
        pollfd fds[2] = {{fromChild[0], POLLIN, 0}, {writeEnd, POLLOUT, 0}};
        long long wait = -1;
        if (deadline != 0) {
            wait = deadline - NowMilliseconds();
            if (wait <= 0) {
                run.TimedOut = true;
                break;
            }
        }
        const int ready = poll(fds, writeEnd >= 0 ? 2 : 1, static_cast<int>(wait < 0 ? -1 : wait));
        if (ready < 0 && errno != EINTR) break;
        if (ready <= 0) continue;
        if (writeEnd >= 0 && (fds[1].revents & (POLLOUT | POLLERR | POLLHUP)) != 0) {
            const ssize_t count = write(writeEnd, input.data() + written, input.size() - written);
            if (count > 0) written += static_cast<std::size_t>(count);
            if ((count < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) {
                close(writeEnd);
                writeEnd = -1;
            }
        }
        if ((fds[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            const ssize_t count = read(fromChild[0], buffer, sizeof buffer);
            if (count > 0) {
                run.Output.append(buffer, static_cast<std::size_t>(count));
                if (run.Output.size() > maxOutput) {
                    run.OutputCut = true;
                    break;
                }
            } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
                reading = false;
            }
        }
    }
    if (writeEnd >= 0) close(writeEnd);
    close(fromChild[0]);
    if (run.TimedOut || run.OutputCut) {
        KillAndReap(pid);
        return run;
    }
    int status = 0;
    pid_t result;
    do {
        result = waitpid(pid, &status, 0);
    } while (result < 0 && errno == EINTR);
    if (result == pid && WIFEXITED(status)) run.ExitStatus = WEXITSTATUS(status);
    return run;
}

ScopedFileSizeLimit::ScopedFileSizeLimit(unsigned long long bytes) {
    rlimit limit{};
    if (bytes == 0 || getrlimit(RLIMIT_FSIZE, &limit) != 0) return;
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= bytes) return;
    Saved = limit.rlim_cur;
    limit.rlim_cur = bytes;
    Changed = setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

ScopedFileSizeLimit::~ScopedFileSizeLimit() {
    rlimit limit{};
    if (!Changed || getrlimit(RLIMIT_FSIZE, &limit) != 0) return;
    limit.rlim_cur = Saved;
    setrlimit(RLIMIT_FSIZE, &limit);
}

void AdoptOrphans() {
    static const bool adopted = prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) == 0;
    (void)adopted;
}

namespace {

// The processes whose parent is this one, from /proc.
std::vector<pid_t> Children() {
    std::vector<pid_t> children;
    DIR* folder = opendir("/proc");
    if (folder == nullptr) return children;
    const pid_t self = getpid();
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
        char path[300];
        std::snprintf(path, sizeof path, "/proc/%s/stat", entry->d_name);
        const int file = ::open(path, O_RDONLY | O_CLOEXEC);
        if (file < 0) continue;
        char text[512];
        const ssize_t size = read(file, text, sizeof text - 1);
        close(file);
        if (size <= 0) continue;
        text[size] = '\0';
        // "pid (name) state ppid ...": the name may hold blanks and parentheses.
        const char* close = std::strrchr(text, ')');
        int parent = 0;
        if (close != nullptr && std::sscanf(close + 1, " %*c %d", &parent) == 1 && parent == self) {
            children.push_back(static_cast<pid_t>(std::atoi(entry->d_name)));
        }
    }
    closedir(folder);
    return children;
}

}  // namespace

unsigned EndStrayChildren() {
    unsigned ended = 0;
    // A child may start another before it dies: a few rounds, then give up.
    for (int round = 0; round < 8; ++round) {
        const std::vector<pid_t> children = Children();
        if (children.empty()) break;
        for (const pid_t child : children) {
            kill(child, SIGKILL);
            if (Reap(child)) ++ended;
        }
    }
    return ended;
}

bool SignalWhenParentEnds(int signal) {
    const pid_t parent = getppid();
    if (prctl(PR_SET_PDEATHSIG, signal, 0, 0, 0) != 0) return true;
    // The parent may have ended before the request: then nobody will send it.
    return getppid() == parent;
}
