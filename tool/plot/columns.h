// The stretches of time that share a column of a picture.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "catalogue/selection.h"

namespace mersola::tool {

/// When the periods of a report are.
struct Clock {
    CTimeEx origin;       ///< of period 0
    std::int64_t length;  ///< of a period, in milliseconds

    CTimeEx At(std::int64_t period) const { return origin + CTimeSpanEx(length * period); }
    /// The first period that begins at this time or later; of none before `least` or behind `most`.
    std::int32_t PeriodFrom(const CTimeEx& time, std::int32_t least, std::int32_t most) const;
};

/// Of a picture over time: columns of so many milliseconds, which begin at round times if they are
/// long. Long ones are whole days or weeks, or parts of a day that it is a multiple of: the mean of
/// any other would tell what part of the night it happens to have caught.
struct ColumnLength {
    std::int64_t milliseconds;
    bool isRound;

    /// The least for columns of one pixel and of one period at least, each given in milliseconds.
    ColumnLength(std::int64_t pixel, std::int64_t period);
    /// As people say it, of periods of this length: "3 periods", "2 h", "1 day".
    std::string Text(std::int64_t period) const;
};

/// Where the columns of these periods begin, and where the last one ends, as numbers of periods.
std::vector<std::int32_t> ColumnEdges(const Clock& clock, const Range& periods,
                                      const ColumnLength& column);

/// The midnight at which this time's day begins.
CTimeEx MidnightBefore(const CTimeEx& time);

}  // namespace mersola::tool
