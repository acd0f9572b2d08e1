// Golden tests of the Quince language: each scripts/NAME.qnc runs (its
// procedure main) in a fresh context whose output must equal scripts/NAME.expected
// byte for byte. A scripts/NAME.ini beside it becomes the context's
// configuration (the tests of the bounds set small limits there). The
// scripts' folder is cut out of the output, so reports read "NAME.qnc".
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quince/QuinceContext.h"

namespace {

const std::filesystem::path kScripts = std::filesystem::path(VEXL_SOURCE_DIR) / "tests/quince/scripts";

std::vector<std::string> ScriptNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(kScripts)) {
        if (entry.path().extension() == ".qnc") names.push_back(entry.path().stem().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

class ScriptGoldenTest : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        // Dates in the scripts are shown in UTC.
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST_P(ScriptGoldenTest, OutputMatches) {
    const std::string name = GetParam();
    const std::filesystem::path script = kScripts / (name + ".qnc");
    const std::filesystem::path expectedPath = kScripts / (name + ".expected");
    const std::filesystem::path ini = kScripts / (name + ".ini");
    ASSERT_TRUE(std::filesystem::exists(expectedPath)) << "no expected output " << expectedPath;

    QuinceContext context(nullptr);
    if (std::filesystem::exists(ini)) context.SetIniPath(NyxString(ini.string().c_str()));
    NyxString output;
    context.SetOutput(&output);
    if (context.CompileScriptFile(NyxString(script.string().c_str())) != 0) context.RunProcedure("main", nullptr);
    context.FlushOutput();

    std::string actual = output.ToStd();
    ReplaceAll(actual, kScripts.string() + "/", "");
    if (std::getenv("VEXL_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(expectedPath, std::ios::binary) << actual;
    }
    EXPECT_EQ(ReadFile(expectedPath), actual);
}

INSTANTIATE_TEST_SUITE_P(Scripts, ScriptGoldenTest, ::testing::ValuesIn(ScriptNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

}  // namespace
