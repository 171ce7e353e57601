// Reading values in few numbers: summaries of sealed blocks, and values where there is none to use.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "readers.h"
#include "summary.h"

namespace mersola::packed {

/// Values of one band in the periods from the first to the last one. A single value is its own
/// least, greatest and mean.
struct SummaryPiece {
    std::int32_t first;
    std::int32_t last;
    BandSummary figures;
};

/// Reads one series, ascending, in pieces that have no values on both sides of an edge. Wherever
/// a sealed block is all that there is, and lies between two edges, its summary is the piece. As
/// with SeriesReader, all come from one snapshot. Raises Failure.
class SummaryReader {
  public:
    /// The edges are ascending; what lies outside of them is not read.
    SummaryReader(std::shared_ptr<Statements> statements, const Series& series,
                  std::span<const std::int64_t> edges, Range bands);

    /// Reads the pieces of the next block that has any. Returns false behind the last.
    bool Next(std::vector<SummaryPiece>& out);

  private:
    static constexpr std::int64_t kNone = std::numeric_limits<std::int64_t>::max();

    std::optional<std::int32_t> NextBlock();
    bool TakeSummary(std::int32_t block, std::vector<SummaryPiece>& out);
    void ReadValues(std::int32_t block, std::vector<SummaryPiece>& out);

    std::shared_ptr<Statements> statements_;
    Reading reading_;
    Series series_;
    std::vector<std::int64_t> edges_;
    Range periods_, bands_;
    std::int64_t at_;  // what lies before is done
    std::size_t step_ = 0;
    Statements::Lease sealed_;
    bool hasSealed_ = false;
    // The first period from at_ on that has something pending, or a row of this series.
    std::int64_t pending_ = std::numeric_limits<std::int64_t>::min(), row_ = pending_;
    std::vector<BandSummary> summaries_;
    SeriesBlock values_;
};

}  // namespace mersola::packed
