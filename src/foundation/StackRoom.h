// StackRoom: how much of the calling thread's stack is left. The walker and
// the script compiler recurse once per level of a page's nesting, and the
// levels a configuration allows may be more than a thread's stack holds
// (sanitizer builds use several times the stack per level, and server
// threads may have smaller stacks than the main one).
#pragma once

#include <cstddef>

// Whether less than `part` (a fraction, 0 to 1) of the calling thread's stack
// is left. A thread whose stack cannot be found is never low.
bool StackIsLow(double part);
