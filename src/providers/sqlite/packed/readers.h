// Reading values in bulk: sealed and pending ones together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "block.h"
#include "overlay.h"
#include "period_row.h"
#include "row_stream.h"
#include "series_list.h"
#include "statements.h"

namespace mersola::packed {

/// Keeps a reader's snapshot and its place: while one lives, nothing is sealed on its connection.
class Reading {
  public:
    explicit Reading(std::shared_ptr<Statements> statements)
        : statements_(std::move(statements)), pin_(statements_->Take(Sql::Pin)) {
        pin_->Step();  // a statement that stays in the middle, so that all others see what it sees
        ++statements_->readers;
    }
    ~Reading() { --statements_->readers; }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    Statements* operator->() const { return statements_.get(); }
    Statements& operator*() const { return *statements_; }

  private:
    std::shared_ptr<Statements> statements_;
    Statements::Lease pin_;
};

/// Reads one series, block after block, ascending. What was staged before must be flushed; all
/// blocks come from one snapshot. Raises Failure.
class SeriesReader {
  public:
    SeriesReader(std::shared_ptr<Statements> statements, const Series& series, Range periods,
                 Range bands);

    /// Reads the next block that has values within the bands. It may hold periods outside of those
    /// asked for: Columns tells. Returns false behind the last.
    bool Next(SeriesBlock& out);

    /// The columns of a block that lie within the periods: the first, and the one behind the last.
    /// None when both are equal.
    std::pair<int, int> Columns(const SeriesBlock& block) const;

  private:
    void ReadSealed(SeriesBlock& out);
    void SkipSealed(std::int32_t block);
    void CollectPending(std::int32_t block);
    void CollectRows(std::int32_t block);
    bool NextPiece(SeriesBlock& out);

    Reading reading_;
    Series series_;
    Range periods_, bands_;
    Statements::Lease sealed_, pending_;
    RowStream rows_;
    bool hasSealed_ = false;
    bool hasPending_ = false;
    std::vector<PeriodRow> held_, heldRows_;  // what the runs refer to
    std::vector<Run> runs_;                   // of a period, those that count more are behind
    // A block that is too thin to be laid out at once is handed out period by period.
    SeriesBlock thin_;
    std::optional<std::size_t> thinPeriod_;
};

/// A value of one period of a report.
struct PeriodCell {
    std::int32_t frqId;
    std::int32_t channel;
    std::int32_t funcId;
    bool isNull;
    double value;
    const Status* status;
};

/// Reads one report period by period, ascending or descending. As SeriesReader does.
class PeriodReader {
  public:
    struct Selection {
        Range channels, functions, periods, bands;
    };

    PeriodReader(std::shared_ptr<Statements> statements, std::int32_t measValueId,
                 const Selection& selection, bool descending);

    /// Reads the next period that has values. Returns false behind the last.
    bool Next();
    std::int32_t Period() const { return period_; }
    /// The period's values, ascending by band, channel and function. Valid until Next.
    std::span<const PeriodCell> Cells() const { return cells_; }

  private:
    struct SealedSeriesBlock {
        ChannelAndFunction key;
        SeriesBlock block;
    };

    void LookAhead(std::size_t index, std::int64_t from);
    std::optional<std::int32_t> NextBlock();
    void Load(std::int32_t block);
    void AddRows(Range periods);
    bool Gather(std::int32_t period);
    void Sort();

    Reading reading_;
    std::int32_t measValueId_;
    Selection selection_;
    bool descending_;
    std::vector<ChannelAndFunction> rowSeries_;       // that have rows
    std::vector<ChannelAndFunction> series_;          // that have sealed blocks
    std::vector<std::optional<std::int32_t>> ahead_;  // the period of the next sealed block of each
    std::int64_t at_;                                 // the next period to look at
    std::int64_t end_;                                // behind the last of the block in hand
    std::vector<SealedSeriesBlock> blocks_;           // of the block in hand
    std::size_t blockCount_ = 0;
    std::vector<std::pair<std::int32_t, PeriodRow>> pending_;  // likewise, ascending
    std::size_t pendingCount_ = 0;
    std::int32_t period_ = 0;
    std::vector<PeriodCell> cells_, unsorted_;
    std::vector<std::uint32_t> order_;   // of the cells before
    std::vector<PeriodCell> sortedFor_;  // whose order that is
};

}  // namespace mersola::packed
