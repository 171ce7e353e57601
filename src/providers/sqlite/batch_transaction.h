// A transaction around what is stored as a whole.
#pragma once

#include <sqlite3.h>

namespace mersola::sqlite {

/// One of its own, or a savepoint inside the caller's. Its end undoes what was not committed.
class BatchTransaction {
  public:
    explicit BatchTransaction(sqlite3* db);
    ~BatchTransaction();
    BatchTransaction(const BatchTransaction&) = delete;
    BatchTransaction& operator=(const BatchTransaction&) = delete;

    void Commit();

  private:
    void Undo(const char* sql) const;

    sqlite3* db_;
    bool nested_;
    bool done_ = false;
};

}  // namespace mersola::sqlite
