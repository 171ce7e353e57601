// Which reports and which of their channels and functions there are.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "statements.h"

namespace mersola::packed {

using ChannelAndFunction = std::pair<std::int32_t, std::int32_t>;

/// From the first to the last number, both included.
struct Range {
    std::int64_t first = std::numeric_limits<std::int32_t>::min();
    std::int64_t last = std::numeric_limits<std::int32_t>::max();

    bool IsEmpty() const { return first > last; }
    bool IsOne() const { return first == last; }
    bool Meets(const Range& other) const { return first <= other.last && other.first <= last; }
    bool Holds(std::int64_t number) const { return first <= number && number <= last; }
};

/// The channels and functions that a report has sealed blocks of, ascending.
std::vector<ChannelAndFunction> SealedSeries(Statements& statements, std::int32_t measValueId,
                                             Range channels = {}, Range functions = {});
/// Those that it has rows of.
std::vector<ChannelAndFunction> RowSeries(Statements& statements, std::int32_t measValueId,
                                          Range channels = {}, Range functions = {});

/// Those that have values at all within the periods, ascending. May name others.
std::vector<ChannelAndFunction> StoredSeries(Statements& statements, std::int32_t measValueId,
                                             Range channels, Range functions, Range periods);

/// The first report from this one on that has values.
std::optional<std::int32_t> NextReport(Statements& statements, std::int64_t measValueId);

}  // namespace mersola::packed
