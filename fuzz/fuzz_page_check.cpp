// libFuzzer target for `vexl check`'s page reading: any bytes as a page must
// give messages at places inside the page (line and column from 1), never a
// crash or a hang. Relative file names are looked for under a folder that
// does not exist; absolute ones are only opened when they are regular files.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "check/PageCheck.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    PageCheck check("/nonexistent-vexl-fuzz/page.vxl");
    check.Run(text);
    unsigned lines = 1;
    for (char c : text) lines += c == '\n';
    for (const CheckMessage& message : check.GetMessages()) {
        if (message.File != "/nonexistent-vexl-fuzz/page.vxl") continue;  // a script file's own message
        if (message.Line == 0 || message.Column == 0 || message.Line > lines + 1) {
            std::fprintf(stderr, "message outside the page: %s\n", FormatCheckMessage(message).c_str());
            std::abort();
        }
    }
    return 0;
}
