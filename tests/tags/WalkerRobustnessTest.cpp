// Hand-made and generated broken HTML through `vexl render`: every run ends normally, and
// the text between tags comes out in order, byte for byte, up to the first
// element that runs on the server (a SCRIPT without a language is Quince, and
// a failing one ends the page as it should).
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "tags/TagTraits.h"
#include "values/HtmlObjectList.h"
#include "values/HtmlTagIds.h"

namespace fs = std::filesystem;

namespace {

// Pages of ordinary and broken HTML made from a fixed seed, so that every
// machine walks the same ones: tags with and without attributes in every kind
// of quoting, comments, declarations, raw text, entities, stray '<' and '>',
// unclosed quotes, line ends of every kind, and deep nesting.
std::string GeneratedPage(std::mt19937& random) {
    static const char* const kTags[] = {"p", "div", "span", "em", "b", "i", "ul", "li", "table", "tr", "td", "h1",
                                        "pre", "code", "section", "label", "button", "form", "textarea"};
    static const char* const kPieces[] = {
        "plain words ", "caf\xc3\xa9 ", "a < b ", "c > d ", "&amp; &lt;x&gt; ", "&#169; ", "\r\n", "\n", "\r",
        "<!-- a comment with <b>tags</b> -->", "<!DOCTYPE html>", "<br>", "<br/>", "<img src=a.png alt='x y'>",
        "<hr noshade>", "<input value=\"quoted 'single' inside\">", "<a href=\"page.html\">link</a>",
        "<a name=top>", "<span title='unclosed>", "<p class=\"a\"b>", "<script type=\"text/javascript\">if (a < b) { x = \"</p>\"; }</script>",
        "<style>p > b { color: red }</style>", "</nonsense>", "<>", "< p>", "<p/>", "<=>", "<<<", ">>>", "\t",
        "<div data-x=a=b=c>", "<td nowrap width=50%>", "<b\nclass=\"line\"\n>split</b>", "<?xml version=\"1.0\"?>",
    };
    std::string page;
    const unsigned pieces = 20 + random() % 200;
    std::vector<const char*> open;
    for (unsigned i = 0; i < pieces; ++i) {
        switch (random() % 4) {
            case 0:
                open.push_back(kTags[random() % (sizeof kTags / sizeof *kTags)]);
                page += std::string("<") + open.back() + (random() % 3 == 0 ? " class=\"c\" id=x" : "") + ">";
                break;
            case 1:
                if (!open.empty()) {
                    page += std::string("</") + open.back() + ">";
                    open.pop_back();
                }
                break;
            default:
                page += kPieces[random() % (sizeof kPieces / sizeof *kPieces)];
                break;
        }
    }
    return page;
}

std::vector<fs::path> FindPages(const fs::path& generated) {
    std::vector<fs::path> pages;
    for (const auto& entry : fs::directory_iterator(VEXL_SOURCE_DIR "/tests/values/robustness")) {
        if (entry.path().extension() == ".html") pages.push_back(entry.path());
    }
    std::mt19937 random(20261125);
    for (int i = 0; i < 200; ++i) {
        pages.push_back(generated / ("page" + std::to_string(i) + ".html"));
        std::ofstream(pages.back(), std::ios::binary) << GeneratedPage(random);
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
    char folder[] = "/tmp/vexl-robustness-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::vector<fs::path> pages = FindPages(folder);
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
    fs::remove_all(folder);
}

}  // namespace
