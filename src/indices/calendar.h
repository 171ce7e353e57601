// Times as numbers of milliseconds, and where days, weeks, months and years begin. The clock is a
// local one that is never set.
#pragma once

#include <cstdint>
#include <vector>

#include <mersola/indices.h>

namespace mersola {

using Milliseconds = std::int64_t;  ///< from the beginning of 1970 on

inline constexpr Milliseconds kHour = 3600000;
inline constexpr Milliseconds kDay = 24 * kHour;

Milliseconds MillisecondsOf(const CTimeEx& time);
CTimeEx TimeAt(Milliseconds time);

/// The beginning of the day that the time lies in.
Milliseconds DayOf(Milliseconds time);

/// The boundaries of a step from one time to another: both of these, and what lies between, as far
/// as there are not more than `most` before the last one.
std::vector<Milliseconds> Boundaries(Milliseconds from, Milliseconds to, IndexStep step,
                                     std::size_t most);

}  // namespace mersola
