// Begin and end, as the engine's description has them.
#include "batch_transaction.h"

#include "engines/sqlite.h"
#include "errors.h"

namespace mersola::sqlite {
namespace {

void Run(sqlite3* db, const char* sql) {
    Check(db, sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

}  // namespace

BatchTransaction::BatchTransaction(sqlite3* db) : db_(db), nested_(!sqlite3_get_autocommit(db)) {
    Run(db_, nested_ ? kSavepoint.set : kSqlite.begin);
}

BatchTransaction::~BatchTransaction() {
    if (done_ || sqlite3_get_autocommit(db_)) return;
    Undo(nested_ ? kSavepoint.goBack : "ROLLBACK");
    if (nested_) Undo(kSavepoint.release);
}

void BatchTransaction::Commit() {
    Run(db_, nested_ ? kSavepoint.release : "COMMIT");
    done_ = true;
}

void BatchTransaction::Undo(const char* sql) const {
    sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
}

}  // namespace mersola::sqlite
