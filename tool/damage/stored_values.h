// The values among what a damaged file still holds, and those among what it lost.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "remains.h"

namespace mersola::tool {

struct ValueKey {
    std::int32_t key, channel, function, period, band;
};

struct ReadValue {
    ValueKey at;
    std::optional<double> value{};
    std::optional<std::string> status{};
};

/// Hands out the values that a row holds: one, as the layout of today has it. A layout whose rows
/// hold many at once is to be taken apart here. Raises Failure for a row that holds none.
void ForEachValue(const StoredTree& tree, const Record& record,
                  const std::function<void(const ReadValue&)>& take);

/// Values of one report, channel and function that are lost, in periods that follow one another.
struct LostValues {
    std::int32_t key, channel, function;
    std::int64_t values;
    std::int32_t first, last;  // periods
    std::int32_t firstBand, lastBand;
};

/// A part of the values of which nobody knows what was in it: from behind one value to in front of
/// another.
struct UnknownValues {
    std::optional<ValueKey> after, before;
};

struct ValueLosses {
    std::int64_t values = 0;
    std::vector<LostValues> known{};
    std::vector<UnknownValues> unknown{};
};

/// What `remains`, once it is read, lacks of the values. An index tells which there were, but for
/// what of it is damaged as well. `isThere`: whether a value was read nevertheless.
ValueLosses FindLostValues(const Remains& remains,
                           const std::function<bool(const ValueKey&)>& isThere);

}  // namespace mersola::tool
