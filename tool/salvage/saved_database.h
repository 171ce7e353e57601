// The new database into which salvaged rows go.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "damage/stored_values.h"
#include "database/open_database.h"

namespace mersola::tool {

/// Adds rows in long transactions. A row that it cannot take is put aside and counted. Raises
/// _com_error when nothing can be written.
class SavedDatabase {
  public:
    explicit SavedDatabase(Mersola& store);

    void Add(StoredTable table, Row row);
    void Add(const ReadValue& value);
    void PutAside(StoredTable table, const std::string& reason);
    /// Writes what waits, and what was done to the version history.
    void Finish(const std::string& history);

    Mersola& Store() { return store_; }
    bool Holds(const ValueKey& at);

    std::int64_t Values() const { return values_; }
    /// The reports, channels and functions of the values.
    using Series = std::tuple<std::int32_t, std::int32_t, std::int32_t>;
    const std::set<Series>& AllSeries() const { return series_; }
    /// How many rows, by table and by the first reason.
    struct Aside {
        std::int64_t rows = 0;
        std::string reason{};
    };
    const std::map<StoredTable, Aside>& Asides() const { return asides_; }

  private:
    void WriteValues();
    std::int64_t Changes();

    Mersola& store_;
    std::optional<Transaction> transaction_;
    std::vector<ReadValue> waiting_;
    std::int64_t values_ = 0;
    std::set<Series> series_;
    std::map<StoredTable, Aside> asides_;
};

}  // namespace mersola::tool
