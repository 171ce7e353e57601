// Keeps prepared statements, one for all texts of a shape.
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

/// Prepares one statement. Raises what SQLite says about the text.
Statement Prepare(sqlite3* db, std::string_view text);

/// Keeps the statements that were used last. A statement that is running is not in the cache: Take
/// hands it over and Return brings it back. A second one of its shape is prepared meanwhile.
class StatementCache {
  public:
    explicit StatementCache(sqlite3* db) : db_(db) {}

    Statement Take(std::string_view text);
    void Return(std::string_view text, Statement statement);

  private:
    static constexpr std::size_t kCapacity = 64;

    struct Entry {
        std::string text;
        Statement statement;  // null while Take has handed it over
    };

    sqlite3* db_;
    std::list<Entry> entries_;  // the one that was used last is in front
    std::unordered_map<std::string_view, std::list<Entry>::iterator> byText_;
};

}  // namespace mersola::sqlite
