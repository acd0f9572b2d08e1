// Tests of ExecRedirect and WaitForProcess with small /bin/sh scripts.
#include "foundation/Process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

namespace {

class ProcessTest : public ::testing::Test {
protected:
    // Writes a script and returns its path.
    std::string Script(const std::string& body) {
        std::string path = Folder / ("script" + std::to_string(++Scripts) + ".sh");
        std::ofstream(path, std::ios::binary) << body;
        return path;
    }

    // Starts the command with its output to Output(); returns the pid.
    int Start(const std::string& commandLine) {
        bool started = false;
        int pid = ExecRedirect(NyxString(std::string_view(commandLine)), started, nullptr, "",
                               NyxString(std::string_view(Output())), "", 0, false, true, nullptr, false, nullptr);
        EXPECT_EQ(started, pid != 0);
        return pid;
    }

    std::string Output() const { return Folder / "out.txt"; }

    std::string ReadOutput() const {
        std::ifstream stream(Output(), std::ios::binary);
        std::stringstream contents;
        contents << stream.rdbuf();
        return contents.str();
    }

    // Runs a command to its end and returns what it printed.
    std::string Run(const std::string& commandLine) {
        int pid = Start(commandLine);
        EXPECT_GT(pid, 0);
        if (pid <= 0) return "<not started>";
        EXPECT_EQ(WaitForProcess(pid, 0), WaitOutcome::Exited);
        return ReadOutput();
    }

    TemporaryFolder Folder;
    int Scripts = 0;
};

bool IsGoneOrZombie(pid_t pid) {
    if (kill(pid, 0) != 0) return errno == ESRCH;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    std::size_t close = text.rfind(')');
    return close == std::string::npos || (close + 2 < text.size() && text[close + 2] == 'Z');
}

}  // namespace

TEST_F(ProcessTest, OutputGoesToTheFile) {
    EXPECT_EQ(Run("/bin/sh " + Script("echo hello\nprintf 'second'\n")), "hello\nsecond");
}

TEST_F(ProcessTest, ProgramIsSearchedOnPath) {
    EXPECT_EQ(Run("sh " + Script("echo found\n")), "found\n");
}

TEST_F(ProcessTest, CommandLineIsSplitAtBlanksWithoutQuoting) {
    std::string script = Script("printf '%s|' \"$#\" \"$@\"\n");
    EXPECT_EQ(Run("/bin/sh " + script + "  one \t'two  three'"), "3|one|'two|three'|");
}

TEST_F(ProcessTest, LongLineArrivesWhole) {
    std::string line(10000, 'x');
    std::string script = Script("printf '%s\\n' " + line + "\n");
    EXPECT_EQ(Run("/bin/sh " + script), line + "\n");
}

TEST_F(ProcessTest, OutputFileIsTruncated) {
    std::ofstream(Output(), std::ios::binary) << "old content that is longer";
    EXPECT_EQ(Run("/bin/sh " + Script("printf new\n")), "new");
}

TEST_F(ProcessTest, NewOutputFileIsPrivate) {
    EXPECT_EQ(Run("/bin/sh " + Script("printf new\n")), "new");
    struct stat facts;
    ASSERT_EQ(stat(Output().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
}

TEST_F(ProcessTest, ScriptThatPrintsNothingLeavesAnEmptyFile) {
    EXPECT_EQ(Run("/bin/sh " + Script("true\n")), "");
    EXPECT_EQ(access(Output().c_str(), F_OK), 0);
}

TEST_F(ProcessTest, StandardInputIsEmpty) {
    // cat on an inherited terminal or pipe would wait; /dev/null ends it.
    EXPECT_EQ(Run("/bin/sh " + Script("cat\necho done\n")), "done\n");
}

TEST_F(ProcessTest, OpenDescriptorsAreNotInherited) {
    int leaked = open(Output().c_str(), O_WRONLY | O_CREAT, 0600);  // no close-on-exec
    ASSERT_GE(leaked, 3);
    std::string fd = std::to_string(leaked);
    std::string result = Run("/bin/sh " + Script("if [ -e /proc/self/fd/" + fd + " ]; then echo open; else echo closed; fi\n"));
    close(leaked);
    EXPECT_EQ(result, "closed\n");
}

TEST_F(ProcessTest, MissingProgramStartsNothingOrFailsAtOnce) {
    bool started = true;
    auto begin = std::chrono::steady_clock::now();
    int pid = ExecRedirect("/nonexistent/interpreter script", started, nullptr, "",
                           NyxString(std::string_view(Output())), "", 0, false, true, nullptr, false, nullptr);
    if (pid == 0) {
        EXPECT_FALSE(started);
    } else {
        EXPECT_EQ(WaitForProcess(pid, 2000), WaitOutcome::Exited);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(ProcessTest, EmptyCommandLineStartsNothing) {
    EXPECT_EQ(Start(""), 0);
    EXPECT_EQ(Start("   \t "), 0);
}

TEST_F(ProcessTest, OutputInAMissingFolderStartsNothing) {
    bool started = true;
    int pid = ExecRedirect("/bin/sh -c true", started, nullptr, "",
                           NyxString(std::string_view(Folder / "no/such/folder/out.txt")), "", 0, false, true,
                           nullptr, false, nullptr);
    EXPECT_EQ(pid, 0);
    EXPECT_FALSE(started);
}

TEST_F(ProcessTest, TimeOutKillsAndReaps) {
    int pid = Start("sleep 100");
    ASSERT_GT(pid, 0);
    auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForProcess(pid, 200), WaitOutcome::TimedOut);
    auto spent = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(spent, std::chrono::milliseconds(190));
    EXPECT_LT(spent, std::chrono::milliseconds(1500));
    // Reaped: no zombie is left to wait for.
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ProcessTest, TimeOutKillsWhatTheChildStarted) {
    std::string script = Script("sleep 100 &\necho $!\nwait\n");
    int pid = Start("/bin/sh " + script);
    ASSERT_GT(pid, 0);
    // Wait until the grandchild's pid has been written.
    std::string printed;
    for (int i = 0; i < 200 && printed.find('\n') == std::string::npos; ++i) {
        usleep(10'000);
        printed = ReadOutput();
    }
    ASSERT_NE(printed.find('\n'), std::string::npos);
    pid_t grandchild = static_cast<pid_t>(std::stol(printed));
    EXPECT_EQ(WaitForProcess(pid, 100), WaitOutcome::TimedOut);
    bool gone = false;
    for (int i = 0; i < 200 && !gone; ++i) {
        gone = IsGoneOrZombie(grandchild);
        if (!gone) usleep(10'000);
    }
    EXPECT_TRUE(gone);
}

TEST_F(ProcessTest, QuickChildExitsWithinTheLimit) {
    int pid = Start("/bin/sh " + Script("echo quick\n"));
    ASSERT_GT(pid, 0);
    auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForProcess(pid, 10000), WaitOutcome::Exited);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    EXPECT_EQ(ReadOutput(), "quick\n");
    EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), -1);
}

TEST_F(ProcessTest, FailingChildStillExits) {
    int pid = Start("/bin/sh " + Script("echo partial\nexit 3\n"));
    ASSERT_GT(pid, 0);
    EXPECT_EQ(WaitForProcess(pid, 0), WaitOutcome::Exited);
    EXPECT_EQ(ReadOutput(), "partial\n");
}

TEST_F(ProcessTest, WaitRefusesWhatIsNotAChild) {
    EXPECT_EQ(WaitForProcess(0, 0), WaitOutcome::Failed);
    EXPECT_EQ(WaitForProcess(-1, 100), WaitOutcome::Failed);
    pid_t parent = getppid();
    EXPECT_EQ(WaitForProcess(parent, 0), WaitOutcome::Failed);
    EXPECT_EQ(WaitForProcess(parent, 50), WaitOutcome::Failed);
    EXPECT_EQ(kill(parent, 0), 0) << "a process that is not a child must not be killed";
}

TEST_F(ProcessTest, WaitingTwiceFailsTheSecondTime) {
    int pid = Start("/bin/sh " + Script("true\n"));
    ASSERT_GT(pid, 0);
    EXPECT_EQ(WaitForProcess(pid, 0), WaitOutcome::Exited);
    EXPECT_EQ(WaitForProcess(pid, 0), WaitOutcome::Failed);
}
