// WalkBudget: how deep walks may nest, and whether one repeats. Blocks,
// includes, user tags and child pages each start a walk inside the one in
// hand, on one thread's stack.
#pragma once

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
};
