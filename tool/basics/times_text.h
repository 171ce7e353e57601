// Times, lengths of time and numbers as people write them.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include <mersola/times.h>

namespace mersola::tool {

/// Reads "125ms", "1s", "0.5s", "15min", "1h", a blank before the unit allowed: whole milliseconds
/// from 1 ms to 24 h. Nothing for any other text.
std::optional<CTimeSpanEx> ParsePeriod(std::string_view text);

/// Reads "90d", "12h", "2w" and the units of ParsePeriod, a blank before the unit allowed: whole
/// milliseconds from 1 s to 36,500 days. Nothing for any other text.
std::optional<CTimeSpanEx> ParseAge(std::string_view text);

/// Reads "2026-11-15 07:30", with or without seconds and their fraction to the millisecond, and
/// with a blank or a T before the hour. Nothing for any other text or for what is no date.
std::optional<CTimeEx> ParseTime(std::string_view text);

/// Reads what ParseTime reads, or a date alone, which stands for its midnight.
std::optional<CTimeEx> ParseTimeOrDate(std::string_view text);

/// The length in the largest unit that needs no fraction, in a form that ParsePeriod reads: "15
/// min".
std::string PeriodText(const CTimeSpanEx& span);

/// The time to the millisecond, in a form that ParseTime reads; "unknown" for an invalid time.
std::string TimeText(const CTimeEx& time);

/// The whole text as a number, whatever the locale; nothing for any other text.
template <class Number>
std::optional<Number> ParseNumber(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return number;
}

/// A number in its shortest form, with a decimal point.
std::string NumberText(double number);
std::string NumberText(float number);

/// A number of bytes to two digits at least: "640 bytes", "8.2 kB", "120 MB".
std::string SizeText(std::int64_t bytes);

/// "1 period", "2 periods".
std::string Counted(std::int64_t count, const char* noun);

}  // namespace mersola::tool
