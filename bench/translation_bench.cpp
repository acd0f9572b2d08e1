// Renders the table page of 1,000 rows with and without a TRANSLATION tag in
// front (every text already in the table), in process with a fresh VexlPage
// each time and as a whole `vexl render` process, and prints the medians and
// the ratio of translated to untranslated. The store is a SQLite file, or the
// PostgreSQL database whose URI is the first argument.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/MemoryRetention.h"
#include "foundation/Sql.h"
#include "page/VexlPage.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

void Write(const fs::path& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

// The medians of `runs` runs of each of the two, taken in turns so that both
// meet the same load of the machine.
std::pair<double, double> MedianMicroseconds(int runs, const std::function<void()>& first,
                                             const std::function<void()>& second) {
    std::vector<double> times[2];
    for (int i = 0; i < runs; ++i) {
        for (int which = 0; which < 2; ++which) {
            const auto start = std::chrono::steady_clock::now();
            (which == 0 ? first : second)();
            times[which].push_back(
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
        }
    }
    for (auto& list : times) std::sort(list.begin(), list.end());
    return {times[0][runs / 2], times[1][runs / 2]};
}

void RenderInProcess(const fs::path& page, const char* rows, std::size_t* outputSize) {
    NyxString output;
    {
        VexlPage request;
        request.SetOutput(&output);
        request.SetFile(page.c_str());
        request.CreateOneVariable("rows", rows, QuinceContext::VarListPage);
        request.Process();
    }
    *outputSize = output.GetSize();
}

void RenderAsProcess(const fs::path& page) {
    std::string program = VEXL_PROGRAM, command = "render", path = page.string(), option = "--var",
                value = "rows=1000";
    char* arguments[] = {program.data(), command.data(), path.data(), option.data(), value.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environ) == 0) {
        int status = 0;
        waitpid(child, &status, 0);
    }
    posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

int main(int argc, char** argv) {
    KeepFreedMemoryForNextRequests();
    const fs::path folder = fs::temp_directory_path() / "vexl-translation-bench";
    fs::remove_all(folder);
    fs::create_directories(folder);
    const std::string body =
        "<INCLUDE file=\"header.vxl\">\n"
        "<LOOP initialiser=\"row = 0\" condition=\"row < rows\" iterator=\"row = row + 1\">"
        "<IF condition=\"row % 2 == 0\"><tr class=\"even\"><ELSE><tr class=\"odd\"><ENDIF>"
        "<td id=(row)>Item</td><td data-price=(row * 3)>Price</td><td data-half=(row / 2)>Half</td></tr>\n"
        "</LOOP>\n"
        "<INCLUDE file=\"footer.vxl\">\n";
    const std::string database = argc > 1 ? argv[1] : (folder / "tr.db").string();
    Write(folder / "header.vxl", "<html><head><title>Orders</title></head><body>\n<table class=\"orders\">\n");
    Write(folder / "footer.vxl", "</table>\n</body></html>\n");
    Write(folder / "plain.vxl", body);
    Write(folder / "translated.vxl", "<TRANSLATION file=\"" + database +
                                         "\" table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable>" + body);
    {
        std::unique_ptr<GenSqlConnection> connection(
            GenSqlConnection::Create(GenSqlConnection::TypeOfPlace(NyxString(database.c_str()))));
        if (!connection || !connection->Connect(database.c_str())) {
            std::fprintf(stderr, "translation_bench: cannot open %s\n", database.c_str());
            return 1;
        }
        delete connection->ExecuteSql("DROP TABLE IF EXISTS t", 0);
        delete connection->ExecuteSql("CREATE TABLE t (k TEXT PRIMARY KEY, v TEXT)", 0);
        delete connection->ExecuteSql("INSERT INTO t VALUES ('Item', 'Artikel'), ('Price', 'Preis')", 0);
    }
    std::size_t plainSize = 0, translatedSize = 0;
    RenderInProcess(folder / "translated.vxl", "1000", &translatedSize);  // the first run fills the table

    for (const char* rows : {"0", "1000"}) {
        const auto [plain, translated] =
            MedianMicroseconds(300, [&] { RenderInProcess(folder / "plain.vxl", rows, &plainSize); },
                               [&] { RenderInProcess(folder / "translated.vxl", rows, &translatedSize); });
        std::printf("in process, %4s rows:  untranslated %8.1f us, translated %8.1f us (medians of 300), ratio %.2f\n",
                    rows, plain, translated, translated / plain);
    }
    const auto [plain, translated] = MedianMicroseconds(21, [&] { RenderAsProcess(folder / "plain.vxl"); },
                                                        [&] { RenderAsProcess(folder / "translated.vxl"); });
    std::printf("whole process, 1000 rows: untranslated %8.1f us, translated %8.1f us (medians of 21), ratio %.2f\n",
                plain, translated, translated / plain);
    std::printf("output: %zu bytes untranslated, %zu translated; store %s\n", plainSize, translatedSize,
                argc > 1 ? "PostgreSQL" : "SQLite");
    fs::remove_all(folder);
    return 0;
}
