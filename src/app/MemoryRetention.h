// MemoryRetention: malloc settings for the long-running front ends.
#pragma once

// Keeps memory that a finished request freed in the process for the next
// one. Without it malloc hands large blocks (a page's output, its objects)
// back to the system after every request, and the next request pays a page
// fault for every 4 KiB it touches again: more, on a large page, than the
// rendering itself.
void KeepFreedMemoryForNextRequests();
