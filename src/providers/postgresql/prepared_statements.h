// Keeps prepared statements, one for all texts of a shape.
#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

#include "connection.h"
#include "reading.h"

namespace mersola::postgresql {

/// Prepares the statements that are repeated. One that comes for the first time goes as it is, but
/// for what `reading.h` adds.
class PreparedStatements {
  public:
    explicit PreparedStatements(Connection& connection)
        : connection_(connection), order_(connection) {}

    /// Sends a query with that text and these parameters. `sql` is what it was translated from.
    void Send(std::string_view sql, std::string_view text, const Parameters& parameters);
    /// Forgets the one that was sent last, which the server cannot run any more.
    void Forget();
    /// Says that tables may have changed.
    void Doubt();

  private:
    static constexpr std::size_t kMost = 64;

    struct Entry {
        std::string key;  // the types of the parameters, and the text as it was translated
        std::string text;
        const char* first = nullptr;  // what goes in front of it in a transaction
        std::string name;             // empty until it is prepared
    };

    Entry* Find(std::string_view text, const Parameters& parameters);
    Entry& Add(std::string_view sql, std::string_view text);
    void DropOldest();

    Connection& connection_;
    KeyOrder order_;
    std::list<Entry> entries_;  // the one that was used last is in front
    std::unordered_map<std::string_view, std::list<Entry>::iterator> byKey_;
    std::string key_;
    long count_ = 0;
};

}  // namespace mersola::postgresql
