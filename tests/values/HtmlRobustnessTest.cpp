// Robustness of the page tokenizer on real and broken markup: every parse
// ends, and the objects re-form the source byte for byte (text objects hold
// their bytes, tag spans run from '<' to '>' and tile the input with them).
// Sources: the HTML files under /usr/share/doc (skipped if there are none),
// the broken pages in tests/values/robustness/, generated mixes of markup
// fragments, and inputs built to make a careless tokenizer quadratic.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "values/HtmlObjectList.h"
#include "values/HtmlTestSupport.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxDocFiles = 2000;  // enough to meet every kind of page there
constexpr int kGeneratedCases = 3000;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}

// Parses `source` twice, from memory and from `path` if given, and checks both.
void ExpectReforms(const std::string& source, const std::string& name) {
    HtmlObjectList list(NyxString(name.c_str()), source);
    EXPECT_EQ(html_test::CheckReformsSource(list, source), "") << name;
}

std::vector<fs::path> FilesWithExtensions(const fs::path& root, std::size_t limit) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::recursive_directory_iterator it(root, fs::directory_options::skip_permission_denied, error);
    for (; !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        if (files.size() >= limit) break;
        const fs::path& path = it->path();
        const std::string extension = path.extension().string();
        if ((extension == ".html" || extension == ".htm") && it->is_regular_file(error)) files.push_back(path);
    }
    return files;
}

TEST(HtmlRobustnessTest, DocumentationPagesReformTheirSource) {
    const std::vector<fs::path> files = FilesWithExtensions("/usr/share/doc", kMaxDocFiles);
    if (files.empty()) GTEST_SKIP() << "no HTML files under /usr/share/doc";
    for (const fs::path& path : files) {
        const std::string source = ReadFile(path);
        HtmlObjectList list{NyxString(path.string().c_str())};
        EXPECT_EQ(html_test::CheckReformsSource(list, source), "") << path;
    }
}

TEST(HtmlRobustnessTest, BrokenPagesReformTheirSource) {
    const fs::path folder = fs::path(VEXL_SOURCE_DIR) / "tests" / "values" / "robustness";
    const std::vector<fs::path> files = FilesWithExtensions(folder, kMaxDocFiles);
    ASSERT_FALSE(files.empty()) << folder;
    for (const fs::path& path : files) {
        const std::string source = ReadFile(path);
        HtmlObjectList list{NyxString(path.string().c_str())};
        EXPECT_EQ(html_test::CheckReformsSource(list, source), "") << path;
        // Cut short at every length: an end of file may fall anywhere.
        for (std::size_t size = 0; size < source.size(); ++size) {
            ExpectReforms(source.substr(0, size), path.filename().string() + " cut at " + std::to_string(size));
        }
    }
}

TEST(HtmlRobustnessTest, BrokenPagesKeepWhatTheyShould) {
    const fs::path folder = fs::path(VEXL_SOURCE_DIR) / "tests" / "values" / "robustness";
    const std::string source = ReadFile(folder / "raw_text_edges.html");
    HtmlObjectList list(NyxString("raw"), source);
    ASSERT_GE(list.GetCount(), 3u);
    EXPECT_EQ(list.GetEntry(0)->GetTagId(), TagId::Script);
    EXPECT_EQ(list.GetEntry(1)->GetText().ToStd(), "\nif a < b then print \"</div>\"\nx = \"</scriptx>\"\n");
    EXPECT_EQ(list.GetEntry(2)->IsEndTag(), 1);
    EXPECT_EQ(list.GetEntry(2)->GetLineNum(), 4u);
}

// A fixed sequence, so that a failure repeats.
struct Random {
    uint64_t State;
    explicit Random(uint64_t seed) : State(seed * 0x9E3779B97F4A7C15ULL + 1) {}
    unsigned Next(unsigned bound) {
        State ^= State << 13;
        State ^= State >> 7;
        State ^= State << 17;
        return static_cast<unsigned>(State % bound);
    }
};

TEST(HtmlRobustnessTest, GeneratedMarkupReformsItsSource) {
    const std::vector<std::string> fragments = {
        "<", ">", "</", "/>", "<a", "<b ", "<LOOP", "</loop>", "<!--", "-->", "--", "<!", "<?", "?>", "\"", "'",
        "=", " ", "\t", "\n", "\r\n", "\r", "<script>", "</SCRIPT>", "</script", "<style x=1>", "</style >",
        "x", "text ", "href=", "a=b", "<br/>", std::string(1, '\0'), "\xff", "<IF cond=\"(a<b)\">", "<ELSE>",
        "<![CDATA[", "]]>", "<!DOCTYPE html>", "&amp;", "<3", "a < b", "<input disabled>"};
    for (int round = 0; round < kGeneratedCases; ++round) {
        Random random(static_cast<uint64_t>(round));
        std::string source;
        const unsigned pieces = random.Next(120);
        for (unsigned i = 0; i < pieces; ++i) {
            if (random.Next(10) == 0) {
                source += static_cast<char>(random.Next(256));
            } else {
                source += fragments[random.Next(static_cast<unsigned>(fragments.size()))];
            }
        }
        ExpectReforms(source, "generated case " + std::to_string(round));
        if (HasFailure()) return;
    }
}

// Each of these would take quadratic time if a tag that fails to close were
// scanned again from the next '<'; together they must parse in well under a second.
TEST(HtmlRobustnessTest, UnclosedMarkupParsesInLinearTime) {
    constexpr std::size_t kRepeats = 200000;
    const std::vector<std::string> units = {"<", "<a ", "<a x='", "<a x=\"y\" ", "<!--", "<!", "<?", "</a",
                                            "<script>", "<script></scrip", "<a\n", "<p x=y "};
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& unit : units) {
        std::string source;
        source.reserve(unit.size() * kRepeats);
        for (std::size_t i = 0; i < kRepeats; ++i) source += unit;
        ExpectReforms(source, "repeated " + unit);
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);  // linear: a few milliseconds each; quadratic: hours
}

TEST(HtmlRobustnessTest, TheCheckNoticesAChangedList) {
    const std::string source = "a<b>c</b>";
    HtmlObjectList list(NyxString("x"), source);
    auto* changed = new HtmlObject(*list.GetEntry(2));
    changed->SetText("C");
    list.ReplaceEntry(2, changed);
    EXPECT_NE(html_test::CheckReformsSource(list, source), "");
    EXPECT_NE(html_test::CheckReformsSource(list, source + "x"), "");
}

TEST(HtmlRobustnessTest, ManyTagsAndLongTextsReformTheirSource) {
    std::string source;
    for (int i = 0; i < 5000; ++i) {
        source += "<td class=\"c" + std::to_string(i) + "\" data-long-attribute-name='a value longer than fifteen'>";
        source += std::string(static_cast<std::size_t>(i % 300), static_cast<char>('a' + i % 26));
        source += (i % 7 == 0) ? "\r\n" : "\n";
    }
    ExpectReforms(source, "many tags");
}

}  // namespace
