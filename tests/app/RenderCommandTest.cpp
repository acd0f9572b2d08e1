// Tests of src/app/RenderCommand.cpp through the built program: the command
// line of `vexl render`, its exit status, the header block and the bytes of
// the body.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct RunResult {
    int Status = -1;
    std::string Out;
    std::string Err;
};

class RenderCommandTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        Work = Temporary.Get();
    }

    void Write(const std::string& name, const std::string& bytes)
    {
        std::ofstream out(Work + "/" + name, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    static std::string Read(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    }

    // Runs `vexl ARGUMENTS` (already quoted for the shell) in the scratch folder.
    RunResult Run(const std::string& arguments)
    {
        std::string command = "cd '" + Work + "' && '" + std::string(VEXL_PROGRAM) + "' " + arguments + " > out.bin 2> err.txt";
        int status = std::system(command.c_str());
        RunResult result;
        result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.Out = Read(Work + "/out.bin");
        result.Err = Read(Work + "/err.txt");
        return result;
    }

    TemporaryFolder Temporary;
    std::string Work;
};

TEST_F(RenderCommandTest, BodyIsWrittenByteForByte)
{
    Write("page.vxl", std::string("a\0b\r\n\xff tail", 10));
    RunResult result = Run("render page.vxl");
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Out, std::string("a\0b\r\n\xff tail", 10));
    EXPECT_EQ(result.Err, "");
}

TEST_F(RenderCommandTest, HeadersComeFirstInListOrderThenAnEmptyLine)
{
    Write("page.vxl", "<SETHEADER name=\"X-First\" value=\"1\"><SETHEADER name=\"Content-Type\" value=\"text/plain\">body");
    Write("test.ini", "[QuinceConfig]\nSessionStore = " + Work + "/sessions.db\n");
    RunResult result = Run("render page.vxl --headers --session 77 --ini test.ini");
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Out, "x-first: 1\ncontent-type: text/plain\nhttp_session_id: 77\n\nbody");
}

TEST_F(RenderCommandTest, WithoutSessionTheSessionPairIsZero)
{
    Write("page.vxl", "x");
    EXPECT_EQ(Run("render page.vxl --headers").Out, "http_session_id: 0\n\nx");
}

TEST_F(RenderCommandTest, VariablesKeepOrderTypeAndEverythingAfterTheFirstEquals)
{
    Write("page.vxl", "<i a=\"(n + 1)\" b=\"(s)\" c=\"(t)\">");
    RunResult result = Run("render page.vxl --var n.i=41 --var 's=x=y' --var t=one --var t=two");
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Out, "<i a=\"42\" b=\"x=y\" c=\"one\ntwo\">\n");
}

TEST_F(RenderCommandTest, OptionsMayStandBeforeThePage)
{
    Write("page.vxl", "<i a=\"(v)\">");
    EXPECT_EQ(Run("render --var v=1 page.vxl").Out, "<i a=\"1\">\n");
}

TEST_F(RenderCommandTest, MissingPageFileIsReportedInTheOutput)
{
    RunResult result = Run("render gone.vxl");
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Out, "<P>Unable to open file '" + Work + "/gone.vxl'.</P>\n");
}

TEST_F(RenderCommandTest, TextTheLibraryPrintsItselfStandsInFront)
{
    Write("outer.vxl", "before<INCLUDE file=\"inner.vxl\">after");
    Write("inner.vxl", "<INCLUDE file=\"missing.vxl\">");
    RunResult result = Run("render outer.vxl --headers");
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Out.rfind("Failed to parse " + Work + "/inner.vxl", 0), 0u) << result.Out;
    EXPECT_NE(result.Out.find("http_session_id: 0\n\nbefore"), std::string::npos) << result.Out;
}

TEST_F(RenderCommandTest, UsageErrorsExitWithTwoAndOneLine)
{
    const char* cases[] = {"render", "render a.vxl b.vxl", "render a.vxl --bogus", "render a.vxl --var novalue",
                           "render a.vxl --session x", "render a.vxl --session 4294967296", "render a.vxl --expiry",
                           "render a.vxl --ini", "frobnicate", ""};
    for (const char* arguments : cases) {
        RunResult result = Run(arguments);
        EXPECT_EQ(result.Status, 2) << arguments;
        EXPECT_EQ(result.Out, "") << arguments;
        ASSERT_FALSE(result.Err.empty()) << arguments;
        EXPECT_EQ(result.Err.find('\n'), result.Err.size() - 1) << arguments << ": " << result.Err;
    }
}

TEST_F(RenderCommandTest, HelpDescribesEveryOption)
{
    for (const char* arguments : {"--help", "render --help"}) {
        RunResult result = Run(arguments);
        EXPECT_EQ(result.Status, 0) << arguments;
        for (const char* option : {"--ini", "--var", "--session", "--expiry", "--translations", "--headers"})
            EXPECT_NE(result.Out.find(option), std::string::npos) << arguments << " lacks " << option;
    }
}

}  // namespace
