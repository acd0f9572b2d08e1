// Hostile pages: deep nesting of every kind ends with a message instead of
// exhausting the stack, and long runs of blocks stay linear. Each page is
// rendered by the `vexl` program, as a web server would run it.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr int kCount = 100000;
const char* const kDepthMessage = "nest deeper than 200 levels.";

std::string Repeat(const std::string& piece, int times) {
    std::string text;
    text.reserve(piece.size() * static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

class HostilePages : public testing::Test {
protected:
    void SetUp() override { Folder = Temporary.Get(); }

    std::string Render(const std::string& page) {
        const fs::path path = Folder / "page.vxl";
        std::ofstream(path, std::ios::binary) << page;
        const std::string command = "cd '" + Folder.string() + "' && TMPDIR='" + Folder.string() + "' '" +
                                    VEXL_PROGRAM + "' render page.vxl 2>&1";
        std::string output;
        FILE* pipe = popen(command.c_str(), "r");
        char buffer[65536];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
        pclose(pipe);
        return output;
    }

    TemporaryFolder Temporary;
    fs::path Folder;
};

TEST_F(HostilePages, NestedIfBlocksEndWithTheDepthMessage) {
    const std::string output =
        Render(Repeat("<IF condition=\"1\">", kCount) + "core" + Repeat("<ENDIF>", kCount) + "after");
    EXPECT_NE(output.find(kDepthMessage), std::string::npos);
    EXPECT_EQ(output.find("core"), std::string::npos);
    EXPECT_NE(output.find("after"), std::string::npos);
}

TEST_F(HostilePages, NestedLoopsEndWithTheDepthMessage) {
    const std::string loop = "<LOOP initialiser=\"i = 0\" condition=\"i < 1\" iterator=\"i = i + 1\">";
    const std::string output = Render(Repeat(loop, kCount) + "core" + Repeat("</LOOP>", kCount) + "after");
    EXPECT_NE(output.find(kDepthMessage), std::string::npos);
    EXPECT_NE(output.find("after"), std::string::npos);
}

// (Their time is measured by bench/hostile_pages.sh.)
TEST_F(HostilePages, ThousandsOfSequentialAndUnclosedIfBlocksGiveTheirOutput) {
    std::string output = Render(Repeat("<IF condition=\"0\">x<ELSE>y<ENDIF>", kCount));
    EXPECT_EQ(output, Repeat("y", kCount));
    output = Render("<p>" + Repeat("<IF condition=\"0\">x", kCount));
    EXPECT_EQ(output, "<p>\n");
}

TEST_F(HostilePages, DeepParenthesesFailTheCompileWithAMessage) {
    const std::string output =
        Render("<SCRIPT>print " + Repeat("(", kCount) + "1" + Repeat(")", kCount) + "</SCRIPT>after");
    EXPECT_NE(output.find("Quince"), std::string::npos) << output.substr(0, 300);
    EXPECT_EQ(output.find("after"), std::string::npos);
}

TEST_F(HostilePages, SelfPrintingUserTagEndsWithTheDepthMessage) {
    const std::string output = Render(
        "<SCRIPT>\nproc again(var page, int position)\n  print \"<again>\"\nendproc\n</SCRIPT>"
        "<DEFTAG name=\"again\" proc=\"again\" parseoutput=\"1\"><again>after");
    EXPECT_NE(output.find(kDepthMessage), std::string::npos) << output.substr(0, 300);
    EXPECT_NE(output.find("after"), std::string::npos);
}

}  // namespace
