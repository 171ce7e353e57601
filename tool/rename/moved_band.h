// Values that were stored under a wrong band.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

#include <mersola/mersola.h>

namespace mersola::tool {

struct BandMove {
    std::int32_t from, to;                   ///< bands
    std::optional<std::int32_t> instrument;  ///< this and the next: all where there is none
    std::optional<std::int32_t> measurement;
};

/// Puts the values of one band under another, and markers likewise, in short transactions beside
/// recorders. Raises Failure where both bands have a value of a period, channel and function;
/// nothing is changed then, unless a recorder stored one of them meanwhile. Returns in how many
/// periods there were values. `terminal`: where to show the progress, may be null.
std::int64_t MoveBand(Mersola& store, const BandMove& move, std::ostream* terminal);

}  // namespace mersola::tool
