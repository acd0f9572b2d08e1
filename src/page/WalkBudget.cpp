#include "page/WalkBudget.h"

#include <time.h>

namespace {

int64_t MonotonicMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// A look at the clock costs some tens of nanoseconds; a loop pass costs a
// tenth of a microsecond at least, so 64 passes between looks add nothing
// measurable and overrun the limit by microseconds.
constexpr int kCallsBetweenLooks = 64;

}  // namespace

void WalkBudget::Start(unsigned seconds, uint64_t maxOutput) {
    SecondsAllowed = seconds;
    Deadline = seconds == 0 ? 0 : MonotonicMilliseconds() + int64_t{seconds} * 1000;
    MaxOutput = maxOutput;
    OutputSent = 0;
    Ended = false;
    EndedBy = "";
    CallsToSkip = 0;
}

unsigned WalkBudget::MillisecondsLeft() const {
    if (Deadline == 0) return 0;
    const int64_t left = Deadline - MonotonicMilliseconds();
    return left < 1 ? 1u : left > 0x7FFFFFFF ? 0x7FFFFFFFu : static_cast<unsigned>(left);
}

bool WalkBudget::TimeIsUp() {
    if (Deadline == 0 || CallsToSkip-- > 0) return false;
    CallsToSkip = kCallsBetweenLooks - 1;
    return MonotonicMilliseconds() > Deadline;
}
