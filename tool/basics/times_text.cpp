// Reading and writing times and numbers, whatever the locale.
#include "times_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace mersola::tool {
namespace {

struct Unit {
    std::string_view name;
    std::int64_t milliseconds;
};
constexpr std::array<Unit, 4> kUnits{{{"h", 3'600'000}, {"min", 60'000}, {"s", 1000}, {"ms", 1}}};
constexpr std::int64_t kLongestPeriod = 24 * kUnits[0].milliseconds;
constexpr std::array<Unit, 2> kUnitsOfAges{{{"d", kLongestPeriod}, {"w", 7 * kLongestPeriod}}};
constexpr std::int64_t kGreatestAge = 36'500 * kLongestPeriod;

// Takes exactly `count` digits off the text.
bool TakeDigits(std::string_view& text, std::size_t count, int& value) {
    const auto digits = text.substr(0, count);
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (digits.size() < count || !std::ranges::all_of(digits, isDigit)) return false;
    std::from_chars(digits.data(), digits.data() + count, value);
    text.remove_prefix(count);
    return true;
}

bool TakeOneOf(std::string_view& text, std::string_view set) {
    if (text.empty() || set.find(text.front()) == set.npos) return false;
    text.remove_prefix(1);
    return true;
}

// Takes "hh:mm", "hh:mm:ss" or "hh:mm:ss.mmm" with one to three digits behind the point.
bool TakeClock(std::string_view& text, int& hour, int& minute, int& second, int& millisecond) {
    if (!TakeDigits(text, 2, hour) || !TakeOneOf(text, ":") || !TakeDigits(text, 2, minute))
        return false;
    if (!TakeOneOf(text, ":")) return true;
    if (!TakeDigits(text, 2, second)) return false;
    if (!TakeOneOf(text, ".")) return true;
    const auto digits = std::clamp<std::size_t>(text.size(), 1, 3);
    if (!TakeDigits(text, digits, millisecond)) return false;
    for (auto missing = digits; missing < 3; ++missing)
        millisecond *= 10;
    return true;
}

// Whole milliseconds, up to the greatest age.
std::optional<std::int64_t> ParseSpan(std::string_view text, bool isAge) {
    double count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc()) return std::nullopt;
    std::string_view name(end, static_cast<std::size_t>(text.data() + text.size() - end));
    TakeOneOf(name, " ");
    const Unit* unit = std::ranges::find(kUnits, name, &Unit::name);
    if (unit == kUnits.end()) {
        unit = std::ranges::find(kUnitsOfAges, name, &Unit::name);
        if (!isAge || unit == kUnitsOfAges.end()) return std::nullopt;
    }
    const double exact = count * static_cast<double>(unit->milliseconds);
    if (!(exact >= 1 && exact <= static_cast<double>(kGreatestAge))) return std::nullopt;
    const auto milliseconds = std::llround(exact);
    if (std::abs(exact - static_cast<double>(milliseconds)) > 1e-6) return std::nullopt;
    return milliseconds;
}

template <class Number>
std::string Shortest(Number number) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return std::string(text.data(), end);
}

}  // namespace

std::optional<CTimeSpanEx> ParsePeriod(std::string_view text) {
    const auto span = ParseSpan(text, false);
    return span && *span >= 1 && *span <= kLongestPeriod ? std::optional(CTimeSpanEx(*span))
                                                         : std::nullopt;
}

std::optional<CTimeSpanEx> ParseAge(std::string_view text) {
    const auto span = ParseSpan(text, true);
    return span && *span >= 1000 ? std::optional(CTimeSpanEx(*span)) : std::nullopt;
}

std::optional<CTimeEx> ParseTime(std::string_view text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
    if (!TakeDigits(text, 4, year) || !TakeOneOf(text, "-") || !TakeDigits(text, 2, month) ||
        !TakeOneOf(text, "-") || !TakeDigits(text, 2, day) || !TakeOneOf(text, " T") ||
        !TakeClock(text, hour, minute, second, millisecond) || !text.empty())
        return std::nullopt;
    const CTimeEx time(year, month, day, hour, minute, second, millisecond);
    if (!time.IsValid()) return std::nullopt;
    return time;
}

std::optional<CTimeEx> ParseTimeOrDate(std::string_view text) {
    constexpr std::string_view form = "2026-11-15";
    return ParseTime(text.size() == form.size() ? std::string(text) + " 00:00" : std::string(text));
}

std::string PeriodText(const CTimeSpanEx& span) {
    const auto total = span.GetTotalMilliseconds();
    const auto fits = [=](const Unit& unit) {
        return total != 0 && total % unit.milliseconds == 0;
    };
    const auto unit = std::ranges::find_if(kUnits, fits);
    if (unit == kUnits.end()) return "0 s";
    return std::to_string(total / unit->milliseconds) + " " + std::string(unit->name);
}

std::string TimeText(const CTimeEx& time) {
    if (!time.IsValid()) return "unknown";
    CString text;
    text.Format("%04d-%02d-%02d %02d:%02d:%02d.%03d", time.GetYear(), time.GetMonth(),
                time.GetDay(), time.GetHour(), time.GetMinute(), time.GetSecond(),
                time.GetMilliseconds());
    return std::string(text.View());
}

std::string NumberText(double number) {
    return Shortest(number);
}

std::string NumberText(float number) {
    return Shortest(number);
}

std::string SizeText(std::int64_t bytes) {
    if (bytes < 1000) return Counted(bytes, "byte");
    double size = static_cast<double>(bytes);
    const char* unit = "";
    for (const char* each : {"kB", "MB", "GB", "TB"}) {
        if (size < 999.5) break;
        size /= 1000;
        unit = each;
    }
    CString text;
    text.Format(size < 9.95 ? "%.1f %s" : "%.0f %s", size, unit);
    return std::string(text.View());
}

std::string Counted(std::int64_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace mersola::tool
