#include "foundation/Regex.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <dlfcn.h>

#include <list>
#include <type_traits>
#include <utility>

namespace {

struct LibPcre2 {
    decltype(&::pcre2_compile_8) Compile;
    decltype(&::pcre2_code_free_8) CodeFree;
    decltype(&::pcre2_pattern_info_8) PatternInfo;
    decltype(&::pcre2_get_error_message_8) ErrorMessage;
    decltype(&::pcre2_match_data_create_from_pattern_8) MatchDataCreate;
    decltype(&::pcre2_match_data_free_8) MatchDataFree;
    decltype(&::pcre2_get_ovector_pointer_8) Ovector;
    decltype(&::pcre2_match_context_create_8) MatchContextCreate;
    decltype(&::pcre2_set_match_limit_8) SetMatchLimit;
    decltype(&::pcre2_set_depth_limit_8) SetDepthLimit;
    decltype(&::pcre2_set_heap_limit_8) SetHeapLimit;
    decltype(&::pcre2_match_8) Match;
};

// Null unless the library and every function are there.
const LibPcre2* Open() {
    void* library = dlopen("libpcre2-8.so.0", RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    static LibPcre2 functions;
    bool complete = true;
    const auto find = [&](auto& function, const char* name) {
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(dlsym(library, name));
        complete = complete && function != nullptr;
    };
    find(functions.Compile, "pcre2_compile_8");
    find(functions.CodeFree, "pcre2_code_free_8");
    find(functions.PatternInfo, "pcre2_pattern_info_8");
    find(functions.ErrorMessage, "pcre2_get_error_message_8");
    find(functions.MatchDataCreate, "pcre2_match_data_create_from_pattern_8");
    find(functions.MatchDataFree, "pcre2_match_data_free_8");
    find(functions.Ovector, "pcre2_get_ovector_pointer_8");
    find(functions.MatchContextCreate, "pcre2_match_context_create_8");
    find(functions.SetMatchLimit, "pcre2_set_match_limit_8");
    find(functions.SetDepthLimit, "pcre2_set_depth_limit_8");
    find(functions.SetHeapLimit, "pcre2_set_heap_limit_8");
    find(functions.Match, "pcre2_match_8");
    return complete ? &functions : nullptr;
}

const LibPcre2* Library() {
    static const LibPcre2* const functions = Open();
    return functions;
}

std::string ErrorText(const LibPcre2& pcre, int code) {
    PCRE2_UCHAR buffer[256];
    const int length = pcre.ErrorMessage(code, buffer, sizeof buffer);
    return length < 0 ? "error " + std::to_string(code) : std::string(reinterpret_cast<const char*>(buffer), length);
}

// The match context with the limits, one per thread.
pcre2_match_context_8* Limits(const LibPcre2& pcre) {
    thread_local pcre2_match_context_8* context = [&] {
        pcre2_match_context_8* made = pcre.MatchContextCreate(nullptr);
        if (made != nullptr) {
            pcre.SetMatchLimit(made, Regex::kMatchLimit);
            pcre.SetDepthLimit(made, Regex::kDepthLimit);
            pcre.SetHeapLimit(made, Regex::kHeapLimitKiB);
        }
        return made;
    }();
    return context;
}

// The patterns a thread compiled last: a page that matches in a loop
// compiles its pattern once.
constexpr std::size_t kKeptPatterns = 32;

}  // namespace

Regex::~Regex() {
    if (Code != nullptr) Library()->CodeFree(static_cast<pcre2_code_8*>(Code));
}

std::shared_ptr<const Regex> Regex::Compile(std::string_view pattern, std::string& error) {
    thread_local std::list<std::pair<std::string, std::shared_ptr<const Regex>>> kept;
    for (auto it = kept.begin(); it != kept.end(); ++it) {
        if (it->first != pattern) continue;
        kept.splice(kept.begin(), kept, it);
        return it->second;
    }
    if (pattern.size() > kMaxPatternBytes) {
        error = "the pattern is longer than " + std::to_string(kMaxPatternBytes) + " bytes";
        return nullptr;
    }
    const LibPcre2* pcre = Library();
    if (pcre == nullptr) {
        error = "regular expressions need libpcre2-8.so.0, which cannot be opened";
        return nullptr;
    }
    int code = 0;
    PCRE2_SIZE offset = 0;
    // Text that is no UTF-8 is matched where it is valid, never refused.
    pcre2_code_8* compiled = pcre->Compile(reinterpret_cast<PCRE2_SPTR8>(pattern.data()), pattern.size(),
                                           PCRE2_UTF | PCRE2_MATCH_INVALID_UTF, &code, &offset, nullptr);
    if (compiled == nullptr) {
        error = ErrorText(*pcre, code) + " at offset " + std::to_string(offset);
        return nullptr;
    }
    uint32_t groups = 0;
    pcre->PatternInfo(compiled, PCRE2_INFO_CAPTURECOUNT, &groups);
    std::shared_ptr<const Regex> made(new Regex(compiled, groups));
    kept.emplace_front(std::string(pattern), made);
    if (kept.size() > kKeptPatterns) kept.pop_back();
    return made;
}

bool Regex::Find(std::string_view subject, std::size_t from, std::vector<Span>& groups, std::string& error) const {
    const LibPcre2& pcre = *Library();
    auto* code = static_cast<pcre2_code_8*>(Code);
    std::unique_ptr<pcre2_match_data_8, decltype(pcre.MatchDataFree)> data(pcre.MatchDataCreate(code, nullptr),
                                                                           pcre.MatchDataFree);
    if (data == nullptr) {
        error = "out of memory";
        return false;
    }
    const int result = pcre.Match(code, reinterpret_cast<PCRE2_SPTR8>(subject.data()), subject.size(), from, 0,
                                  data.get(), Limits(pcre));
    if (result == PCRE2_ERROR_NOMATCH) return false;
    if (result < 0) {
        error = result == PCRE2_ERROR_MATCHLIMIT || result == PCRE2_ERROR_DEPTHLIMIT || result == PCRE2_ERROR_HEAPLIMIT
                    ? "the pattern took too long to match (" + ErrorText(pcre, result) + ")"
                    : ErrorText(pcre, result);
        return false;
    }
    const PCRE2_SIZE* vector = pcre.Ovector(data.get());
    groups.assign(Groups + 1, Span{});
    for (unsigned i = 0; i <= Groups && i < static_cast<unsigned>(result); ++i) {
        if (vector[2 * i] == PCRE2_UNSET) continue;
        groups[i] = {vector[2 * i], vector[2 * i + 1]};
    }
    return true;
}
