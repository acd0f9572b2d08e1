// Contained: the library's entry points run their work through this, so that
// no exception reaches the caller. The engine raises nothing but
// std::bad_alloc; when memory runs out, the call ends without its effect.
#pragma once

#include <type_traits>
#include <utility>

// Runs `work`; true when it finished, false when it threw.
template <class Work>
bool Contained(Work&& work) noexcept {
    try {
        std::forward<Work>(work)();
        return true;
    } catch (...) {
        return false;
    }
}

// Runs `work` and gives its result, or `fallback` when it threw.
template <class Work, class Result>
Result ContainedOr(Result fallback, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return fallback;
    }
}
