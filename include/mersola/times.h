// CTimeEx and CTimeSpanEx: times and lengths of time to the millisecond, with the texts that stand
// for them in the database.
#pragma once

#include <mersola/platform/archive.h>
#include <mersola/platform/export.h>
#include <mersola/platform/ole_date_time.h>
#include <mersola/platform/text.h>

#include <compare>
#include <concepts>
#include <cstdint>
#include <limits>

/// A signed length of time, held in days. It is exact to the millisecond up to some ten thousand
/// years. A length beyond 64-bit milliseconds is invalid, and so is one made of a number that is
/// not finite. All parts of an invalid length are 0.
class MERSOLA_EXPORT CTimeSpanEx : public CObject {
    DECLARE_SERIAL(CTimeSpanEx)

  public:
    /// No time.
    CTimeSpanEx() noexcept = default;
    /// The sum of the parts, which may have any size and sign.
    CTimeSpanEx(long days, int hours, int minutes, int seconds, int milliseconds) noexcept;
    /// A total in milliseconds.
    template <std::integral Count>
    explicit CTimeSpanEx(Count milliseconds) noexcept {
        if (std::unsigned_integral<Count> &&
            static_cast<std::uint64_t>(milliseconds) > std::numeric_limits<std::int64_t>::max()) {
            m_span.SetStatus(COleDateTimeSpan::invalid);
        } else {
            SetTotal(static_cast<std::int64_t>(milliseconds));
        }
    }
    /// A length in days.
    explicit CTimeSpanEx(double days) noexcept { SetDays(days); }

    /// The parts, each with the sign of the span.
    long GetDays() const noexcept;
    int GetHours() const noexcept;
    int GetMinutes() const noexcept;
    int GetSeconds() const noexcept;
    int GetMilliseconds() const noexcept { return static_cast<int>(m_milliseconds); }
    /// The whole span in milliseconds. A CTimeSpanEx made of this number equals one with the same
    /// total.
    std::int64_t GetTotalMilliseconds() const noexcept;

    /// The span in days.
    const COleDateTimeSpan& GetSpan() const noexcept { return m_span; }
    /// Whether the span is valid.
    COleDateTimeSpan::DateTimeSpanStatus GetStatus() const noexcept { return m_span.GetStatus(); }

    /// The same status and the same number of days.
    bool operator==(const CTimeSpanEx& other) const noexcept { return m_span == other.m_span; }

    /// The span as "DD,HH,MM,SS,mmm": a quarter of an hour is "00,00,15,00,000". Days take as many
    /// digits as they need. Each field of a negative span has its own sign. The text is empty if
    /// the span is not valid.
    CString ToText() const;
    /// Reads what ToText writes, or a text without a comma as a total in milliseconds. Fields are
    /// decimal, of at most 32 bits, and may have blanks around them. Any other text gives false and
    /// leaves `span` as it was.
    static bool FromText(const char* text, CTimeSpanEx& span);

    /// Data that makes no span raises CArchiveException and changes nothing.
    void Serialize(CArchive& archive) override;

  private:
    void SetTotal(std::int64_t milliseconds) noexcept;
    void SetDays(double days) noexcept;

    COleDateTimeSpan m_span;
    double m_milliseconds = 0;
};

/// A local time in the years 100 to 9999. The milliseconds are held beside the date, which has
/// whole seconds. Parts that make no date (month 13, 30 February, hour 24, millisecond 1000) give
/// an invalid time, and so does arithmetic with an invalid time or beyond the years. The parts of
/// an invalid time are -1.
class MERSOLA_EXPORT CTimeEx : public CObject {
    DECLARE_SERIAL(CTimeEx)

  public:
    /// 30 December 1899, 00:00.
    CTimeEx() noexcept = default;
    CTimeEx(int year, int month, int day, int hour, int minute, int second,
            int milliseconds = 0) noexcept;
    /// The whole second that is nearest to `date`.
    explicit CTimeEx(const COleDateTime& date) noexcept;

    /// The local time of now.
    static CTimeEx GetCurrentTime();

    /// The parts: month 1 to 12, day 1 to 31, hour 0 to 23.
    int GetYear() const noexcept { return m_date.GetYear(); }
    int GetMonth() const noexcept { return m_date.GetMonth(); }
    int GetDay() const noexcept { return m_date.GetDay(); }
    int GetHour() const noexcept { return m_date.GetHour(); }
    int GetMinute() const noexcept { return m_date.GetMinute(); }
    int GetSecond() const noexcept { return m_date.GetSecond(); }
    int GetMilliseconds() const noexcept {
        return IsValid() ? static_cast<int>(m_milliseconds) : COleDateTime::error;
    }
    /// The date without the milliseconds.
    const COleDateTime& GetDate() const noexcept { return m_date; }

    /// Setting the status leaves the time as it is.
    COleDateTime::DateTimeStatus GetStatus() const noexcept { return m_date.GetStatus(); }
    void SetStatus(COleDateTime::DateTimeStatus status) noexcept { m_date.SetStatus(status); }
    /// Whether the time is valid.
    bool IsValid() const noexcept { return GetStatus() == COleDateTime::valid; }

    /// Arithmetic is exact to the millisecond, over every calendar boundary.
    CTimeEx operator+(const CTimeSpanEx& span) const noexcept;
    CTimeEx operator-(const CTimeSpanEx& span) const noexcept;
    CTimeSpanEx operator-(const CTimeEx& other) const noexcept;
    CTimeEx& operator+=(const CTimeSpanEx& span) noexcept { return *this = *this + span; }
    CTimeEx& operator-=(const CTimeSpanEx& span) noexcept { return *this = *this - span; }

    /// Compare the dates, without the milliseconds: times within one second are equal.
    bool operator==(const CTimeEx& other) const noexcept { return m_date == other.m_date; }
    std::partial_ordering operator<=>(const CTimeEx& other) const noexcept {
        return m_date <=> other.m_date;
    }

    /// The time as "YYYY,MM,DD,hh,mm,ss,mmm", for example "2026,11,15,07,30,12,045". The text is
    /// empty if the time is not valid.
    CString ToText() const;
    /// Reads what ToText writes. Fields are decimal and may have blanks around them. Any other
    /// text, and fields that make no date, give false and leave `time` as it was.
    static bool FromText(const char* text, CTimeEx& time);

    /// Data that makes no time raises CArchiveException and changes nothing.
    void Serialize(CArchive& archive) override;

  private:
    static CTimeEx FromTotal(std::int64_t milliseconds) noexcept;
    std::int64_t Total() const noexcept;

    COleDateTime m_date;
    double m_milliseconds = 0;
};
