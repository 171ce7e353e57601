// A range of periods as it is asked for, by numbers or by times.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include <mersola/times.h>

namespace mersola::tool {

/// A number stands for that period, and a time for the first period that begins at that time or
/// later.
using PeriodOrTime = std::variant<std::int32_t, CTimeEx>;

/// Nothing for any other text.
std::optional<PeriodOrTime> ParsePeriodOrTime(const std::string& text);

struct AskedPeriods {
    std::optional<PeriodOrTime> from;
    std::optional<CTimeEx> to;          ///< only periods that begin before this time
    std::optional<std::int64_t> count;  ///< how many; not along with `to`

    bool HasTime() const { return to || (from && std::holds_alternative<CTimeEx>(*from)); }
};

/// When the periods of a report are.
struct PeriodClock {
    CTimeEx origin;    ///< when period 0 begins
    CTimeSpanEx real;  ///< length of a period

    CTimeEx At(std::int64_t period) const {
        return origin + CTimeSpanEx(real.GetTotalMilliseconds() * period);
    }
};

struct PeriodBounds {
    std::int64_t first;
    std::optional<std::int64_t> end;  ///< the first period behind; nothing without an end
};

/// The numbers of the periods that were asked for. Raises Failure when a time is asked for and the
/// report has none. `firstStored` is the period in which the values begin.
PeriodBounds BoundsOf(const AskedPeriods& asked, const PeriodClock& clock,
                      std::int64_t firstStored);

}  // namespace mersola::tool
