// Regex: regular expressions (PCRE2, Perl's syntax), byte offsets into
// UTF-8 text. The library is opened the first time a pattern is compiled,
// so that processes that use none do not load it at start.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class Regex {
public:
    // Bounds on one match, so that a pattern that backtracks without end
    // stops with a message: steps of the matcher, nesting of its backtracking,
    // and the memory it may take for that.
    static constexpr unsigned kMatchLimit = 10'000'000;
    static constexpr unsigned kDepthLimit = 10'000;
    static constexpr unsigned kHeapLimitKiB = 64 * 1024;
    // A longer pattern is refused before it reaches the compiler.
    static constexpr std::size_t kMaxPatternBytes = 64 * 1024;

    // A group's place in the subject, or npos for a group that took no part.
    struct Span {
        std::size_t Start = std::string_view::npos;
        std::size_t End = std::string_view::npos;
        bool IsSet() const { return Start != std::string_view::npos; }
    };

    // The compiled pattern, or null with `error` set ("missing closing
    // parenthesis at offset 3"). Patterns are kept per thread for reuse.
    static std::shared_ptr<const Regex> Compile(std::string_view pattern, std::string& error);

    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    // The first match at or after byte `from`: true with `groups` filled
    // (0 the whole match, then each group), false for none. A limit reached or
    // another failure gives false with `error` set.
    bool Find(std::string_view subject, std::size_t from, std::vector<Span>& groups, std::string& error) const;

    unsigned GroupCount() const { return Groups; }

private:
    explicit Regex(void* code, unsigned groups) : Code(code), Groups(groups) {}
    void* Code;  // pcre2_code
    unsigned Groups;
};
