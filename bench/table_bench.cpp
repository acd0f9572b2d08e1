// Renders a table page (an included header and footer, a LOOP with an IF per
// row choosing the row's class, three expression attributes per row) with a
// fresh VexlPage each time, and prints microseconds per render for no rows,
// 1,000 and 10,000 rows.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/MemoryRetention.h"
#include "page/VexlPage.h"

namespace fs = std::filesystem;

namespace {

void Write(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

double MicrosecondsPerRender(const fs::path& page, int rows, int renders, std::size_t* outputSize) {
    std::vector<double> times;
    for (int i = 0; i < renders; ++i) {
        const auto start = std::chrono::steady_clock::now();
        NyxString output;
        {
            VexlPage request;
            request.SetOutput(&output);
            request.SetFile(page.c_str());
            request.CreateOneVariable("rows", std::to_string(rows).c_str(), QuinceContext::VarListPage);
            request.Process();
        }
        times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
        *outputSize = output.GetSize();
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    // As `vexl fcgi` and `vexl serve` do.
    KeepFreedMemoryForNextRequests();
    const fs::path folder = fs::temp_directory_path() / "vexl-table-bench";
    fs::create_directories(folder);
    Write(folder / "header.vxl", "<html><head><title>Orders</title></head><body>\n<table class=\"orders\">\n");
    Write(folder / "footer.vxl", "</table>\n</body></html>\n");
    Write(folder / "table.vxl",
          "<INCLUDE file=\"header.vxl\">\n"
          "<LOOP initialiser=\"row = 0\" condition=\"row < rows\" iterator=\"row = row + 1\">"
          "<IF condition=\"row % 2 == 0\"><tr class=\"even\"><ELSE><tr class=\"odd\"><ENDIF>"
          "<td id=(row)>Item</td><td data-price=(row * 3)>Price</td><td data-half=(row / 2)>Half</td></tr>\n"
          "</LOOP>\n"
          "<INCLUDE file=\"footer.vxl\">\n");
    std::size_t size = 0;
    // `table_bench ROWS RENDERS` times one size only, for a profiler.
    if (argc == 3) {
        const int rows = std::atoi(argv[1]);
        const double micros = MicrosecondsPerRender(folder / "table.vxl", rows, std::max(1, std::atoi(argv[2])), &size);
        std::printf("table of %5d rows: %8.1f us per render (median), %zu bytes out\n", rows, micros, size);
        fs::remove_all(folder);
        return 0;
    }
    // No rows: what every render costs besides its rows (page, includes, engine).
    const double fixed = MicrosecondsPerRender(folder / "table.vxl", 0, 200, &size);
    std::printf("table of     0 rows: %8.1f us per render (median), %zu bytes out\n", fixed, size);
    for (int rows : {1000, 10000}) {
        const double micros = MicrosecondsPerRender(folder / "table.vxl", rows, rows == 1000 ? 200 : 40, &size);
        std::printf("table of %5d rows: %8.1f us per render (median), %.3f us per row, %zu bytes out\n", rows, micros,
                    micros / rows, size);
    }
    fs::remove_all(folder);
    return 0;
}
