// Golden pages: every tests/golden/<area>/<case>.vxl is rendered by the
// `vexl` program and compared byte for byte with <case>.expected.
//
// Beside a case:
//   <case>.args     extra arguments for `vexl render`, one per line
//   <case>.sh       a script run instead (bash, in the case's folder), for
//                   cases that need several runs or a database; it gets
//                   $VEXL (the program) and $WORK (a fresh scratch folder)
// In .args, .sh and .expected, @DIR@ stands for the case's folder and
// @WORK@ for the scratch folder. Each run gets a TMPDIR of its own, which
// must be empty afterwards: the engine leaves no temporary file behind. The
// case's folder stands for a site's files: after the run every file in it has
// the same bytes and the same mode as before, and no file is added.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct GoldenCase {
    std::string Name;  // area_case
    fs::path Page;
};

void PrintTo(const GoldenCase& golden, std::ostream* out) { *out << golden.Page.string(); }

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

std::string Quote(const std::string& word) {
    std::string quoted = "'";
    for (char c : word) {
        if (c == '\'') quoted += "'\\''";
        else quoted += c;
    }
    return quoted + "'";
}

std::vector<GoldenCase> FindCases() {
    std::vector<GoldenCase> cases;
    const fs::path root = fs::path(VEXL_SOURCE_DIR) / "tests" / "golden";
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().extension() != ".vxl") continue;
        fs::path expected = entry.path();
        expected.replace_extension(".expected");
        if (!fs::exists(expected)) continue;
        std::string name = fs::relative(entry.path(), root).replace_extension("").string();
        for (char& c : name) {
            if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
        }
        cases.push_back({name, entry.path()});
    }
    std::sort(cases.begin(), cases.end(), [](const auto& a, const auto& b) { return a.Name < b.Name; });
    return cases;
}

// Every file below `folder`: its path, mode and bytes, as text to compare.
std::map<std::string, std::string> SnapshotFolder(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const auto mode = static_cast<unsigned>(fs::symlink_status(entry.path()).permissions());
        std::string facts = "mode " + std::to_string(mode) + "\n";
        if (entry.is_regular_file()) facts += ReadFile(entry.path());
        files[fs::relative(entry.path(), folder).string()] = facts;
    }
    return files;
}

std::string RunCommand(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return output;
    char buffer[65536];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
    pclose(pipe);
    return output;
}

class GoldenPages : public testing::TestWithParam<GoldenCase> {};

TEST_P(GoldenPages, RendersAsExpected) {
    const GoldenCase& golden = GetParam();
    const fs::path folder = golden.Page.parent_path();
    const std::string stem = golden.Page.stem().string();
    char scratchTemplate[] = "/tmp/vexl-golden-XXXXXX";
    ASSERT_NE(mkdtemp(scratchTemplate), nullptr);
    const fs::path scratch = scratchTemplate;
    const fs::path tmpdir = scratch / "tmp";
    const fs::path work = scratch / "work";
    fs::create_directories(tmpdir);
    fs::create_directories(work);

    auto substitute = [&](std::string text) {
        ReplaceAll(text, "@DIR@", folder.string());
        ReplaceAll(text, "@WORK@", work.string());
        return text;
    };

    std::string command = "cd " + Quote(folder.string()) + " && TMPDIR=" + Quote(tmpdir.string()) +
                          " VEXL=" + Quote(VEXL_PROGRAM) + " WORK=" + Quote(work.string()) + " ";
    const fs::path script = folder / (stem + ".sh");
    if (fs::exists(script)) {
        command += "bash " + Quote(script.string());
    } else {
        command += Quote(VEXL_PROGRAM) + " render " + Quote(golden.Page.filename().string());
        std::istringstream args(substitute(ReadFile(folder / (stem + ".args"))));
        for (std::string line; std::getline(args, line);) {
            if (!line.empty()) command += " " + Quote(line);
        }
    }
    command += " 2>&1";

    const auto filesBefore = SnapshotFolder(folder);
    const std::string actual = RunCommand(command);
    const std::string expected = substitute(ReadFile(folder / (stem + ".expected")));
    EXPECT_EQ(expected, actual) << "page: " << golden.Page;

    std::vector<std::string> leftovers;
    for (const auto& entry : fs::directory_iterator(tmpdir)) leftovers.push_back(entry.path().filename().string());
    EXPECT_TRUE(leftovers.empty()) << "temporary files left behind, first: " << leftovers.front();
    const auto filesAfter = SnapshotFolder(folder);
    for (const auto& [name, facts] : filesBefore) {
        const auto after = filesAfter.find(name);
        if (after == filesAfter.end()) {
            ADD_FAILURE() << "the run removed " << name;
        } else {
            EXPECT_TRUE(after->second == facts) << "the run changed the bytes or the mode of " << name;
        }
    }
    for (const auto& [name, facts] : filesAfter) {
        EXPECT_TRUE(filesBefore.count(name) != 0) << "the run left a file in the site: " << name;
    }
    fs::remove_all(scratch);
}

INSTANTIATE_TEST_SUITE_P(Pages, GoldenPages, testing::ValuesIn(FindCases()),
                         [](const testing::TestParamInfo<GoldenCase>& info) { return info.param.Name; });

}  // namespace
