// Keeps prepared statements, one for all texts of a shape.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "connection.h"
#include "reading.h"
#include "rows.h"

namespace mersola::postgresql {

/// What is remembered of the statements of a shape.
struct Known {
    std::string key;              // the types of the parameters, and the text as it was translated
    std::string text;             // what is sent
    std::string name{};           // of what is prepared; empty until it is
    std::string order{};          // what was put behind it
    const char* first = nullptr;  // what goes in front of it in a transaction
    /// It only reads rows of one table. No more than kMostAtOnce and one are sent for then, and
    /// they come at once; when there are more, they are asked for anew in a way that takes any
    /// number.
    bool isPlain = false;
    bool isInsert = false;                                    // of values that are parameters
    std::shared_ptr<bool> isLong = std::make_shared<bool>();  // there were more the last time
    RowShape shape{};                                         // of such rows
};

/// Prepares the statements that are repeated. One that comes for the first time goes as it is, but
/// for what `reading.h` adds.
class PreparedStatements {
  public:
    static constexpr int kMostAtOnce = static_cast<int>(CopiedRows::kMany);

    explicit PreparedStatements(Connection& connection)
        : connection_(connection), order_(connection) {}

    /// What is known of a query with that text and these parameters. `sql` is what it was
    /// translated from. Valid until the next call.
    Known& Find(std::string_view sql, std::string_view text, const Parameters& parameters);
    void Send(Known& known, const Parameters& parameters);
    /// Forgets the one that was found last, which the server cannot run any more.
    void Forget();
    /// Says that tables may have changed.
    void Doubt();

  private:
    static constexpr std::size_t kMost = 64;

    Known& Add(std::string_view sql, std::string_view text);
    void DropOldest();

    Connection& connection_;
    KeyOrder order_;
    std::list<Known> entries_;  // the one that was used last is in front
    std::unordered_map<std::string_view, std::list<Known>::iterator> byKey_;
    std::string key_;
    int count_ = 0;
    bool isNew_ = false;  // what was found last
};

}  // namespace mersola::postgresql
