// Times and lengths of time as texts, of the database, of people and of files.
#include <cstdlib>
#include <vector>

#include <mersola/times.h>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "csv/import_times.h"
#include "csv/time_zone.h"
#include "property.h"

namespace mersola::fuzz {
namespace {

void CheckTime(const std::string& text) {
    const CTimeEx before(2026, 11, 15, 7, 30, 12, 45);
    CTimeEx time = before;
    if (!CTimeEx::FromText(text.c_str(), time)) {
        Require(time.ToText() == before.ToText(), "a text that is no time leaves it", text);
        return;
    }
    Require(time.IsValid(), "a time that was read is one", text);
    const CString written = time.ToText();
    CTimeEx again;
    Require(CTimeEx::FromText(written, again) && again.ToText() == written, "a time reads back",
            written.View());
    const auto shown = tool::TimeText(time);
    const auto parsed = tool::ParseTime(shown);
    Require(parsed && parsed->ToText() == written, "a time that is shown reads back", shown);
}

void CheckSpan(const std::string& text) {
    CTimeSpanEx span(5);
    if (!CTimeSpanEx::FromText(text.c_str(), span)) {
        Require(span == CTimeSpanEx(5), "a text that is no length leaves it", text);
        return;
    }
    const CTimeEx time(2026, 11, 15, 7, 30, 12, 45);
    const CTimeEx later = time + span;
    // Some ten thousand years are exact, which is all that a time has room for.
    if (later.IsValid()) {
        Require((later - span).ToText() == time.ToText(), "a length goes forth and back", text);
        Require((later - time).GetTotalMilliseconds() == span.GetTotalMilliseconds(),
                "a difference is the length", text);
        CTimeSpanEx again;
        Require(CTimeSpanEx::FromText(span.ToText(), again) &&
                    again.GetTotalMilliseconds() == span.GetTotalMilliseconds(),
                "a length reads back", span.ToText().View());
    }
    Require(!tool::PeriodText(span).empty(), "a length can be shown", text);
}

void CheckPeriod(const std::string& text) {
    const auto period = tool::ParsePeriod(text);
    if (!period) return;
    const auto shown = tool::PeriodText(*period);
    const auto again = tool::ParsePeriod(shown);
    Require(again && *again == *period, "a period that is shown reads back", shown);
}

// Each line as a file could have it.
void CheckFileTimes(const std::vector<std::string>& lines) {
    static const tool::TimeZone berlin("Europe/Berlin");
    using enum tool::TimeForm;
    for (const auto form : {YearFirst, DayFirst, MonthFirst, Epoch}) {
        for (const auto* zone : {static_cast<const tool::TimeZone*>(nullptr), &berlin}) {
            const tool::TimeReader reader(form, zone);
            for (const auto& line : lines) {
                try {
                    const CTimeEx time = reader.Read(line);
                    Require(time.IsValid(), "a time of a file is one", line);
                    const auto shown = tool::TimeText(time);
                    const auto again = tool::TimeReader(YearFirst, zone).Read(shown);
                    Require(again.ToText() == time.ToText(), "a time of a file reads back", shown);
                } catch (const tool::Failure&) {
                }
            }
        }
    }
    try {
        static_cast<void>(tool::GuessTimeForm(lines));
    } catch (const tool::Failure&) {
    }
}

void Check(const std::string& input) {
    std::vector<std::string> lines;
    std::string_view rest = input;
    while (!rest.empty() && lines.size() < 20) {
        lines.emplace_back(rest.substr(0, rest.find('\n')));
        rest.remove_prefix(std::min(lines.back().size() + 1, rest.size()));
    }
    for (const auto& line : lines) {
        CheckTime(line);
        CheckSpan(line);
        CheckPeriod(line);
        static_cast<void>(tool::ParseTimeOrDate(line));
    }
    CheckFileTimes(lines);
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mersola::fuzz::Check(mersola::fuzz::TextOf(data, size));
    return 0;
}
