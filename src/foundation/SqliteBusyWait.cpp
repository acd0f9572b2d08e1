#include "foundation/SqliteBusyWait.h"

#include <thread>

#include "foundation/LibSqlite.h"

void SqliteBusyWait::Install(sqlite3* database, unsigned milliseconds) {
    Limit = std::chrono::milliseconds(milliseconds);
    SqliteLibrary().sqlite3_busy_handler(database, &SqliteBusyWait::OnBusy, this);
}

std::chrono::microseconds SqliteBusyWait::PauseBefore(int attempt) {
    constexpr int kDoublings = 9;  // 4 us << 9 is about 2 ms
    return std::chrono::microseconds(4) * (1 << (attempt < kDoublings ? attempt : kDoublings));
}

int SqliteBusyWait::OnBusy(void* self, int attempt) {
    auto& wait = *static_cast<SqliteBusyWait*>(self);
    const auto now = std::chrono::steady_clock::now();
    if (attempt == 0) wait.Since = now;
    if (now - wait.Since >= wait.Limit) return 0;
    std::this_thread::sleep_for(PauseBefore(attempt));
    return 1;
}
