// libFuzzer target for whole pages: any bytes are rendered as a page under
// low limits (one second, small memory and output, shallow nesting), as a
// visitor's careless or hostile page would run on a server. The page must
// end, within its limits, without a crash or a sanitizer report.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "page/VexlPage.h"

namespace {

// The limits, in a configuration file of the fuzzer's own, written once.
const std::string& LimitsFile() {
    static const std::string path = [] {
        char folder[] = "/tmp/vexl-fuzz-page-XXXXXX";
        if (mkdtemp(folder) == nullptr) std::abort();
        std::string file = std::string(folder) + "/limits.ini";
        std::FILE* out = std::fopen(file.c_str(), "w");
        if (out == nullptr) std::abort();
        std::fputs(
            "[QuinceConfig]\n"
            "MaxRunSeconds = 1\n"
            "MaxSteps = 200000\n"
            "MaxMemory = 16M\n"
            "MaxOutputBytes = 1M\n"
            "MaxWalkDepth = 40\n"
            "MaxCallDepth = 100\n"
            "MaxParseDepth = 100\n"
            "SessionStore =\n",
            out);
        std::fclose(out);
        return file;
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size > 16384) return 0;
    const std::string text(reinterpret_cast<const char*>(data), size);
    NyxString output;
    {
        VexlPage page;
        page.SetIniPath(NyxString(LimitsFile().c_str()));
        page.SetOutput(&output);
        page.HtmlList = new HtmlObjectList(NyxString("/nonexistent/fuzz.vxl"), text);
        page.Process();
    }
    // The output bound holds, with room for the messages that end the page.
    if (output.GetSize() > 2 * 1024 * 1024) {
        std::fprintf(stderr, "a page wrote %u bytes past its 1 MiB bound\n", output.GetSize());
        std::abort();
    }
    return 0;
}
