// The cache: an entry outlives the time its statement is taken, so that steady use allocates
// nothing.
#include "statement_cache.h"

#include "errors.h"

namespace mersola::sqlite {

Statement Prepare(sqlite3* db, std::string_view text) {
    sqlite3_stmt* statement = nullptr;
    Check(db, sqlite3_prepare_v3(db, text.data(), static_cast<int>(text.size()),
                                 SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    return Statement(statement);
}

Statement StatementCache::Take(std::string_view text) {
    if (!entries_.empty() && entries_.front().text == text && entries_.front().statement) {
        return std::move(entries_.front().statement);  // a recorder repeats one shape
    }
    if (const auto found = byText_.find(text); found != byText_.end()) {
        entries_.splice(entries_.begin(), entries_, found->second);
        if (found->second->statement) return std::move(found->second->statement);
    }
    return Prepare(db_, text);
}

void StatementCache::Return(std::string_view text, Statement statement) {
    sqlite3_reset(statement.get());  // bound values stay: every run binds all parameters anew
    if (!entries_.empty() && entries_.front().text == text) {
        entries_.front().statement = std::move(statement);
        return;
    }
    if (const auto found = byText_.find(text); found != byText_.end()) {
        found->second->statement = std::move(statement);
        return;
    }
    if (entries_.size() == kCapacity) {
        byText_.erase(entries_.back().text);
        entries_.pop_back();
    }
    entries_.push_front({std::string(text), std::move(statement)});
    byText_.emplace(entries_.front().text, entries_.begin());
}

}  // namespace mersola::sqlite
