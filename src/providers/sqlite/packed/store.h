// The values of a packed database, as one connection reads and writes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "api.h"
#include "block.h"
#include "overlay.h"
#include "series_list.h"
#include "stage.h"
#include "statements.h"

namespace mersola::packed {

/// The bounds of periods.
inline constexpr std::int64_t kOldest = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int64_t kNewest = std::numeric_limits<std::int32_t>::max();

/// What is written is staged in memory: sorted, and known not to be stored yet. Flush puts it into
/// the tables. The virtual table calls it before a commit, before a savepoint and before anything
/// is read; whoever reads the tables past the virtual table calls it first. What a rollback undoes
/// is forgotten. Everything raises Failure; a call that fails has written nothing, but what
/// was staged may have been flushed.
class Store {
  public:
    struct Options {
        double resolution =
            0;             ///< values are rounded to this step as they are sealed; 0 keeps them
        std::string rows;  ///< a table of rows in which there are values, too; empty: none
        bool intoRows = false;  ///< whether values that are written become rows there
    };

    Store(sqlite3* db, const std::string& schema, Options options);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Stages a value. Returns false if its key is stored and is not to be replaced. Only within a
    /// transaction that has begun to write to the virtual table: a statement such as kTakePart does
    /// that, and also sees to it that the transaction's end reaches this store.
    bool Insert(const ValueRow& row, bool replace = false);
    /// Takes out a value. Returns false if there is none.
    bool Erase(const ValueKey& key);
    /// Whether a value of this key is stored or staged.
    bool Contains(const ValueKey& key);

    void Flush();
    /// Deletes a report's values from the first period up to and without the end. Blocks that lie
    /// within are not even read.
    void DeleteRange(std::int32_t measValueId, std::int32_t firstPeriod, std::int64_t endPeriod);

    /// Moves at least so many values, if there are so many, from rows into blocks or the other way
    /// round. Returns how many; 0 when all are moved. As Insert, only within a transaction.
    std::int64_t PackSome(std::int64_t limit);
    std::int64_t UnpackSome(std::int64_t limit);

    /// The first and the last period of a report in which there is a value. Flushes.
    std::optional<std::int32_t> FirstPeriod(std::int32_t measValueId);
    std::optional<std::int32_t> LastPeriod(std::int32_t measValueId);

    const std::shared_ptr<Statements>& Sources() const { return statements_; }

    /// Called by the virtual table as the transaction goes on.
    void Begin();
    bool TakesPart() const { return inTransaction_; }  // values may be written
    void End();
    void Forget();  // rolled back, perhaps to a savepoint only

    /// A number that stands for a key as long as the store lives, and the key again.
    std::int64_t RowidOf(const ValueKey& key);
    std::optional<ValueKey> KeyOf(std::int64_t rowid) const;

  private:
    struct BandKey {
        std::int32_t measValueId, channel, funcId, frqId;
        bool operator==(const BandKey&) const = default;
    };
    struct HashBandKey {
        std::size_t operator()(const BandKey& key) const;
    };
    /// What happens to the values of one series within a block.
    struct Change {
        std::vector<Run> runs;
        std::vector<Erased> erased;
    };
    using Changes = std::map<std::pair<std::int32_t, std::int32_t>, Change>;  // channel, function

    StagedPeriod& PeriodAt(std::int32_t measValueId, std::int32_t period);
    SealedBlock& SealedAt(const Series& series, std::int32_t block);
    SealedBlock FindSealed(const Series& series, std::int32_t block);
    const SeriesBlock& Decoded(const Series& series, std::int32_t block, SealedBlock& sealed);
    bool IsStored(const ValueKey& key, StagedPeriod& period);
    bool IsSettled(const ValueKey& key);  // sealed, or a row
    void RequireTransaction() const;
    /// Also that nobody on the connection is reading what is to be moved.
    void RequireUnread() const;

    using Periods = std::map<std::int32_t, StagedPeriod>;
    void FlushRows(std::int32_t measValueId, StagedReport& report);
    void PutRow(Sql how, const Series& series, std::int32_t period, const PeriodValue& value,
                const Status& status);
    std::int64_t PackBlock(const Series& series, std::int32_t block);
    std::int64_t UnpackPeriod(std::int32_t measValueId);
    std::int64_t UnpackBlock(const Series& series);
    void FlushReport(std::int32_t measValueId, StagedReport& report);
    void MergePeriod(std::int32_t measValueId, std::int32_t period, const StagedPeriod& staged);
    void EraseSealed(std::int32_t measValueId, std::int32_t block, const Changes& changes);
    /// Seals what is pending in a block together with staged periods, which are of this block.
    /// Returns the number of pending rows that are no more, or nothing if it would not fit, or some
    /// of it is damaged.
    std::optional<std::int64_t> Seal(std::int32_t measValueId, std::int32_t block,
                                     Periods::iterator staged, Periods::iterator end);
    void SealDue(std::int32_t measValueId, std::int32_t newest);
    void ApplyChange(const Series& series, std::int32_t block, const Change& change,
                     SeriesBlock now);
    void WriteSealed(const Series& series, std::int32_t block, const SeriesBlock& now);
    void ErasePeriods(const Series& series, std::int32_t block, Range periods);
    template <class... Values>
    std::optional<std::int32_t> Ask(Sql which, const Values&... values) {
        const auto row = statements_->Take(which, values...);
        if (!row->Step()) return std::nullopt;
        return row->Int32(0);
    }
    void ForgetSealed(const Series& series, std::int32_t block);
    void ForgetReport(std::int32_t measValueId);

    std::shared_ptr<Statements> statements_;
    Options options_;
    bool inTransaction_ = false;
    Stage stage_;
    // What the last value went to: most go to the same again.
    std::int32_t lastReport_ = 0;
    std::int32_t lastPeriod_ = 0;
    StagedPeriod* lastStaged_ = nullptr;
    Series lastSeries_;
    std::int32_t lastBlock_ = 0;
    SealedBlock* lastSealed_ = nullptr;

    /// A report's pending rows.
    struct Crowd {
        std::int64_t rows = 0;  // as far as this connection knows
        bool isCounted = false;
        std::int64_t from = kOldest;  // what is pending before cannot be sealed
    };
    std::unordered_map<std::int32_t, Crowd> crowds_;

    std::unordered_map<BandKey, std::uint32_t, HashBandKey> numbers_;
    std::vector<BandKey> bands_;
    std::string data_, summary_;  // buffers
};

/// A statement that makes the transaction on a connection reach the store, and does nothing else.
inline constexpr const char* kTakePart = "DELETE FROM MeasuredValues WHERE 0";

}  // namespace mersola::packed
