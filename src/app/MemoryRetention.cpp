// MemoryRetention: malloc settings for the long-running front ends.
#include "app/MemoryRetention.h"

#include <malloc.h>

namespace {
constexpr int kMmapThreshold = 32 << 20;   // blocks below this come from the heap (32 MiB is malloc's ceiling)
constexpr int kTrimThreshold = 128 << 20;  // free heap kept at the top before any is handed back
}  // namespace

void KeepFreedMemoryForNextRequests() {
    mallopt(M_MMAP_THRESHOLD, kMmapThreshold);
    mallopt(M_TRIM_THRESHOLD, kTrimThreshold);
}
