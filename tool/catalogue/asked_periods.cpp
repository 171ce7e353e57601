// From times to numbers of periods.
#include "asked_periods.h"

#include "basics/failure.h"
#include "basics/times_text.h"

namespace mersola::tool {
namespace {

// The first period that begins at that time or later.
std::int64_t PeriodFrom(const CTimeEx& time, const PeriodClock& clock) {
    const std::int64_t passed = (time - clock.origin).GetTotalMilliseconds();
    const std::int64_t length = clock.real.GetTotalMilliseconds();
    return passed <= 0 ? 0 : (passed - 1) / length + 1;
}

}  // namespace

std::optional<PeriodOrTime> ParsePeriodOrTime(const std::string& text) {
    if (const auto number = ParseNumber<std::int32_t>(text); number && *number >= 0) return *number;
    if (const auto time = ParseTimeOrDate(text)) return *time;
    return std::nullopt;
}

PeriodBounds BoundsOf(const AskedPeriods& asked, const PeriodClock& clock,
                      std::int64_t firstStored) {
    if (asked.HasTime() && (!clock.origin.IsValid() || clock.real.GetTotalMilliseconds() <= 0))
        throw Failure("the report has no valid times; give numbers of periods instead of times");
    PeriodBounds bounds{firstStored, {}};
    if (asked.from) {
        const auto* number = std::get_if<std::int32_t>(&*asked.from);
        bounds.first = number ? *number : PeriodFrom(std::get<CTimeEx>(*asked.from), clock);
    }
    if (asked.to) bounds.end = PeriodFrom(*asked.to, clock);
    if (asked.count) bounds.end = bounds.first + *asked.count;
    return bounds;
}

}  // namespace mersola::tool
