// A statement of the cache at work.
#pragma once

#include <string_view>
#include <utility>

#include "errors.h"
#include "statement_cache.h"

namespace mersola::sqlite {

/// A statement while it runs. It goes back to the cache whatever happens.
class RunningStatement {
  public:
    RunningStatement(sqlite3* db, StatementCache& cache, std::string_view text)
        : db_(db), cache_(&cache), statement_(cache.Take(text)) {}
    RunningStatement(RunningStatement&&) = default;
    ~RunningStatement() {
        if (!statement_) return;  // moved on
        const char* text = sqlite3_sql(statement_.get());
        cache_->Return(text, std::move(statement_));
    }

    sqlite3_stmt* Get() const { return statement_.get(); }
    bool Step() const {
        const int code = sqlite3_step(Get());
        if (code == SQLITE_ROW) return true;
        Check(db_, code);
        return false;
    }

  private:
    sqlite3* db_;
    StatementCache* cache_;
    Statement statement_;
};

}  // namespace mersola::sqlite
