// CTimeSpanEx: a length of time in days, counted in milliseconds.
#include <mersola/times.h>

#include <array>
#include <cmath>

#include "time_text.h"

IMPLEMENT_SERIAL(CTimeSpanEx, CObject, 1)

namespace {

constexpr double kDaysPerMillisecond = 1.1574074074074074e-8;
constexpr double kMillisecondsPerDay = 8.64e7;
// A tenth of a millisecond keeps values just below a whole one from losing it.
constexpr double kTenthInDays = 1.1574074074074074e-9;

constexpr auto kMaxTotal = std::numeric_limits<std::int64_t>::max();
constexpr double kBeyondTotal = 9223372036854775808.0;

double Magnitude(double days) noexcept {
    return std::abs(days) + kTenthInDays;
}

// The milliseconds of the last, broken day.
std::int64_t Broken(double days) noexcept {
    const double magnitude = Magnitude(days);
    return static_cast<std::int64_t>((magnitude - std::trunc(magnitude)) * kMillisecondsPerDay);
}

int Part(const COleDateTimeSpan& span, std::int64_t unit, std::int64_t modulus) noexcept {
    if (span.GetStatus() != COleDateTimeSpan::valid) {
        return 0;
    }
    const auto part = static_cast<int>(Broken(span.m_span) / unit % modulus);
    return span.m_span < 0 ? -part : part;
}

}  // namespace

CTimeSpanEx::CTimeSpanEx(long days, int hours, int minutes, int seconds,
                         int milliseconds) noexcept {
    const std::int64_t rest =
        ((std::int64_t{hours} * 60 + minutes) * 60 + seconds) * 1000 + milliseconds;
    std::int64_t total = 0;
    if (__builtin_mul_overflow(days, 86'400'000, &total) ||
        __builtin_add_overflow(total, rest, &total)) {
        m_span.SetStatus(COleDateTimeSpan::invalid);
    } else {
        SetTotal(total);
    }
}

void CTimeSpanEx::SetTotal(std::int64_t milliseconds) noexcept {
    SetDays(static_cast<double>(milliseconds) * kDaysPerMillisecond);
}

void CTimeSpanEx::SetDays(double days) noexcept {
    // The bound lies a little above the greatest total, whose days are rounded up.
    constexpr double kMostDays = kBeyondTotal * kDaysPerMillisecond * (1 + 1e-15);
    m_span = COleDateTimeSpan(days);
    if (!(std::abs(days) <= kMostDays)) {
        m_span = COleDateTimeSpan();
        m_span.SetStatus(COleDateTimeSpan::invalid);
    }
    m_milliseconds = Part(m_span, 1, 1000);
}

long CTimeSpanEx::GetDays() const noexcept {
    if (GetStatus() != COleDateTimeSpan::valid) {
        return 0;
    }
    const auto days = static_cast<long>(Magnitude(m_span.m_span));
    return m_span.m_span < 0 ? -days : days;
}

int CTimeSpanEx::GetHours() const noexcept {
    return Part(m_span, 3'600'000, 24);
}

int CTimeSpanEx::GetMinutes() const noexcept {
    return Part(m_span, 60'000, 60);
}

int CTimeSpanEx::GetSeconds() const noexcept {
    return Part(m_span, 1000, 60);
}

std::int64_t CTimeSpanEx::GetTotalMilliseconds() const noexcept {
    if (GetStatus() != COleDateTimeSpan::valid) {
        return 0;
    }
    const double magnitude = Magnitude(m_span.m_span) * kMillisecondsPerDay;
    const auto total = magnitude < kBeyondTotal ? static_cast<std::int64_t>(magnitude) : kMaxTotal;
    return m_span.m_span < 0 ? -total : total;
}

CString CTimeSpanEx::ToText() const {
    CString text;
    if (GetStatus() == COleDateTimeSpan::valid) {
        text.Format("%02ld,%02d,%02d,%02d,%03d", GetDays(), GetHours(), GetMinutes(), GetSeconds(),
                    GetMilliseconds());
    }
    return text;
}

bool CTimeSpanEx::FromText(const char* text, CTimeSpanEx& span) {
    const std::string_view view = text ? text : "";
    CTimeSpanEx read;
    if (std::int64_t total = 0; mersola::ReadField(view, total)) {
        read.SetTotal(total);
    } else if (std::array<int, 5> part{}; mersola::ReadFields(view, part)) {
        read = CTimeSpanEx(part[0], part[1], part[2], part[3], part[4]);
    } else {
        return false;
    }
    span = read;
    return true;
}

void CTimeSpanEx::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << m_span.m_span << static_cast<int>(m_span.m_status) << m_milliseconds;
        return;
    }
    double days = 0;
    double milliseconds = 0;
    int status = 0;
    archive >> days >> status >> milliseconds;
    CTimeSpanEx read(days);
    if (read.GetStatus() != COleDateTimeSpan::valid || read.m_milliseconds != milliseconds ||
        status < COleDateTimeSpan::valid || status > COleDateTimeSpan::null) {
        throw CArchiveException(CArchiveException::badData);
    }
    read.m_span.SetStatus(static_cast<COleDateTimeSpan::DateTimeSpanStatus>(status));
    *this = read;
}
