// Columns of periods, of hours, of days and of weeks.
#include "columns.h"

#include <algorithm>
#include <array>

#include "basics/times_text.h"

namespace mersola::tool {
namespace {

constexpr std::int64_t kHour = 3'600'000, kDay = 24 * kHour, kWeek = 7 * kDay;

// A Monday.
CTimeEx Origin() {
    return {2001, 1, 1, 0, 0, 0};
}

constexpr std::int64_t RoundedUp(std::int64_t number, std::int64_t step) {
    const auto over = ((number % step) + step) % step;
    return over == 0 ? number : number - over + step;
}

}  // namespace

std::int32_t Clock::PeriodFrom(const CTimeEx& time, std::int32_t least, std::int32_t most) const {
    const auto offset = RoundedUp((time - origin).GetTotalMilliseconds(), length) / length;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(offset, least, most));
}

ColumnLength::ColumnLength(std::int64_t pixel, std::int64_t period)
    : milliseconds(RoundedUp(std::max(pixel, period), period)), isRound(false) {
    if (milliseconds == period || milliseconds <= kHour) return;
    isRound = true;
    constexpr std::array kLengths{2 * kHour, 3 * kHour, kDay};
    const auto fitting =
        std::ranges::find_if(kLengths, [&](auto length) { return length >= milliseconds; });
    milliseconds = fitting != kLengths.end() ? *fitting : RoundedUp(milliseconds, kWeek);
}

std::string ColumnLength::Text(std::int64_t period) const {
    if (!isRound) return Counted(milliseconds / period, "period");
    return milliseconds < kDay ? PeriodText(CTimeSpanEx(milliseconds))
                               : Counted(milliseconds / kDay, "day");
}

std::vector<std::int32_t> ColumnEdges(const Clock& clock, const Range& periods,
                                      const ColumnLength& column) {
    const std::int32_t end = periods.first + periods.count;
    std::vector<std::int32_t> edges{periods.first};
    while (edges.back() < end) {
        const CTimeEx start = clock.At(edges.back());
        const CTimeEx next =
            column.isRound
                ? Origin() + CTimeSpanEx(RoundedUp((start - Origin()).GetTotalMilliseconds() + 1,
                                                   column.milliseconds))
                : start + CTimeSpanEx(column.milliseconds);
        edges.push_back(clock.PeriodFrom(next, edges.back() + 1, end));
    }
    return edges;
}

CTimeEx MidnightBefore(const CTimeEx& time) {
    return {time.GetYear(), time.GetMonth(), time.GetDay(), 0, 0, 0};
}

}  // namespace mersola::tool
