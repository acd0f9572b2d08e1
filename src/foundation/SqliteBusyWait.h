// SqliteBusyWait: how a connection waits for a database another process is
// writing. SQLite's own busy timeout sleeps a millisecond and more at each
// try, which is several whole requests of a FastCGI worker when two of them
// write sessions at once; this one starts at a few microseconds and doubles
// up to two milliseconds, until the time given has passed.
#pragma once

#include <chrono>

struct sqlite3;

class SqliteBusyWait {
public:
    // Becomes the busy handler of `database`, which must not outlive this
    // object; gives up (SQLITE_BUSY) once `milliseconds` have passed.
    void Install(sqlite3* database, unsigned milliseconds);

    // The pause before try number `attempt` (0, 1, ...).
    static std::chrono::microseconds PauseBefore(int attempt);

private:
    static int OnBusy(void* self, int attempt);

    std::chrono::milliseconds Limit{0};
    std::chrono::steady_clock::time_point Since;
};
