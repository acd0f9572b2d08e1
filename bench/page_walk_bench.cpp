// Parses and walks a 1 MB page of ordinary HTML into a caller's string and
// prints the rate in MB/s (best of several runs).
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/MemoryRetention.h"
#include "page/VexlPage.h"

namespace {

std::string MakePage(std::size_t size) {
    std::string page = "<!DOCTYPE html>\n<html><head><title>Bench</title></head>\n<body>\n";
    for (int row = 0; page.size() < size; ++row) {
        page += "<div class=\"row\" id=\"r" + std::to_string(row) + "\">\n";
        page += "  <h2>Section " + std::to_string(row) + "</h2>\n";
        page += "  <p>Lorem ipsum dolor sit amet, <b>consectetur</b> adipiscing elit, sed do eiusmod tempor "
                "incididunt ut labore et dolore magna aliqua. <a href=\"/x/" + std::to_string(row) +
                "\">link</a></p>\n";
        page += "  <ul><li>one</li><li>two</li><li>three</li></ul>\n</div>\n";
    }
    return page + "</body></html>\n";
}

}  // namespace

int main() {
    // As `vexl fcgi` and `vexl serve` do.
    KeepFreedMemoryForNextRequests();
    const std::string page = MakePage(1 << 20);
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "vexl-bench-page.html";
    std::ofstream(path, std::ios::binary) << page;

    double best = 1e9;
    std::size_t outputSize = 0;
    for (int run = 0; run < 15; ++run) {
        const auto start = std::chrono::steady_clock::now();
        NyxString output;
        {
            VexlPage request;
            request.SetOutput(&output);
            request.SetFile(path.c_str());
            request.Process();
        }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (seconds < best) best = seconds;
        outputSize = output.GetSize();
    }
    std::filesystem::remove(path);
    std::printf("page parse+walk: %.1f MB/s (%zu bytes in, %zu bytes out, best of 15: %.2f ms)\n",
                static_cast<double>(page.size()) / (1 << 20) / best, page.size(), outputSize, best * 1000);
    return 0;
}
