// Real and broken HTML through `vexl render`: every run ends normally, and
// the text between tags comes out in order, byte for byte, up to the first
// element that runs on the server (a SCRIPT without a language is Quince, and
// a failing one ends the page as it should).
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "tags/TagTraits.h"
#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> FindPages() {
    std::vector<fs::path> pages;
    std::error_code error;
    for (const char* root : {"/usr/share/doc", VEXL_SOURCE_DIR "/tests/values/robustness"}) {
        for (auto it = fs::recursive_directory_iterator(root, fs::directory_options::skip_permission_denied, error);
             it != fs::recursive_directory_iterator(); it.increment(error)) {
            if (error) break;
            const std::string extension = it->path().extension().string();
            if ((extension == ".html" || extension == ".htm") && it->is_regular_file(error) &&
                !it->is_symlink(error)) {
                pages.push_back(it->path());
            }
        }
    }
    return pages;
}

// The text objects that the walker must pass through unchanged: those before
// the first tag that is handled on the server.
std::vector<std::string> ExpectedTexts(const fs::path& page) {
    std::vector<std::string> texts;
    const HtmlObjectList list(page.c_str());
    for (int i = 0; const HtmlObject* object = list.GetEntry(i); ++i) {
        const int id = object->GetTagId();
        if (GetTagTraits(id).ChangesLaterText) break;
        if (id == TagId::Text && object->GetText().IsNotEmpty()) texts.push_back(object->GetText().ToStd());
    }
    return texts;
}

TEST(WalkerRobustness, EveryPageRendersAndKeepsItsText) {
    const std::vector<fs::path> pages = FindPages();
    int rendered = 0;
    for (const fs::path& page : pages) {
        const std::string command = "'" VEXL_PROGRAM "' render '" + page.string() + "' 2>/dev/null";
        FILE* pipe = popen(command.c_str(), "r");
        ASSERT_NE(pipe, nullptr);
        std::string output;
        char buffer[65536];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
        const int status = pclose(pipe);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << page;
        std::size_t at = 0;
        for (const std::string& text : ExpectedTexts(page)) {
            const std::size_t found = output.find(text, at);
            ASSERT_NE(found, std::string::npos) << page << ": lost text \"" << text.substr(0, 80) << "\"";
            at = found + text.size();
        }
        ++rendered;
    }
    EXPECT_EQ(static_cast<int>(pages.size()), rendered);
}

}  // namespace
