// Tests of PageCache: a cached render writes the bytes of a fresh one (every
// golden page, rendered three times through one cache: the third writes the
// stretches the second kept), a changed file is read again
// on the next request, and the kept lists stay within the bound.
#include "page/PageCache.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"
#include "page/VexlPage.h"

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void Write(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

struct RenderOptions {
    std::string Ini;
    std::vector<std::pair<std::string, std::string>> Variables;
};

// One request, as `vexl render` makes it; through `cache` when given.
std::string Render(const fs::path& page, const RenderOptions& options, PageCache* cache) {
    NyxString output;
    {
        VexlPage request;
        if (!options.Ini.empty()) request.SetIniPath(NyxString(std::string_view(options.Ini)));
        if (cache != nullptr) request.UsePageCache(*cache);
        request.SetOutput(&output);
        request.SetFile(NyxString(std::string_view(page.string())));
        for (const auto& [name, value] : options.Variables) {
            request.CreateOneVariable(NyxString(std::string_view(name)), NyxString(std::string_view(value)),
                                      QuinceContext::VarListPage);
        }
        request.Process();
    }
    return output.ToStd();
}

// Runs in the page's folder, as the golden test does, and comes back.
class InFolder {
public:
    explicit InFolder(const fs::path& folder) : Before(fs::current_path()) { fs::current_path(folder); }
    ~InFolder() { fs::current_path(Before); }

private:
    fs::path Before;
};

// The golden pages that run from their arguments alone (no script around
// them, no session or translation store).
std::vector<std::pair<fs::path, RenderOptions>> GoldenPages() {
    std::vector<std::pair<fs::path, RenderOptions>> pages;
    const fs::path root = fs::path(VEXL_SOURCE_DIR) / "tests" / "golden";
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const fs::path& page = entry.path();
        if (page.extension() != ".vxl") continue;
        fs::path beside = page;
        if (!fs::exists(beside.replace_extension(".expected")) || fs::exists(beside.replace_extension(".sh"))) continue;
        RenderOptions options;
        bool usable = true;
        std::istringstream args(ReadFile(beside.replace_extension(".args")));
        for (std::string line; std::getline(args, line);) {
            if (line == "--ini" && std::getline(args, line)) {
                options.Ini = (page.parent_path() / line).string();
            } else if (line == "--var" && std::getline(args, line)) {
                const std::size_t equals = line.find('=');
                options.Variables.emplace_back(line.substr(0, equals), line.substr(equals + 1));
            } else if (!line.empty() && line != "--headers") {
                usable = false;
            }
        }
        if (usable) pages.emplace_back(page, options);
    }
    return pages;
}

TEST(PageCache, CachedRendersOfEveryGoldenPageMatchAFreshOne) {
    const auto pages = GoldenPages();
    ASSERT_GT(pages.size(), 20u);
    PageCache cache;
    for (const auto& [page, options] : pages) {
        const InFolder folder(page.parent_path());
        const std::string fresh = Render(page, options, nullptr);
        EXPECT_EQ(Render(page, options, &cache), fresh) << page << " (first render through the cache)";
        EXPECT_EQ(Render(page, options, &cache), fresh) << page << " (second render through the cache)";
        EXPECT_EQ(Render(page, options, &cache), fresh) << page << " (third render, from kept stretches)";
    }
    EXPECT_GT(cache.GetKeptCount(), 0u);
}

// Each request keeps the page and its included file; an edit to either is
// served on the next request, also when the size and the second stay the same.
TEST(PageCache, AChangedFileIsReadAgainOnTheNextRequest) {
    TemporaryFolder folder;
    const fs::path page = folder / "page.vxl";
    const fs::path part = folder / "part.vxl";
    Write(page, "<p>page one</p><INCLUDE file=\"part.vxl\"><SCRIPT>print 1 + 1</SCRIPT>\n");
    Write(part, "<i>part one</i>\n");
    PageCache cache;
    const std::string first = Render(page, {}, &cache);
    EXPECT_NE(first.find("page one"), std::string::npos);
    EXPECT_NE(first.find("part one"), std::string::npos);
    EXPECT_EQ(Render(page, {}, &cache), first);
    EXPECT_EQ(cache.GetKeptCount(), 2u);

    const auto time = fs::last_write_time(part);
    Write(part, "<i>part two</i>\n");
    fs::last_write_time(part, time + std::chrono::nanoseconds(1));
    const std::string second = Render(page, {}, &cache);
    EXPECT_NE(second.find("part two"), std::string::npos) << second;

    // Replaced by a new file, as editors and deployments do.
    Write(folder / "new.vxl", "<p>page two</p><INCLUDE file=\"part.vxl\"><SCRIPT>print 1 + 1</SCRIPT>\n");
    fs::rename(folder / "new.vxl", page);
    const std::string third = Render(page, {}, &cache);
    EXPECT_NE(third.find("page two"), std::string::npos) << third;
    EXPECT_NE(third.find("part two"), std::string::npos) << third;
    EXPECT_EQ(Render(page, {}, &cache), third);
}

// Pages beyond the bound push the least recently used out; with a bound of
// 0 nothing is kept, and the pages still render.
TEST(PageCache, KeptPagesStayWithinTheBound) {
    TemporaryFolder folder;
    std::vector<fs::path> pages;
    for (int i = 0; i < 12; ++i) {
        pages.push_back(folder / ("page" + std::to_string(i) + ".vxl"));
        Write(pages.back(), "<p>page " + std::to_string(i) + "</p>" + std::string(20000, 'x') + "\n");
    }
    PageCache probe;
    Render(pages[0], {}, &probe);
    const std::size_t perPage = probe.GetKeptBytes();
    ASSERT_GT(perPage, 20000u);

    const std::string ini = folder / "site.ini";
    Write(ini, "[QuinceConfig]\nPageCacheBytes = " + std::to_string(perPage * 3 + perPage / 2) + "\n");
    PageCache cache;
    for (int round = 0; round < 2; ++round) {
        for (const fs::path& page : pages) {
            const std::string output = Render(page, {ini, {}}, &cache);
            EXPECT_NE(output.find("page"), std::string::npos);
            EXPECT_LE(cache.GetKeptBytes(), cache.GetCapacity());
            EXPECT_LE(cache.GetKeptCount(), 3u);
        }
    }
    // The most recent stays; the oldest went.
    EXPECT_EQ(cache.GetKeptCount(), 3u);

    Write(ini, "[QuinceConfig]\nPageCacheBytes = 0\n");
    EXPECT_NE(Render(pages[0], {ini, {}}, &cache).find("page 0"), std::string::npos);
    EXPECT_EQ(cache.GetKeptCount(), 0u);
    EXPECT_EQ(cache.GetKeptBytes(), 0u);
}

}  // namespace
