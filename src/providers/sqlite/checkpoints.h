// Makes checkpoints: they move what was committed from the log into the database file, so that the
// log can be started anew.
#pragma once

#include <sqlite3.h>

#include "patience.h"

namespace mersola::sqlite {

/// Makes the checkpoints of a connection after its own commits, in place of SQLite's automatic
/// ones. The automatic ones run beside other writers, where some versions of SQLite lose rows (see
/// log_guard.h), and with them the log grows as long as there is always a reader. These checkpoints
/// hold the write lock, and wait for readers, but not long. A checkpoint that does not get through
/// is tried again after the next commit.
class Checkpoints {
  public:
    /// `patience` is that of the connection, and lives as long as this object.
    Checkpoints(sqlite3* db, Patience& patience);
    Checkpoints(const Checkpoints&) = delete;
    Checkpoints& operator=(const Checkpoints&) = delete;

  private:
    static int AfterCommit(void* self, sqlite3*, const char*, int pages);
    void Checkpoint(int pages);

    sqlite3* db_;
    Patience& patience_;
    int lastPages_ = 0;  // length of the log after the previous commit
    int duePages_;       // a log of this length is worth waiting for readers
};

}  // namespace mersola::sqlite
