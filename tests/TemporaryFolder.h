// TemporaryFolder: a fresh folder for one test's files, under $VEXL_TEST_TMP
// when set, removed with everything in it when the test ends.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <stdlib.h>

class TemporaryFolder {
public:
    TemporaryFolder() {
        const char* base = std::getenv("VEXL_TEST_TMP");
        std::string parent = (base != nullptr && base[0] != '\0') ? base : "/tmp";
        std::error_code ignored;
        std::filesystem::create_directories(parent, ignored);
        std::string pattern = parent + "/vexl-test-XXXXXX";
        if (mkdtemp(pattern.data()) != nullptr) Path = pattern;
    }
    ~TemporaryFolder() {
        if (Path.empty()) return;
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Get() const { return Path; }
    std::string operator/(const std::string& name) const { return Path + "/" + name; }
    // Writes `bytes` to the file `name` in the folder; gives its path.
    std::string Write(const std::string& name, const std::string& bytes) const {
        const std::string file = *this / name;
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

private:
    std::string Path;  // empty if the folder could not be made
};
