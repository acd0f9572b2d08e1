// Tests of the path functions: textual completion, folder search, temporary
// files and the program's own path.
#include "foundation/Paths.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

namespace {

NyxString Nyx(const std::string& text) { return NyxString(std::string_view(text)); }

std::string Cwd() {
    char buffer[4096];
    return getcwd(buffer, sizeof buffer) != nullptr ? std::string(buffer) : std::string();
}

void Touch(const std::string& path) {
    int handle = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_GE(handle, 0) << path;
    close(handle);
}

// Changes the working folder for one test and puts it back.
class WorkingFolder {
public:
    explicit WorkingFolder(const std::string& path) : Previous(Cwd()) { EXPECT_EQ(chdir(path.c_str()), 0); }
    ~WorkingFolder() { EXPECT_EQ(chdir(Previous.c_str()), 0); }

private:
    std::string Previous;
};

// Sets or clears an environment variable for one test and puts it back.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : Name(name) {
        if (const char* old = std::getenv(name)) Previous = old;
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    ~EnvironmentVariable() {
        if (Previous) {
            setenv(Name, Previous->c_str(), 1);
        } else {
            unsetenv(Name);
        }
    }

private:
    const char* Name;
    std::optional<std::string> Previous;
};

}  // namespace

TEST(PathsTest, CompletePathResolvesDotDot) {
    EXPECT_EQ(CompletePath("/a/b/../c").ToStd(), "/a/c");
    EXPECT_EQ(CompletePath("/a/b/c/../../d").ToStd(), "/a/d");
}

TEST(PathsTest, CompletePathDropsDotsAndRepeatedSlashes) {
    EXPECT_EQ(CompletePath("/a/./b//c/").ToStd(), "/a/b/c");
    EXPECT_EQ(CompletePath("//a///b").ToStd(), "/a/b");
}

TEST(PathsTest, CompletePathStopsAtTheRoot) {
    EXPECT_EQ(CompletePath("/..").ToStd(), "/");
    EXPECT_EQ(CompletePath("/../../x").ToStd(), "/x");
    EXPECT_EQ(CompletePath("/").ToStd(), "/");
    EXPECT_EQ(CompletePath("/a/..").ToStd(), "/");
}

TEST(PathsTest, CompletePathPutsRelativePathsUnderTheWorkingFolder) {
    TemporaryFolder folder;
    std::string base = CompletePath(Nyx(folder.Get())).ToStd();
    WorkingFolder here(folder.Get());
    std::string cwd = Cwd();
    EXPECT_EQ(CompletePath("a//b").ToStd(), cwd + "/a/b");
    EXPECT_EQ(CompletePath("./a/../b").ToStd(), cwd + "/b");
    EXPECT_EQ(CompletePath("").ToStd(), cwd);
    EXPECT_EQ(CompletePath(".").ToStd(), cwd);
    std::string parent = cwd.substr(0, cwd.rfind('/'));
    EXPECT_EQ(CompletePath("..").ToStd(), parent.empty() ? "/" : parent);
}

TEST(PathsTest, CompletePathGivesOneStringForOneFile) {
    TemporaryFolder folder;
    WorkingFolder here(folder.Get());
    std::string cwd = Cwd();
    NyxString expected = Nyx(cwd + "/page.vxl");
    EXPECT_EQ(CompletePath("page.vxl"), expected);
    EXPECT_EQ(CompletePath("./page.vxl"), expected);
    EXPECT_EQ(CompletePath(Nyx(cwd + "//sub/../page.vxl")), expected);
}

TEST(PathsTest, CompletePathDoesNotFollowLinks) {
    TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "real").c_str(), 0700), 0);
    ASSERT_EQ(mkdir((folder / "real/deep").c_str(), 0700), 0);
    ASSERT_EQ(symlink((folder / "real/deep").c_str(), (folder / "link").c_str()), 0);
    // Textually "link/.." is the folder itself, though the link's target's
    // parent is "real".
    EXPECT_EQ(CompletePath(Nyx(folder / "link/../x")).ToStd(), folder.Get() + "/x");
    EXPECT_EQ(CompletePath(Nyx(folder / "link")).ToStd(), folder.Get() + "/link");
}

TEST(PathsTest, PathSearchTakesTheFirstFolderThatHasTheFile) {
    TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "one").c_str(), 0700), 0);
    ASSERT_EQ(mkdir((folder / "two").c_str(), 0700), 0);
    Touch(folder / "two/start.qs");
    Touch(folder / "one/other.qs");
    std::string list = folder / "one;" + folder / "two/;";
    EXPECT_EQ(PathSearch(Nyx(list), "start.qs").ToStd(), folder / "two/start.qs");
    Touch(folder / "one/start.qs");
    EXPECT_EQ(PathSearch(Nyx(list), "start.qs").ToStd(), folder / "one/start.qs");
}

TEST(PathsTest, PathSearchGivesEmptyWhenNothingMatches) {
    TemporaryFolder folder;
    EXPECT_EQ(PathSearch(Nyx(folder.Get() + ";"), "absent.qs").ToStd(), "");
    EXPECT_EQ(PathSearch(Nyx(folder.Get()), "").ToStd(), "");
}

TEST(PathsTest, PathSearchSkipsFolders) {
    TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "a").c_str(), 0700), 0);
    ASSERT_EQ(mkdir((folder / "a/name").c_str(), 0700), 0);
    ASSERT_EQ(mkdir((folder / "b").c_str(), 0700), 0);
    Touch(folder / "b/name");
    EXPECT_EQ(PathSearch(Nyx(folder / "a;" + folder / "b"), "name").ToStd(), folder / "b/name");
}

TEST(PathsTest, PathSearchEmptyEntryAndDotMeanTheWorkingFolder) {
    TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "lib").c_str(), 0700), 0);
    Touch(folder / "here.qs");
    Touch(folder / "lib/here.qs");
    WorkingFolder here(folder.Get());
    EXPECT_EQ(PathSearch(Nyx(";" + folder / "lib"), "here.qs").ToStd(), "here.qs");
    EXPECT_EQ(PathSearch(Nyx(".;" + folder / "lib;"), "here.qs").ToStd(), "./here.qs");
    EXPECT_EQ(PathSearch("", "here.qs").ToStd(), "here.qs");
    // A final ';' ends the last entry and adds no working folder to the list.
    EXPECT_EQ(PathSearch(Nyx(folder / "lib;"), "here.qs").ToStd(), folder / "lib/here.qs");
    std::remove((folder / "lib/here.qs").c_str());
    EXPECT_EQ(PathSearch(Nyx(folder / "lib;"), "here.qs").ToStd(), "");
}

TEST(PathsTest, PathSearchTestsAnAbsoluteNameAsItIs) {
    TemporaryFolder folder;
    Touch(folder / "abs.qs");
    EXPECT_EQ(PathSearch("/nonexistent-folder;", Nyx(folder / "abs.qs")).ToStd(), folder / "abs.qs");
    EXPECT_EQ(PathSearch(Nyx(folder.Get()), Nyx(folder / "missing.qs")).ToStd(), "");
}

TEST(PathsTest, PathSearchFindsANameWithAFolderPart) {
    TemporaryFolder folder;
    ASSERT_EQ(mkdir((folder / "sub").c_str(), 0700), 0);
    Touch(folder / "sub/x.qs");
    EXPECT_EQ(PathSearch(Nyx(folder.Get()), "sub/x.qs").ToStd(), folder / "sub/x.qs");
}

TEST(PathsTest, TemporaryFilePathIsANewPrivateFileWithThePrefix) {
    TemporaryFolder folder;
    EnvironmentVariable tmpdir("TMPDIR", folder.Get().c_str());
    std::string first = GetTemporaryFilePath("vexl").ToStd();
    std::string second = GetTemporaryFilePath("vexl").ToStd();
    ASSERT_FALSE(first.empty());
    EXPECT_NE(first, second);
    EXPECT_EQ(first.rfind(folder.Get() + "/vexl", 0), 0u) << first;
    struct stat facts;
    ASSERT_EQ(stat(first.c_str(), &facts), 0);
    EXPECT_TRUE(S_ISREG(facts.st_mode));
    EXPECT_EQ(facts.st_size, 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
}

TEST(PathsTest, TemporaryFilePrefixCannotLeaveTheFolder) {
    TemporaryFolder folder;
    EnvironmentVariable tmpdir("TMPDIR", folder.Get().c_str());
    std::string path = GetTemporaryFilePath("../up").ToStd();
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(path.rfind(folder.Get() + "/.._up", 0), 0u) << path;
}

TEST(PathsTest, TemporaryDirectoryFollowsTmpdir) {
    TemporaryFolder folder;
    {
        EnvironmentVariable tmpdir("TMPDIR", (folder.Get() + "//").c_str());
        EXPECT_EQ(GetTemporaryDirectory().ToStd(), folder.Get());
    }
    {
        EnvironmentVariable tmpdir("TMPDIR", nullptr);
        EXPECT_EQ(GetTemporaryDirectory().ToStd(), "/tmp");
    }
    {
        EnvironmentVariable tmpdir("TMPDIR", (folder / "not-there").c_str());
        EXPECT_EQ(GetTemporaryDirectory().ToStd(), "/tmp");
    }
}

TEST(PathsTest, ExecutablePathIsThisProgram) {
    std::string path = GetExecutablePath().ToStd();
    ASSERT_FALSE(path.empty());
    EXPECT_EQ(path.front(), '/');
    struct stat named;
    struct stat running;
    ASSERT_EQ(stat(path.c_str(), &named), 0);
    ASSERT_EQ(stat("/proc/self/exe", &running), 0);
    EXPECT_EQ(named.st_ino, running.st_ino);
    EXPECT_EQ(named.st_dev, running.st_dev);
}
