// Waiting for locks that others hold.
#pragma once

#include <chrono>

#include <sqlite3.h>

namespace mersola::sqlite {

/// Has a connection try again every millisecond until its time is over. SQLite's own way pauses
/// ever longer, in the end for 100 ms, so that a writer beside busy ones waits for seconds.
class Patience {
  public:
    Patience(sqlite3* db, std::chrono::milliseconds limit);
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;

    /// How long each operation waits from now on; returns what it was.
    std::chrono::milliseconds Limit(std::chrono::milliseconds limit);

  private:
    using Clock = std::chrono::steady_clock;

    static int Wait(void* self, int count);

    std::chrono::milliseconds limit_;
    Clock::time_point start_;
};

}  // namespace mersola::sqlite
