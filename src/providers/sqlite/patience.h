// Waits for locks that others hold.
#pragma once

#include <chrono>

#include <sqlite3.h>

namespace mersola::sqlite {

/// Makes a connection try again every millisecond until its time is over. SQLite's own way pauses
/// longer and longer, up to 100 ms, so that a writer beside busy ones waits for seconds.
class Patience {
  public:
    Patience(sqlite3* db, std::chrono::milliseconds limit);
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;

    /// Sets how long each operation waits from now on. Returns the earlier limit.
    std::chrono::milliseconds Limit(std::chrono::milliseconds limit);

  private:
    using Clock = std::chrono::steady_clock;

    static int Wait(void* self, int count);

    std::chrono::milliseconds limit_;
    Clock::time_point start_;
};

}  // namespace mersola::sqlite
