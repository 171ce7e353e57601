// The transaction of whoever uses a connection.
#pragma once

#include <sqlite3.h>

#include "errors.h"

namespace mersola::sqlite {

/// After a grave error, as of a disk that cannot be read, SQLite undoes a transaction by itself,
/// and would store at once what is written next. Whoever began it has yet to learn that it is gone.
class CallersTransaction {
  public:
    explicit CallersTransaction(sqlite3* db) : db_(db) {}

    void Began() { isOpen_ = true; }
    void Ended() { isOpen_ = false; }
    /// Raises where it was undone.
    void Require() const {
        if (isOpen_ && IsNone())
            throw _com_error(E_FAIL, "The transaction had failed already and is undone", kSource);
    }
    /// Behind a statement that succeeded, and that may have been the end.
    void NoteEnd() {
        if (IsNone()) isOpen_ = false;
    }

  private:
    bool IsNone() const { return sqlite3_get_autocommit(db_) != 0; }

    sqlite3* db_;
    bool isOpen_ = false;
};

}  // namespace mersola::sqlite
