// Times as numbers and as texts.
#include "times.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "handle.h"

namespace mersola::c {
namespace {

constexpr std::int64_t kEpoch = std::int64_t{25569} * 86400;  // 1970, in seconds from 1899

// Takes `digits` digits; false when there are fewer.
bool Take(const char*& text, int digits, int& number) {
    number = 0;
    for (int i = 0; i < digits; ++i, ++text) {
        if (*text < '0' || *text > '9') return false;
        number = number * 10 + (*text - '0');
    }
    return true;
}

bool TakePart(const char*& text, char before, int& number) {
    if (*text != before) return false;
    return Take(++text, 2, number);
}

// What stands behind the date. False when it is no time of a day.
bool TakeTimeOfDay(const char*& text, int& hour, int& minute, int& second, int& milliseconds) {
    if (*text == '\0') return true;
    if (*text != 'T' && *text != ' ') return false;
    if (!Take(++text, 2, hour) || !TakePart(text, ':', minute)) return false;
    if (*text == '\0') return true;
    if (!TakePart(text, ':', second)) return false;
    if (*text != '.') return *text == '\0';
    ++text;
    int weight = 100;
    for (; *text >= '0' && *text <= '9' && weight > 0; ++text, weight /= 10)
        milliseconds += (*text - '0') * weight;
    return *text == '\0' && weight < 100;
}

}  // namespace

std::int64_t Milliseconds(const CTimeEx& time) {
    if (!time.IsValid()) return MERSOLA_NO_TIME;
    return (time.GetDate().ToSeconds() - kEpoch) * 1000 + time.GetMilliseconds();
}

CTimeEx TimeOf(std::int64_t milliseconds) {
    const std::int64_t rest = (milliseconds % 1000 + 1000) % 1000;
    const std::int64_t seconds = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    return CTimeEx(COleDateTime::FromSeconds(seconds + kEpoch)) + CTimeSpanEx(rest);
}

std::string IsoText(const CTimeEx& time) {
    if (!time.IsValid()) return {};
    std::array<char, 80> text{};
    const int length = std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03d",
                                     time.GetYear(), time.GetMonth(), time.GetDay(), time.GetHour(),
                                     time.GetMinute(), time.GetSecond(), time.GetMilliseconds());
    return std::string(text.data(), static_cast<std::size_t>(length));
}

CTimeEx RequiredTime(std::int64_t milliseconds, const char* what) {
    const CTimeEx time = TimeOf(milliseconds);
    if (!time.IsValid())
        Refuse(std::string(what) + " " + std::to_string(milliseconds) +
               " is no time in the years 100 to 9999");
    return time;
}

}  // namespace mersola::c

using namespace mersola::c;

int32_t mersola_time_text(int64_t time, char* text) {
    return Guarded(ThreadError(), [&] {
        const std::string written = IsoText(RequiredTime(time, "the time"));
        std::memcpy(&Required(text, "the text"), written.c_str(), written.size() + 1);
    });
}

int32_t mersola_time_read(const char* text, int64_t* time) {
    return Guarded(ThreadError(), [&] {
        const char* rest = &Required(text, "the text");
        int64_t& out = Required(time, "the time");
        int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, milliseconds = 0;
        const bool isRead = Take(rest, 4, year) && TakePart(rest, '-', month) &&
                            TakePart(rest, '-', day) &&
                            TakeTimeOfDay(rest, hour, minute, second, milliseconds);
        const CTimeEx read(year, month, day, hour, minute, second, milliseconds);
        if (!isRead || !read.IsValid())
            Refuse("a local time is given as 2026-11-15T07:30:12.045, without a zone");
        out = Milliseconds(read);
    });
}
