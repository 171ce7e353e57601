// Lays values that came later over a block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "block.h"
#include "period_row.h"
#include "statuses.h"

namespace mersola::packed {

/// Values of one series and period, ascending by band.
struct Run {
    std::int32_t period;
    std::span<const PeriodValue> values;
    const std::vector<Status>* statuses;
};

/// By channel, function and band.
inline bool Precedes(const PeriodValue& a, const PeriodValue& b) {
    if (a.channel != b.channel) return a.channel < b.channel;
    if (a.funcId != b.funcId) return a.funcId < b.funcId;
    return a.frqId < b.frqId;
}

/// A value that is no more.
struct Erased {
    std::int32_t period;
    std::int32_t frqId;
};

/// Whether a block that holds all of this stays within bounds: it has not too many cells, not too
/// many empty ones for those that hold something, and not too many statuses.
bool FitsBlock(const SeriesBlock& block, std::span<const Run> runs);

/// Adds runs to a block, whose periods may be 0 for an empty one. Of values of one key the last
/// stays. Then takes out what was erased. A block of which nothing is left has no bands. All
/// periods lie in one block. Raises std::length_error if there are too many cells or statuses.
void Overlay(SeriesBlock& block, std::span<const Run> runs, std::span<const Erased> erased = {});

/// The block's values of one period, as a block; without bands if there are none.
SeriesBlock ColumnOf(const SeriesBlock& block, std::int32_t period);

/// The state of a cell.
inline std::uint8_t StateAt(const SeriesBlock& block, std::size_t cell) {
    return block.states.empty() ? std::uint8_t{kNumber} : block.states[cell];
}

inline const Status& StatusAt(const SeriesBlock& block, std::size_t cell) {
    return block.statuses[block.statusOf.empty() ? 0 : block.statusOf[cell]];
}

}  // namespace mersola::packed
