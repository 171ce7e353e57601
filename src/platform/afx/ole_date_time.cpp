// COleDateTime: from days to the calendar and back.
#include <mersola/platform/ole_date_time.h>

#include <time.h>

#include <algorithm>
#include <cmath>

using namespace std::chrono;

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr sys_days kEpoch = sys_days{1899y / December / 30};

constexpr std::int64_t SecondsAt(sys_days day) {
    return (day - kEpoch).count() * kSecondsPerDay;
}

constexpr std::int64_t kFirstSecond = SecondsAt(100y / January / 1);
constexpr std::int64_t kEndOfSeconds = SecondsAt(10000y / January / 1);

// Days on a straight line: the fraction counts on from midnight before 1899, too.
double Linear(double days) noexcept {
    const double whole = std::trunc(days);
    return whole + std::abs(days - whole);
}

double FromLinear(double linear) noexcept {
    const double whole = std::floor(linear);
    return whole < 0 ? whole - (linear - whole) : linear;
}

bool IsInRange(double linear) noexcept {
    constexpr double kFirstDay = static_cast<double>(kFirstSecond) / kSecondsPerDay;
    constexpr double kEndOfDays = static_cast<double>(kEndOfSeconds) / kSecondsPerDay;
    // The last half second would be rounded into the year 10000.
    return linear >= kFirstDay && linear < kEndOfDays - 0.5 / kSecondsPerDay;
}

// Status and days are open to everyone, so they may not fit together.
bool IsReadable(const COleDateTime& time) noexcept {
    return time.m_status == COleDateTime::valid && IsInRange(Linear(time.m_dt));
}

struct Civil {
    explicit Civil(const COleDateTime& time) noexcept
        : day(kEpoch + floor<days>(seconds{time.ToSeconds()})),
          clock(kEpoch + seconds{time.ToSeconds()} - sys_days{day}) {}

    year_month_day day;
    hh_mm_ss<seconds> clock;
};

template <class Part>
int PartOf(const COleDateTime& time, Part part) noexcept {
    return IsReadable(time) ? static_cast<int>(part(Civil(time))) : COleDateTime::error;
}

}  // namespace

COleDateTimeSpan::COleDateTimeSpan(double days) noexcept
    : m_span(days), m_status(std::isfinite(days) ? valid : invalid) {}

COleDateTimeSpan::COleDateTimeSpan(long days, int hours, int minutes, int seconds) noexcept
    : m_span(static_cast<double>(days) + hours / 24.0 + minutes / 1440.0 + seconds / 86400.0) {}

COleDateTimeSpan COleDateTimeSpan::operator+(const COleDateTimeSpan& other) const noexcept {
    COleDateTimeSpan sum(m_span + other.m_span);
    if (m_status != valid || other.m_status != valid) {
        sum.m_status = invalid;
    }
    return sum;
}

COleDateTimeSpan COleDateTimeSpan::operator-(const COleDateTimeSpan& other) const noexcept {
    return *this + -other;
}

COleDateTimeSpan COleDateTimeSpan::operator-() const noexcept {
    COleDateTimeSpan negative = *this;
    negative.m_span = -m_span;
    return negative;
}

std::partial_ordering COleDateTimeSpan::operator<=>(const COleDateTimeSpan& other) const noexcept {
    return m_status == valid && other.m_status == valid ? m_span <=> other.m_span
                                                        : std::partial_ordering::unordered;
}

COleDateTime::COleDateTime(double days) noexcept
    : m_dt(days), m_status(IsInRange(Linear(days)) ? valid : invalid) {}

COleDateTime COleDateTime::FromClock(system_clock::time_point point) {
    const time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(point));
    tm local{};
    if (!localtime_r(&seconds, &local)) {
        COleDateTime none;
        none.m_status = invalid;
        return none;
    }
    return COleDateTime(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                        local.tm_min, std::min(local.tm_sec, 59));
}

COleDateTime COleDateTime::FromSeconds(std::int64_t seconds) noexcept {
    COleDateTime time;
    if (seconds < kFirstSecond || seconds >= kEndOfSeconds) {
        time.m_status = invalid;
        return time;
    }
    // This is one division of whole numbers, so that equal moments are equal to the last bit.
    const auto day = floor<days>(std::chrono::seconds{seconds}).count();
    const auto rest = seconds - day * kSecondsPerDay;
    time.m_dt = static_cast<double>(day < 0 ? day * kSecondsPerDay - rest : seconds) /
                static_cast<double>(kSecondsPerDay);
    return time;
}

int COleDateTime::SetDateTime(int year, int month, int day, int hour, int minute,
                              int second) noexcept {
    const auto fits = [](int part, int least, int most) { return part >= least && part <= most; };
    *this = COleDateTime();
    m_status = invalid;
    // The calendar's types wrap what does not fit them, so that the parts are looked at first.
    if (!fits(year, 100, 9999) || !fits(month, 1, 12) || !fits(day, 1, 31) || !fits(hour, 0, 23) ||
        !fits(minute, 0, 59) || !fits(second, 0, 59)) {
        return invalid;
    }
    const year_month_day date(std::chrono::year{year},
                              std::chrono::month{static_cast<unsigned>(month)},
                              std::chrono::day{static_cast<unsigned>(day)});
    if (date.ok()) {
        *this = FromSeconds(SecondsAt(date) + (hour * 60 + minute) * 60 + second);
    }
    return m_status;
}

std::int64_t COleDateTime::ToSeconds() const noexcept {
    if (!IsReadable(*this)) {
        return 0;
    }
    const double whole = std::trunc(m_dt);
    return static_cast<std::int64_t>(whole) * kSecondsPerDay +
           std::llround(std::abs(m_dt - whole) * kSecondsPerDay);
}

int COleDateTime::GetYear() const noexcept {
    return PartOf(*this, [](const Civil& civil) { return int{civil.day.year()}; });
}

int COleDateTime::GetMonth() const noexcept {
    return PartOf(*this, [](const Civil& civil) { return unsigned{civil.day.month()}; });
}

int COleDateTime::GetDay() const noexcept {
    return PartOf(*this, [](const Civil& civil) { return unsigned{civil.day.day()}; });
}

int COleDateTime::GetHour() const noexcept {
    return PartOf(*this, [](const Civil& civil) { return civil.clock.hours().count(); });
}

int COleDateTime::GetMinute() const noexcept {
    return PartOf(*this, [](const Civil& civil) { return civil.clock.minutes().count(); });
}

int COleDateTime::GetSecond() const noexcept {
    return PartOf(*this, [](const Civil& civil) { return civil.clock.seconds().count(); });
}

COleDateTime COleDateTime::operator+(const COleDateTimeSpan& span) const noexcept {
    COleDateTime sum(FromLinear(Linear(m_dt) + span.m_span));
    if (m_status != valid || span.m_status != COleDateTimeSpan::valid) {
        sum.m_status = invalid;
    }
    return sum;
}

COleDateTimeSpan COleDateTime::operator-(const COleDateTime& other) const noexcept {
    COleDateTimeSpan difference(Linear(m_dt) - Linear(other.m_dt));
    if (m_status != valid || other.m_status != valid) {
        difference.m_status = COleDateTimeSpan::invalid;
    }
    return difference;
}

bool COleDateTime::operator==(const COleDateTime& other) const noexcept {
    return m_status == other.m_status && (m_status != valid || Linear(m_dt) == Linear(other.m_dt));
}

std::partial_ordering COleDateTime::operator<=>(const COleDateTime& other) const noexcept {
    return m_status == valid && other.m_status == valid ? Linear(m_dt) <=> Linear(other.m_dt)
                                                        : std::partial_ordering::unordered;
}
