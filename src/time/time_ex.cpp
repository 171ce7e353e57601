// CTimeEx: a date in whole seconds with milliseconds beside it.
#include <mersola/times.h>

#include <array>
#include <chrono>

#include "time_text.h"

IMPLEMENT_SERIAL(CTimeEx, CObject, 1)

using namespace std::chrono;

CTimeEx::CTimeEx(int year, int month, int day, int hour, int minute, int second,
                 int milliseconds) noexcept
    : m_date(year, month, day, hour, minute, second) {
    if (milliseconds < 0 || milliseconds > 999) {
        SetStatus(COleDateTime::invalid);
    } else {
        m_milliseconds = milliseconds;
    }
}

CTimeEx::CTimeEx(const COleDateTime& date) noexcept
    : m_date(COleDateTime::FromSeconds(date.ToSeconds())) {
    SetStatus(date.GetStatus());
}

CTimeEx CTimeEx::GetCurrentTime() {
    const auto now = floor<milliseconds>(system_clock::now());
    CTimeEx time(COleDateTime::FromClock(now));
    time.m_milliseconds = static_cast<double>((now - floor<seconds>(now)).count());
    return time;
}

CTimeEx CTimeEx::FromTotal(std::int64_t total) noexcept {
    const milliseconds since{total};
    const auto whole = floor<seconds>(since);
    CTimeEx time(COleDateTime::FromSeconds(whole.count()));
    time.m_milliseconds = static_cast<double>((since - whole).count());
    return time;
}

std::int64_t CTimeEx::Total() const noexcept {
    return m_date.ToSeconds() * 1000 + static_cast<std::int64_t>(m_milliseconds);
}

CTimeEx CTimeEx::operator+(const CTimeSpanEx& span) const noexcept {
    std::int64_t total = 0;
    const bool overflows = __builtin_add_overflow(Total(), span.GetTotalMilliseconds(), &total);
    CTimeEx sum = FromTotal(total);
    if (overflows || !IsValid() || span.GetStatus() != COleDateTimeSpan::valid) {
        sum.SetStatus(COleDateTime::invalid);
    }
    return sum;
}

CTimeEx CTimeEx::operator-(const CTimeSpanEx& span) const noexcept {
    // A total is never the one number that has no negative.
    CTimeSpanEx back(-span.GetTotalMilliseconds());
    return span.GetStatus() == COleDateTimeSpan::valid ? *this + back : *this + span;
}

CTimeSpanEx CTimeEx::operator-(const CTimeEx& other) const noexcept {
    if (!IsValid() || !other.IsValid()) {
        return CTimeSpanEx(std::numeric_limits<double>::quiet_NaN());
    }
    return CTimeSpanEx(Total() - other.Total());
}

CString CTimeEx::ToText() const {
    CString text;
    if (IsValid()) {
        text.Format("%04d,%02d,%02d,%02d,%02d,%02d,%03d", GetYear(), GetMonth(), GetDay(),
                    GetHour(), GetMinute(), GetSecond(), GetMilliseconds());
    }
    return text;
}

bool CTimeEx::FromText(const char* text, CTimeEx& time) {
    std::array<int, 7> part{};
    if (!mersola::ReadFields(text ? text : "", part)) {
        return false;
    }
    const CTimeEx read(part[0], part[1], part[2], part[3], part[4], part[5], part[6]);
    if (!read.IsValid()) {
        return false;
    }
    time = read;
    return true;
}

void CTimeEx::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << m_date.m_dt << static_cast<int>(m_date.m_status) << m_milliseconds;
        return;
    }
    double days = 0;
    double milliseconds = 0;
    int status = 0;
    archive >> days >> status >> milliseconds;
    const COleDateTime date(days);
    CTimeEx read(date);
    if (!read.IsValid() || !(milliseconds >= 0 && milliseconds <= 999) ||
        milliseconds != static_cast<int>(milliseconds) || status < COleDateTime::valid ||
        status > COleDateTime::null) {
        throw CArchiveException(CArchiveException::badData);
    }
    read.m_milliseconds = milliseconds;
    read.m_date.m_status = static_cast<COleDateTime::DateTimeStatus>(status);
    *this = read;
}
