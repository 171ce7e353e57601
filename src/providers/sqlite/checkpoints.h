// Checkpoints: what was committed goes from the log into the database file, so that the log can be
// started anew.
#pragma once

#include <sqlite3.h>

#include "patience.h"

namespace mersola::sqlite {

/// Does the checkpoints of a connection after its own commits, in place of SQLite's automatic ones.
/// Those run beside other writers, where some versions of SQLite lose rows (see log_guard.h), and
/// the log grows as long as it is never without a reader. These have the write lock, and wait for
/// readers, but not long. One that does not get through is tried again after the next commit.
class Checkpoints {
  public:
    /// `patience`: of the connection; lives as long as this.
    Checkpoints(sqlite3* db, Patience& patience);
    Checkpoints(const Checkpoints&) = delete;
    Checkpoints& operator=(const Checkpoints&) = delete;

  private:
    static int AfterCommit(void* self, sqlite3*, const char*, int pages);
    void Checkpoint(int pages);

    sqlite3* db_;
    Patience& patience_;
    int lastPages_ = 0;  // of the log after the commit before
    int duePages_;       // a log of this length is worth waiting
};

}  // namespace mersola::sqlite
