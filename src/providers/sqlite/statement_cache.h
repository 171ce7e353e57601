// Prepared statements, one for all texts of a shape.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include <sqlite3.h>

namespace mersola::sqlite {

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// Prepares one statement; raises what SQLite says of the text.
Statement Prepare(sqlite3* db, std::string_view text);

/// Keeps the statements used last. A statement that is running is out of the cache: Take hands it
/// over and Return brings it back, so that a second one of its shape is simply prepared.
class StatementCache {
  public:
    explicit StatementCache(sqlite3* db) : db_(db) {}

    Statement Take(std::string_view text);
    void Return(std::string_view text, Statement statement);

  private:
    static constexpr std::size_t kCapacity = 64;

    struct Entry {
        std::string text;
        Statement statement;  // null while it is taken
    };

    sqlite3* db_;
    std::list<Entry> entries_;  // used last in front
    std::unordered_map<std::string_view, std::list<Entry>::iterator> byText_;
};

}  // namespace mersola::sqlite
