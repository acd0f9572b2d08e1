// WalkBudget: how deep walks may nest, whether one repeats, and how long the
// request may take. Blocks, includes, user tags and child pages each start a
// walk inside the one in hand, on one thread's stack.
#pragma once

#include <cstdint>

// No honest page nests blocks, includes and generated pages this deep; a page
// that includes itself reaches it in a few milliseconds, long before the
// stack (even under the sanitizers) is in danger.
constexpr int kMaxWalkDepth = 200;
constexpr const char* kMaxWalkDepthKey = "MaxWalkDepth";  // section "QuinceConfig"

struct WalkBudget {
    int Depth = 0;               // walks in progress
    int Limit = kMaxWalkDepth;
    int Loops = 0;               // LOOP bodies in progress: only their walks come by an object again
    bool PlanLoops = true;       // whether LOOP bodies may run from a plan (off: every pass is walked)

    // The request's time (QuinceConfig MaxRunSeconds), for the walks that can
    // repeat without a script noticing: LOOP passes and user tags that move
    // their position back; and its output (MaxOutputBytes).
    int64_t Deadline = 0;        // monotonic milliseconds; 0: no limit
    unsigned SecondsAllowed = 0;
    uint64_t MaxOutput = 0;      // 0: no limit
    uint64_t OutputSent = 0;     // bytes the page's own buffer has handed on
    bool Ended = false;          // out of time or output: every walk of the request ends
    const char* EndedBy = "";    // the limit that ended it, for the front ends' log
    void End(const char* limit) {
        if (!Ended) EndedBy = limit;
        Ended = true;
    }
    void Start(unsigned seconds, uint64_t maxOutput);
    // Whether the time is up; the clock is read at every 64th call only.
    bool TimeIsUp();
    // Milliseconds the request has left (at least 1), or 0 without a limit.
    unsigned MillisecondsLeft() const;

private:
    int CallsToSkip = 0;
};
