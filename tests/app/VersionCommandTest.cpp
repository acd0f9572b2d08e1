// Tests of `vexl --version` and `-V`.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "app/ProgramRun.h"

TEST(VersionCommandTest, NamesTheVersionAndTheBuildsFeatures)
{
    const ProgramRun run = RunVexl("--version");
    EXPECT_EQ(run.Status, 0);
    EXPECT_EQ(run.Out.rfind("vexl " VEXL_TEST_VERSION "\n", 0), 0u) << run.Out;
    EXPECT_NE(run.Out.find("\nFastCGI: "), std::string::npos) << run.Out;
    EXPECT_NE(run.Out.find("\nsanitizers: "), std::string::npos) << run.Out;
    EXPECT_NE(run.Out.find("\nhtml module: /"), std::string::npos) << run.Out;  // found beside the library
    EXPECT_EQ(RunVexl("-V").Out, run.Out);
}

// The program finds its library through a run path with no empty entry: the
// loader reads an empty one as the working folder, which for a CGI program is
// a site's folder.
TEST(VersionCommandTest, RunPathNamesNoWorkingFolder)
{
    const std::string command = "readelf -d '" VEXL_PROGRAM "' 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string text;
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, n);
    pclose(pipe);
    if (text.empty())
        GTEST_SKIP() << "readelf is not installed";
    const std::size_t at = text.find("path: [");
    ASSERT_NE(at, std::string::npos) << text;
    const std::string path = text.substr(at + 7, text.find(']', at) - at - 7);
    EXPECT_FALSE(path.empty() || path.front() == ':' || path.back() == ':' || path.find("::") != std::string::npos)
        << path;
}
