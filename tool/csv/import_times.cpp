// Reading times in several forms, and making them local.
#include "import_times.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <variant>

#include "basics/failure.h"

namespace mersola::tool {
namespace {

using namespace std::chrono;

struct FormNames {
    const char* option;
    const char* description;
    const char* example;
};
constexpr std::array<FormNames, 4> kForms{
    {{"ymd", "the year first in dates", "2026-11-15 07:30:12.045"},
     {"dmy", "the day first in dates", "15.11.2026 07:30:12.045"},
     {"mdy", "the month first in dates", "11/15/2026 07:30:12.045"},
     {"epoch", "seconds since 1970", "1794727812.045"}}};

const FormNames& NamesOf(TimeForm form) {
    return kForms[static_cast<std::size_t>(form)];
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Takes a number of as many digits off the text; nothing when they are fewer or more.
std::optional<int> TakeNumber(std::string_view& text, std::size_t least, std::size_t most) {
    const auto size =
        static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin());
    if (size < least || size > most) return std::nullopt;
    int number = 0;
    std::from_chars(text.data(), text.data() + size, number);
    text.remove_prefix(size);
    return number;
}

// Takes the first character off the text when it is one of these, and gives it; else 0.
char Take(std::string_view& text, std::string_view set) {
    if (text.empty() || set.find(text.front()) == set.npos) return 0;
    const char taken = text.front();
    text.remove_prefix(1);
    return taken;
}

void TakeBlanks(std::string_view& text) {
    while (Take(text, " ")) {
    }
}

// The fraction of a second behind the point, cut to milliseconds.
std::optional<milliseconds> TakeFraction(std::string_view& text) {
    std::string_view digits = text.substr(0, 9);
    digits = digits.substr(
        0, static_cast<std::size_t>(std::ranges::find_if_not(digits, IsDigit) - digits.begin()));
    if (digits.empty()) return std::nullopt;
    text.remove_prefix(digits.size());
    int thousandths = 0;
    for (std::size_t i = 0; i < 3; ++i)
        thousandths = thousandths * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    return milliseconds(thousandths);
}

std::optional<local_days> TakeDate(std::string_view& text, TimeForm form) {
    const bool isYearFirst = form == TimeForm::YearFirst;
    std::array<int, 3> parts{};
    char mark = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const bool isYear = i == (isYearFirst ? 0 : 2);
        const auto part = isYear ? TakeNumber(text, 4, 4) : TakeNumber(text, 1, 2);
        if (!part) return std::nullopt;
        parts[i] = *part;
        if (i == 2) break;
        const char next = Take(text, "-./");
        if (!next || (mark && mark != next)) return std::nullopt;
        mark = next;
    }
    if (!isYearFirst) std::swap(parts[0], parts[2]);  // now year, month, day or year, day, month
    if (form == TimeForm::MonthFirst) std::swap(parts[1], parts[2]);
    const year_month_day date{year(parts[0]), month(static_cast<unsigned>(parts[1])),
                              day(static_cast<unsigned>(parts[2]))};
    if (!date.ok()) return std::nullopt;
    return local_days(date);
}

// "7:30", "07:30:12.045678", "12:30:12 AM".
std::optional<milliseconds> TakeClock(std::string_view& text) {
    auto hour = TakeNumber(text, 1, 2);
    if (!hour || !Take(text, ":")) return std::nullopt;
    const auto minute = TakeNumber(text, 2, 2);
    if (!minute || *minute > 59) return std::nullopt;
    milliseconds rest = minutes(*minute);
    if (Take(text, ":")) {
        const auto second = TakeNumber(text, 2, 2);
        if (!second || *second > 59) return std::nullopt;
        rest += seconds(*second);
        if (Take(text, ".,")) {
            const auto fraction = TakeFraction(text);
            if (!fraction) return std::nullopt;
            rest += *fraction;
        }
    }
    auto half = text;
    TakeBlanks(half);
    if (const char which = Take(half, "AaPp"); which && Take(half, "Mm")) {
        if (*hour < 1 || *hour > 12) return std::nullopt;
        text = half;
        *hour = *hour % 12 + (which == 'P' || which == 'p' ? 12 : 0);
    }
    if (*hour > 23) return std::nullopt;
    return hours(*hour) + rest;
}

// "Z", "+02", "+0200", "+02:00".
std::optional<minutes> TakeOffset(std::string_view& text) {
    if (Take(text, "Zz")) return minutes(0);
    const char sign = Take(text, "+-");
    if (!sign) return std::nullopt;
    const bool isTogether = text.size() == 4;
    const auto both = isTogether ? TakeNumber(text, 4, 4) : std::nullopt;
    if (isTogether && !both) return std::nullopt;
    const auto hour = both ? *both / 100 : TakeNumber(text, 2, 2);
    auto minute = both ? std::optional(*both % 100) : std::optional(0);
    if (!both && Take(text, ":")) minute = TakeNumber(text, 2, 2);
    if (!hour || !minute || *hour > 15 || *minute > 59) return std::nullopt;
    const minutes offset = hours(*hour) + minutes(*minute);
    return sign == '-' ? -offset : offset;
}

using FileTime = std::variant<LocalTime, UniversalTime>;

// Seconds, or milliseconds where seconds would lie thousands of years ahead.
std::optional<FileTime> ParseEpoch(std::string_view text) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || number < 0) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
    constexpr std::int64_t most = 100'000'000'000;
    const bool isFine = number >= most;
    if (number >= most * 1000) return std::nullopt;
    milliseconds passed = isFine ? milliseconds(number) : seconds(number);
    if (Take(text, ".,")) {
        const auto fraction = TakeFraction(text);
        if (!fraction) return std::nullopt;
        if (!isFine) passed += *fraction;
    }
    if (!text.empty()) return std::nullopt;
    return UniversalTime(passed);
}

std::optional<FileTime> Parse(std::string_view text, TimeForm form) {
    if (form == TimeForm::Epoch) return ParseEpoch(text);
    const auto date = TakeDate(text, form);
    if (!date) return std::nullopt;
    if (text.empty()) return LocalTime(*date);
    if (!Take(text, "Tt")) {
        if (text.front() != ' ') return std::nullopt;
        TakeBlanks(text);
    }
    const auto clock = TakeClock(text);
    if (!clock) return std::nullopt;
    const LocalTime time = *date + *clock;
    if (text.empty()) return time;
    TakeBlanks(text);
    const auto offset = TakeOffset(text);
    if (!offset || !text.empty()) return std::nullopt;
    return UniversalTime((time - *offset).time_since_epoch());
}

}  // namespace

std::optional<TimeForm> ParseTimeForm(const std::string& text) {
    const auto found = std::ranges::find(kForms, text, &FormNames::option);
    if (found == kForms.end()) return std::nullopt;
    return static_cast<TimeForm>(found - kForms.begin());
}

const char* DescribeTimeForm(TimeForm form) {
    return NamesOf(form).description;
}

bool IsClock(const std::string& text) {
    std::string_view rest = text;
    return TakeClock(rest).has_value();
}

TimeForm GuessTimeForm(std::span<const std::string> texts) {
    const auto all = [&](TimeForm form) {
        return std::ranges::all_of(texts,
                                   [&](const auto& text) { return Parse(text, form).has_value(); });
    };
    using enum TimeForm;
    if (texts.empty()) return YearFirst;
    // With points the day is first wherever people write dates so.
    const bool hasPoints = texts.front().find_first_of("-./") != std::string::npos &&
                           texts.front()[texts.front().find_first_of("-./")] == '.';
    const bool isDayFirst = all(DayFirst), isMonthFirst = !hasPoints && all(MonthFirst);
    if (isDayFirst && isMonthFirst)
        throw Failure(
            "in the times of the first lines, as " + Quoted(Excerpt(texts.front())) +
            ", either the day or the month may stand first; say --times dmy or --times mdy");
    if (isDayFirst) return DayFirst;
    if (isMonthFirst) return MonthFirst;
    for (const TimeForm form : {YearFirst, Epoch, DayFirst, MonthFirst}) {
        if (Parse(texts.front(), form)) return form;
    }
    return YearFirst;
}

CTimeEx TimeReader::Read(const std::string& text) const {
    const auto refuse = [&](const std::string& reason) -> Failure {
        return Failure("Time " + Quoted(Excerpt(text)) + " " + reason);
    };
    const auto parsed = Parse(text, form_);
    if (!parsed) throw refuse(std::string("is no time, as '") + NamesOf(form_).example + "'");
    const auto* universal = std::get_if<UniversalTime>(&*parsed);
    if (universal && !zone_)
        throw refuse(
            "is in UTC or has an offset from it, and local times are stored; say with --zone "
            "those of which zone, as UTC or Europe/Berlin");
    const LocalTime local = universal ? zone_->Local(*universal) : std::get<LocalTime>(*parsed);
    const auto days = floor<std::chrono::days>(local);
    const year_month_day date(days);
    const hh_mm_ss clock(local - days);
    const CTimeEx time(
        static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
        static_cast<int>(static_cast<unsigned>(date.day())),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    if (!time.IsValid()) throw refuse("lies beyond the years that are stored");
    if (const int occurrences = zone_ ? zone_->Occurrences(local) : 1; occurrences != 1)
        throw refuse("lies in an hour that the clocks of " + zone_->Name() +
                     (occurrences == 2 ? " show twice" : " leave out") +
                     "; store it with a --zone that has no summer time, as UTC or Etc/GMT-1");
    return time;
}

}  // namespace mersola::tool
