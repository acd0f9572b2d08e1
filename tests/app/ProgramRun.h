// Runs the built `vexl` program through the shell and keeps its exit status,
// standard output and standard error, for tests of its commands.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

struct ProgramRun {
    int Status = -1;
    std::string Out;
    std::string Err;
};

// `arguments` are already quoted for the shell; the command runs in `folder`.
inline ProgramRun RunVexl(const std::string& arguments, const std::string& folder = VEXL_SOURCE_DIR)
{
    const char* scratch = std::getenv("VEXL_TEST_TMP");
    std::string parent = scratch && *scratch ? scratch : "/tmp";
    std::system(("mkdir -p '" + parent + "'").c_str());
    std::string pattern = parent + "/run-XXXXXX";
    ProgramRun result;
    if (mkdtemp(pattern.data()) == nullptr)
        return result;
    const std::string command = "cd '" + folder + "' && '" + std::string(VEXL_PROGRAM) + "' " + arguments + " > '" +
                                pattern + "/out' 2> '" + pattern + "/err'";
    const int status = std::system(command.c_str());
    result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    auto read = [](const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        return text.str();
    };
    result.Out = read(pattern + "/out");
    result.Err = read(pattern + "/err");
    std::system(("rm -rf '" + pattern + "'").c_str());
    return result;
}
