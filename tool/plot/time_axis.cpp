// Round times, from milliseconds to centuries.
#include "time_axis.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace mersola::tool {
namespace {

constexpr std::int64_t kSecond = 1000, kMinute = 60 * kSecond, kDay = 24 * 60 * kMinute,
                       kMonth = 30 * kDay;

// In ms, and the others in seconds and days. From each to the next it is so far only that a tick
// falls into any three of the former.
constexpr int kMilliseconds[]{1, 2, 5, 10, 20, 50, 100, 200, 500};
constexpr int kSeconds[]{1,   2,   5,    10,   15,   30,    60,    120,  300,
                         600, 900, 1800, 3600, 7200, 10800, 21600, 43200};
constexpr int kDays[]{1, 2, 4, 7, 14};
constexpr std::array kMonths{1, 2, 3, 6, 12, 24, 60, 120, 240, 600, 1200, 2400, 6000, 12000};

// A Monday, so that weeks begin with one.
CTimeEx Origin() {
    return {2001, 1, 1, 0, 0, 0};
}

std::string DateText(const CTimeEx& time) {
    CString text;
    text.Format("%04d-%02d-%02d", time.GetYear(), time.GetMonth(), time.GetDay());
    return std::string(text);
}

std::string ClockText(const CTimeEx& time, std::int64_t step) {
    CString text;
    text.Format("%02d:%02d:%02d.%03d", time.GetHour(), time.GetMinute(), time.GetSecond(),
                time.GetMilliseconds());
    const std::size_t length = step % kMinute == 0   ? 5
                               : step % kSecond == 0 ? 8
                               : step % 100 == 0     ? 10
                               : step % 10 == 0      ? 11
                                                     : 12;
    return std::string(text).substr(0, length);
}

std::string MonthText(const CTimeEx& time) {
    constexpr std::array kNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return kNames[static_cast<std::size_t>(time.GetMonth() - 1)];
}

// The times of the ticks.
std::vector<CTimeEx> RoundTimes(const CTimeEx& start, const CTimeEx& end, std::int64_t step) {
    std::vector<CTimeEx> times;
    const auto past = (start - Origin()).GetTotalMilliseconds();
    const auto offset = ((past % step) + step) % step;
    const auto length = (end - start).GetTotalMilliseconds();
    for (auto at = offset == 0 ? 0 : step - offset; at <= length; at += step)
        times.push_back(start + CTimeSpanEx(at));
    return times;
}

std::vector<CTimeEx> RoundMonths(const CTimeEx& start, const CTimeEx& end, int step) {
    std::vector<CTimeEx> times;
    const int first = (start.GetYear() * 12 + start.GetMonth() - 1) / step * step;
    for (int month = first; month <= 9999 * 12 + 11; month += step) {
        const CTimeEx time(month / 12, month % 12 + 1, 1, 0, 0, 0);
        if (!time.IsValid() || (time - start).GetTotalMilliseconds() < 0) continue;
        if ((end - time).GetTotalMilliseconds() < 0) break;
        times.push_back(time);
    }
    return times;
}

// Steps of up to two weeks, in ms.
std::vector<std::int64_t> Steps() {
    std::vector<std::int64_t> steps(std::begin(kMilliseconds), std::end(kMilliseconds));
    for (const int seconds : kSeconds)
        steps.push_back(seconds * kSecond);
    for (const int days : kDays)
        steps.push_back(days * kDay);
    return steps;
}

}  // namespace

TimeAxis MakeTimeAxis(const CTimeEx& start, const CTimeEx& end, int most) {
    const auto length = (end - start).GetTotalMilliseconds();
    const auto fits = [&](std::int64_t step) { return length / step <= most; };
    const auto steps = Steps();
    const auto step = std::ranges::find_if(steps, fits);
    const auto months =
        std::ranges::find_if(kMonths, [&](int count) { return fits(count * kMonth); });
    const bool isMonths = step == steps.end();
    const int count = months == kMonths.end() ? kMonths.back() : *months;
    const bool isClock = !isMonths && *step < kDay, isYears = isMonths && count >= 12;

    const CTimeEx last = end - CTimeSpanEx(1);
    const auto around = [&](const CTimeEx& time) {
        return isYears ? "" : isClock ? DateText(time) : std::to_string(time.GetYear());
    };
    const bool isOne = around(start) == around(last);
    TimeAxis axis{{}, isClock ? "Local time" : "Local date"};
    if (isOne && !isYears) axis.name += (isClock ? " on " : " in ") + around(start);
    std::string shown = isOne ? around(start) : "";
    for (const CTimeEx& time :
         isMonths ? RoundMonths(start, end, count) : RoundTimes(start, end, *step)) {
        TimeTick tick{static_cast<double>((time - start).GetTotalMilliseconds()) / 1000,
                      isClock    ? ClockText(time, *step)
                      : isYears  ? std::to_string(time.GetYear())
                      : isMonths ? MonthText(time)
                                 : std::to_string(time.GetDay()) + " " + MonthText(time),
                      ""};
        if (!isOne && around(time) != shown) tick.around = shown = around(time);
        axis.ticks.push_back(std::move(tick));
    }
    return axis;
}

}  // namespace mersola::tool
