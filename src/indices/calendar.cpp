#include "calendar.h"

#include <chrono>

namespace mersola {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

const CTimeEx& Epoch() {
    static const CTimeEx epoch(1970, 1, 1, 0, 0, 0);
    return epoch;
}

Milliseconds MillisecondsOf(sys_days day) {
    return day.time_since_epoch().count() * kDay;
}

// The boundary so many steps behind the last one that is not behind a time.
Milliseconds Boundary(Milliseconds time, IndexStep step, int steps) {
    const Milliseconds midnight = DayOf(time);
    const sys_days day{days(midnight / kDay)};
    const year_month_day date(day);
    switch (step) {
        case IndexStep::Hour:
            return midnight + ((time - midnight) / kHour + steps) * kHour;
        case IndexStep::Day:
            return midnight + steps * kDay;
        case IndexStep::Week:
            return midnight -
                   (static_cast<int>(std::chrono::weekday(day).iso_encoding()) - 1 - 7 * steps) *
                       kDay;
        case IndexStep::Month:
            return MillisecondsOf(
                sys_days(date.year() / date.month() / 1 + std::chrono::months(steps)));
        case IndexStep::Year:
            return MillisecondsOf(sys_days((date.year() + std::chrono::years(steps)) / 1 / 1));
        default:
            return time;
    }
}

}  // namespace

Milliseconds MillisecondsOf(const CTimeEx& time) {
    return (time - Epoch()).GetTotalMilliseconds();
}

CTimeEx TimeAt(Milliseconds time) {
    return Epoch() + CTimeSpanEx(time);
}

Milliseconds DayOf(Milliseconds time) {
    const Milliseconds within = time % kDay;
    return time - within - (within < 0 ? kDay : 0);
}

CTimeEx StepBefore(const CTimeEx& time, IndexStep step) {
    return TimeAt(Boundary(MillisecondsOf(time), step, 0));
}

CTimeEx StepBehind(const CTimeEx& time, IndexStep step) {
    const Milliseconds at = MillisecondsOf(time);
    const Milliseconds before = Boundary(at, step, 0);
    return TimeAt(before == at ? at : Boundary(at, step, 1));
}

std::vector<Milliseconds> Boundaries(Milliseconds from, Milliseconds to, IndexStep step,
                                     std::size_t most) {
    std::vector<Milliseconds> all{from};
    if (step != IndexStep::Whole) {
        for (Milliseconds next = Boundary(from, step, 1); next < to && all.size() < most;
             next = Boundary(next, step, 1))
            all.push_back(next);
    }
    all.push_back(to);
    return all;
}

}  // namespace mersola
