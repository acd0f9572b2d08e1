// libFuzzer target for LOOP plans. The input is the body of a loop of three
// passes; the page is rendered once with plans and once with every pass
// walked, and the target aborts unless output and headers are the same
// bytes. Bodies that name SCRIPT, LOOP or INCLUDE are passed over: they are
// walked either way, and can run without end.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "page/VexlPage.h"

namespace {

std::string Render(const std::string& text, bool plans) {
    NyxString output;
    std::string headers;
    {
        VexlPage page;
        page.Walks->PlanLoops = plans;
        page.SetOutput(&output);
        page.HtmlList = new HtmlObjectList(NyxString("/nonexistent/fuzz.vxl"), text);
        page.Process();
        for (int i = 0; i < page.Headers.GetCount(); ++i) {
            headers += page.Headers.GetName(i).ToStd() + ": " + page.Headers.GetValue(i).ToStd() + "\n";
        }
    }
    return headers + "\n" + output.ToStd();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    if (size > 4096) return 0;
    const std::string body(reinterpret_cast<const char*>(data), size);
    std::string lower = body;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    for (const char* word : {"script", "loop", "include"}) {
        if (lower.find(word) != std::string::npos) return 0;
    }
    const std::string page =
        "<LOOP initialiser=\"i = 0\" condition=\"i < 3\" iterator=\"i = i + 1\">" + body + "</LOOP>";
    const std::string planned = Render(page, true);
    const std::string walked = Render(page, false);
    if (planned != walked) {
        std::fprintf(stderr, "plan and walk differ\n--- walked:\n%s\n--- planned:\n%s\n", walked.c_str(),
                     planned.c_str());
        std::abort();
    }
    return 0;
}
