// Parse speed of the page tokenizer on a generated page of ordinary HTML
// (about 1 MB): paragraphs with inline markup, links, tables, forms, comments,
// a script and a few page-language tags. Prints MB/s for parsing alone and for
// parsing plus destroying the list: for the first round (memory not yet
// touched by this process), the best round and the median round. A first
// argument names a file to write the generated page to.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "values/HtmlObjectList.h"

namespace {

constexpr std::size_t kPageSize = 1 << 20;
constexpr int kRounds = 60;

// A fixed sequence, so that every run parses the same page.
struct Random {
    uint64_t State = 0x9E3779B97F4A7C15ULL;
    unsigned Next(unsigned bound) {
        State ^= State << 13;
        State ^= State >> 7;
        State ^= State << 17;
        return static_cast<unsigned>(State % bound);
    }
};

const char* const kWords[] = {"the", "page", "engine", "walks", "every", "object", "and", "writes", "text",
                              "of", "a", "server", "with", "tags", "values", "request", "session", "link",
                              "form", "field", "table", "row", "in", "order", "quickly", "for", "users"};

void AppendWords(std::string& out, Random& random, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        if (i != 0) out += ' ';
        out += kWords[random.Next(sizeof kWords / sizeof kWords[0])];
    }
}

void AppendParagraph(std::string& out, Random& random) {
    out += "<p class=\"text\">";
    const unsigned pieces = 2 + random.Next(5);
    for (unsigned i = 0; i < pieces; ++i) {
        AppendWords(out, random, 3 + random.Next(10));
        switch (random.Next(4)) {
            case 0: out += " <a href=\"/docs/page" + std::to_string(random.Next(500)) + ".html\">"; AppendWords(out, random, 2); out += "</a> "; break;
            case 1: out += " <em>"; AppendWords(out, random, 2); out += "</em> "; break;
            case 2: out += " <strong>"; AppendWords(out, random, 1); out += "</strong> "; break;
            default: out += " <span class='note' id=n" + std::to_string(random.Next(1000)) + ">"; AppendWords(out, random, 3); out += "</span> "; break;
        }
    }
    out += "</p>\n";
}

void AppendTable(std::string& out, Random& random) {
    out += "<table class=\"grid\" width=\"100%\">\n";
    const unsigned rows = 3 + random.Next(6);
    for (unsigned r = 0; r < rows; ++r) {
        out += "  <tr>";
        for (unsigned c = 0; c < 4; ++c) {
            out += "<td align=\"left\">";
            AppendWords(out, random, 1 + random.Next(3));
            out += "</td>";
        }
        out += "</tr>\n";
    }
    out += "</table>\n";
}

void AppendForm(std::string& out, Random& random) {
    out += "<form method=\"post\" action=\"/submit\">\n"
           "  <label for=\"name\">Name</label> <input type=\"text\" name=\"name\" value=\"\" required>\n"
           "  <select name=\"choice\"><option value=\"1\" selected>One</option><option value=\"2\">Two</option></select>\n"
           "  <textarea name=\"notes\" rows=\"4\">";
    AppendWords(out, random, 6);
    out += "</textarea>\n  <input type=\"submit\" value=\"Send\">\n</form>\n";
}

std::string MakePage() {
    Random random;
    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>Bench page</title>\n"
        "<link rel=\"stylesheet\" href=\"/style.css\">\n"
        "<script type=\"text/javascript\">\nfunction show(a, b) { if (a < b && b > 0) { return a; } return b; }\n</script>\n"
        "</head>\n<body>\n";
    while (page.size() < kPageSize) {
        switch (random.Next(10)) {
            case 0: AppendTable(page, random); break;
            case 1: AppendForm(page, random); break;
            case 2: page += "<!-- section " + std::to_string(random.Next(100)) + " -->\n<div class=\"section\">\n<h2>"; AppendWords(page, random, 4); page += "</h2>\n"; break;
            case 3: page += "</div>\n<ul>\n<li><a href=\"/a\">One</a></li>\n<li><a href=\"/b\">Two</a></li>\n</ul>\n"; break;
            case 4: page += "<IF cond=\"(n > 3)\"><b>big</b><ELSE>small<ENDIF>\n<SETVAR name=\"x\" value=\"(x + 1)\">\n"; break;
            default: AppendParagraph(page, random); break;
        }
    }
    page += "</body>\n</html>\n";
    return page;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// CPU time of this thread: on a busy machine it leaves out the time that
// other processes hold the processor.
double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Best(const std::vector<double>& values) { return *std::min_element(values.begin(), values.end()); }

}  // namespace

int main(int argc, char** argv) {
    const std::string page = MakePage();
    if (argc > 1) {
        std::FILE* file = std::fopen(argv[1], "wb");
        if (file != nullptr) {
            std::fwrite(page.data(), 1, page.size(), file);
            std::fclose(file);
        }
    }
    const double megabytes = static_cast<double>(page.size()) / (1024.0 * 1024.0);
    std::vector<double> parseSeconds;
    std::vector<double> totalSeconds;
    std::vector<double> parseCpuSeconds;
    std::vector<double> totalCpuSeconds;
    unsigned objects = 0;
    for (int round = 0; round < kRounds; ++round) {
        const double cpuStart = ThreadSeconds();
        const auto start = std::chrono::steady_clock::now();
        auto* list = new HtmlObjectList("bench.html", page);
        const auto parsed = std::chrono::steady_clock::now();
        const double cpuParsed = ThreadSeconds();
        objects = list->GetCount();
        delete list;
        const auto done = std::chrono::steady_clock::now();
        const double cpuDone = ThreadSeconds();
        parseSeconds.push_back(std::chrono::duration<double>(parsed - start).count());
        totalSeconds.push_back(std::chrono::duration<double>(done - start).count());
        parseCpuSeconds.push_back(cpuParsed - cpuStart);
        totalCpuSeconds.push_back(cpuDone - cpuStart);
    }
    std::printf("page: %zu bytes, %u objects\n", page.size(), objects);
    std::printf("                   %10s %10s %10s   (MB/s over %d rounds)\n", "first", "best", "median", kRounds);
    std::printf("parse:             %10.1f %10.1f %10.1f\n", megabytes / parseSeconds.front(), megabytes / Best(parseSeconds),
                megabytes / Median(parseSeconds));
    std::printf("parse and destroy: %10.1f %10.1f %10.1f\n", megabytes / totalSeconds.front(), megabytes / Best(totalSeconds),
                megabytes / Median(totalSeconds));
    std::printf("by thread CPU time:\n");
    std::printf("parse:             %10.1f %10.1f %10.1f\n", megabytes / parseCpuSeconds.front(),
                megabytes / Best(parseCpuSeconds), megabytes / Median(parseCpuSeconds));
    std::printf("parse and destroy: %10.1f %10.1f %10.1f\n", megabytes / totalCpuSeconds.front(),
                megabytes / Best(totalCpuSeconds), megabytes / Median(totalCpuSeconds));
    return 0;
}
