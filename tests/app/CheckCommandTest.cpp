// Tests of `vexl check` through the built program: the folder of broken pages
// under tests/check/pages gives each of its messages once, in the expected
// words and places; correct pages give none.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "app/ProgramRun.h"

namespace {

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(CheckCommandTest, BrokenPagesGiveEachExpectedMessageOnce)
{
    const std::string folder = std::string(VEXL_SOURCE_DIR) + "/tests/check";
    const ProgramRun run = RunVexl("check pages", folder);
    EXPECT_EQ(run.Status, 1);
    EXPECT_EQ(run.Out, ReadFile(folder + "/pages.expected"));
    EXPECT_EQ(run.Err, "vexl check: 6 files, 26 errors, 4 warnings\n");
}

TEST(CheckCommandTest, ExampleSiteIsClean)
{
    const ProgramRun run = RunVexl("check --ini examples/site/vexl.ini examples/site");
    EXPECT_EQ(run.Status, 0);
    EXPECT_EQ(run.Out, "");
}

// The golden pages that hold deliberate mistakes, to show what the engine
// does with them, and the folders of pages that show script messages or name
// files outside the site; every other golden page must check clean.
TEST(CheckCommandTest, CorrectGoldenPagesAreClean)
{
    const std::set<std::string> deliberate = {
        "tests/golden/blocks/if_branches.vxl",      "tests/golden/blocks/if_last_elseif.vxl",
        "tests/golden/blocks/if_missing_endif.vxl", "tests/golden/blocks/if_missing_endif_true.vxl",
        "tests/golden/blocks/if_truth.vxl",         "tests/golden/blocks/loop_basic.vxl",
        "tests/golden/blocks/loop_condition.vxl",   "tests/golden/blocks/loop_missing_end.vxl",
        "tests/golden/blocks/loop_plan.vxl",        "tests/golden/include/folder.vxl",
        "tests/golden/include/messages.vxl",        "tests/golden/include/missing_file.vxl",
        "tests/golden/include/sub/fails_level2.vxl", "tests/golden/links/forms.vxl",
        "tests/golden/limits/misspelt_iterator.vxl",
        "tests/golden/translation/store.vxl",       "tests/golden/translation/in_memory.vxl",
        "tests/golden/translation/repeated.vxl",    "tests/golden/usertags/box.vxl",
        "tests/golden/variables/evaluation.vxl",    "tests/golden/walker/directives.vxl",
        "tests/golden/walker/plain.vxl",           "tests/golden/walker/unclosed_if_in_loop.vxl",
    };
    // Names that the cases hand in from outside, as `--var NAME=...` in their
    // .args or .sh files, count as set.
    std::string names;
    const std::regex passed(R"(--var\s+["']?([A-Za-z_][A-Za-z0-9_.]*)=)");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(std::string(VEXL_SOURCE_DIR) + "/tests/golden")) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".args" && extension != ".sh")
            continue;
        std::string text = ReadFile(entry.path().string());
        std::replace(text.begin(), text.end(), '\n', ' ');
        for (std::sregex_iterator it(text.begin(), text.end(), passed), end; it != end; ++it)
            names += " --var '" + (*it)[1].str() + "'";
    }
    const ProgramRun run = RunVexl("check" + names + " tests/golden");
    std::istringstream lines(run.Out);
    std::string line;
    while (std::getline(lines, line)) {
        const std::string file = line.substr(0, line.find(':'));
        // Pages that show messages, and the confinement and safe-output
        // pages, which name files outside the site on purpose.
        const bool showsMessages = file.rfind("tests/golden/messages/", 0) == 0 ||
                                   file.rfind("tests/golden/confine/", 0) == 0 ||
                                   file.rfind("tests/golden/safe/", 0) == 0;
        EXPECT_TRUE(showsMessages || deliberate.count(file) != 0) << line;
    }
}

TEST(CheckCommandTest, JsonFormatHoldsEveryField)
{
    const std::string folder = std::string(VEXL_SOURCE_DIR) + "/tests/check";
    const ProgramRun run = RunVexl("check --format json pages/tags.vxl", folder);
    EXPECT_EQ(run.Status, 1);
    EXPECT_EQ(run.Out.rfind("{\"files\": 1, \"errors\": 11, \"warnings\": 0, \"messages\": [\n", 0), 0u) << run.Out;
    EXPECT_NE(run.Out.find("  {\"file\": \"pages/tags.vxl\", \"line\": 2, \"column\": 1, \"severity\": \"error\", "
                           "\"message\": \"unknown tag <SETVRA>, which goes to the browser as it is; did you mean "
                           "<SETVAR>?\"},\n"),
              std::string::npos)
        << run.Out;
    EXPECT_EQ(run.Out.substr(run.Out.size() - 5), "}\n]}\n");
}

TEST(CheckCommandTest, WarningsAloneLeaveTheStatusZero)
{
    const std::string folder = std::string(VEXL_SOURCE_DIR) + "/tests/check";
    const ProgramRun run = RunVexl("check --format json pages/part.inc", folder);
    EXPECT_EQ(run.Status, 0);
    EXPECT_NE(run.Out.find("\"errors\": 0, \"warnings\": 1"), std::string::npos) << run.Out;
}

TEST(CheckCommandTest, UsageErrors)
{
    EXPECT_EQ(RunVexl("check").Status, 2);
    EXPECT_EQ(RunVexl("check --format xml examples/site").Status, 2);
    EXPECT_EQ(RunVexl("check --bogus examples/site").Status, 2);
    const ProgramRun missing = RunVexl("check no/such/folder");
    EXPECT_EQ(missing.Status, 1);
    EXPECT_EQ(missing.Out, "no/such/folder:0:0: error: no such file or folder\n");
}

}  // namespace

namespace {

// The page of the README, taken from the README itself so that the two
// cannot drift apart: it checks clean and does what its text says.
TEST(CheckCommandTest, ReadmePageChecksCleanAndDoesWhatItsTextSays)
{
    const std::string readme = ReadFile(std::string(VEXL_SOURCE_DIR) + "/README.md");
    const std::size_t section = readme.find("## A page");
    ASSERT_NE(section, std::string::npos);
    const std::size_t start = readme.find("```html\n", section);
    ASSERT_NE(start, std::string::npos);
    const std::size_t end = readme.find("```\n", start + 8);
    ASSERT_NE(end, std::string::npos);
    const std::string page = readme.substr(start + 8, end - start - 8);

    TemporaryFolder scratch;
    const char* folder = scratch.Get().c_str();
    scratch.Write("page.vxl", page);
    scratch.Write("vexl.ini", "[QuinceConfig]\nSessionStore = " + scratch.Get() + "/sessions.db\n");
    const ProgramRun check = RunVexl("check page.vxl", folder);
    EXPECT_EQ(check.Status, 0);
    EXPECT_EQ(check.Out, "");
    const ProgramRun first = RunVexl("render page.vxl --ini vexl.ini --session 5", folder);
    const ProgramRun second = RunVexl("render page.vxl --ini vexl.ini --session 5", folder);
    EXPECT_NE(first.Out.find("<h1 title=\"Corner Shop orders\">"), std::string::npos) << first.Out;
    EXPECT_NE(first.Out.find("<p class=\"odd\" data-row=\"1\">"), std::string::npos) << first.Out;
    EXPECT_NE(first.Out.find("<p class=\"even\" data-row=\"2\">"), std::string::npos) << first.Out;
    EXPECT_NE(first.Out.find("<p class=\"odd\" data-row=\"3\">"), std::string::npos) << first.Out;
    EXPECT_NE(first.Out.find("You have been here 1 times."), std::string::npos) << first.Out;
    EXPECT_NE(second.Out.find("You have been here 2 times."), std::string::npos) << second.Out;
    EXPECT_NE(first.Out.find("<A href='?_htmlfile=next.vxl&shop.s=Corner+Shop&row.i=3'>"), std::string::npos)
        << first.Out;
}

}  // namespace
