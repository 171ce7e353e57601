// The new database into which salvaged rows go.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "damage/stored_values.h"
#include "database/format.h"
#include "database/open_database.h"

namespace mersola::tool {

/// Adds rows in long transactions. A row that it cannot take is put aside and counted. Raises
/// _com_error when nothing can be written.
class SavedDatabase {
  public:
    SavedDatabase(Mersola& store, const Keeping& keeping);

    void Add(StoredTable table, Row row);
    void Add(const ReadValue& value);
    /// Adds a row of the tables of packed values as it is. Raises Failure for one that is none.
    void AddPacked(const StoredTree& tree, const Record& record);
    void PutAside(StoredTable table, const std::string& reason);
    /// Writes what waits, and what was done to the version history. Packed values that cannot be
    /// read are taken out again, each with a call of `lose`.
    struct LostBlock {
        std::int32_t key;
        std::optional<std::pair<std::int32_t, std::int32_t>> series;  // of all, for a pending row
        std::int32_t first, last;                                     // periods
    };
    void Finish(const std::string& history, const std::function<void(const LostBlock&)>& lose);

    Mersola& Store() { return store_; }
    bool Holds(const ValueKey& at);
    /// Whether there were packed values of which nobody knows where they belong.
    bool HadUnplaced() const { return hasUnplaced_; }

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
    void TakeOutDamaged(const std::function<void(const LostBlock&)>& lose);
    void FindPlaces();
    void PackRows();
    void CountPacked();
    void GoOn();
    std::int64_t Changes();

    Mersola& store_;
    Keeping keeping_;
    bool hasUnplaced_ = false;
    std::int64_t bytes_ = 0;  // of packed values in the transaction
    std::optional<Transaction> transaction_;
    std::vector<ReadValue> waiting_;
    std::int64_t values_ = 0;
    std::set<Series> series_;
    std::map<StoredTable, Aside> asides_;
};

}  // namespace mersola::tool
