// Limits: the bounds that keep one script from taking the server with it.
// Each is a default that section "QuinceConfig" of the configuration file
// may change (key in brackets); the context reads them once, on first use.
#pragma once

#include <cstdint>

namespace quince {

// [MaxCallDepth] Procedure calls active at once. Page code recurses over
// trees a few dozen levels deep; a thousand leaves room for that and stops a
// runaway recursion after a few megabytes of frames.
inline constexpr unsigned kMaxCallDepth = 1000;

// [MaxParseDepth] Nesting of blocks and expressions the compiler accepts. The
// parser recurses once per level; 200 levels are far beyond any hand-written
// script and keep that recursion a few hundred kilobytes deep, sanitizers included.
inline constexpr unsigned kMaxParseDepth = 200;

// [MaxSteps] Loop passes and calls in one run (RunProcedure or expression).
// A billion is some seconds of plain looping: an honest loop of a hundred
// million passes finishes, an endless one stops.
inline constexpr uint64_t kMaxSteps = 1000000000ull;

// [MaxRunSeconds] Wall time of one run. A page that computes longer than this
// has lost its reader; 20 seconds stops a runaway loop whose passes are slow
// (big strings) before the step budget would. 0: no time limit.
inline constexpr unsigned kMaxRunSeconds = 20;

// [MaxMemory] Bytes that the strings and arrays of one context may hold at
// once. 512 MiB lets a page build a 100 MB text (with room for the copy that
// growth makes) while one request cannot exhaust the server.
inline constexpr uint64_t kMaxMemory = 512ull * 1024 * 1024;

// [MaxOutputBytes] Bytes one request may write as its page. A page of a few
// megabytes is large; 256 MiB stops a runaway loop that prints long before
// the server's memory is in danger. 0: no limit.
inline constexpr uint64_t kMaxOutputBytes = 256ull * 1024 * 1024;

// Slots of the VM's value stack (16 bytes each), for all active frames. Not
// configurable: it is reserved once per context and touched only as used.
inline constexpr unsigned kValueStackSlots = 1u << 18;

// Compiled expressions kept per context. A page has a few hundred distinct
// expression texts; a page that makes texts without end empties the cache
// when it is full instead of growing it.
inline constexpr unsigned kMaxCachedExpressions = 4096;

struct Limits {
    unsigned MaxCallDepth = kMaxCallDepth;
    unsigned MaxParseDepth = kMaxParseDepth;
    uint64_t MaxSteps = kMaxSteps;  // 0: no limit
    unsigned MaxRunSeconds = kMaxRunSeconds;
    uint64_t MaxMemory = kMaxMemory;
    uint64_t MaxOutputBytes = kMaxOutputBytes;  // 0: no limit
};

}  // namespace quince
