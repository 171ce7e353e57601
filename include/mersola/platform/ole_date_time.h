// COleDateTime and COleDateTimeSpan: dates and lengths of time as numbers of days.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>

#include <mersola/platform/export.h>

/// A signed length of time in days.
class MERSOLA_EXPORT COleDateTimeSpan {
  public:
    /// Whether the number of days means anything.
    enum DateTimeSpanStatus { valid = 0, invalid = 1, null = 2 };

    COleDateTimeSpan() noexcept = default;
    /// A number that is not finite gives an invalid span.
    explicit COleDateTimeSpan(double days) noexcept;
    /// The sum of the parts, which may have any size and sign.
    COleDateTimeSpan(long days, int hours, int minutes, int seconds) noexcept;

    /// Setting the status leaves the number of days as it is.
    DateTimeSpanStatus GetStatus() const noexcept { return m_status; }
    void SetStatus(DateTimeSpanStatus status) noexcept { m_status = status; }
    /// The whole span in one unit, with its sign and fraction.
    double GetTotalDays() const noexcept { return m_span; }
    double GetTotalSeconds() const noexcept { return m_span * 86400; }

    /// The result is valid if both are.
    COleDateTimeSpan operator+(const COleDateTimeSpan& other) const noexcept;
    COleDateTimeSpan operator-(const COleDateTimeSpan& other) const noexcept;
    COleDateTimeSpan operator-() const noexcept;

    /// Spans are equal with the same status and the same number of days; only valid ones have an
    /// order.
    bool operator==(const COleDateTimeSpan& other) const noexcept {
        return m_status == other.m_status && m_span == other.m_span;
    }
    std::partial_ordering operator<=>(const COleDateTimeSpan& other) const noexcept;

    /// Open to programs that know what they do.
    double m_span = 0;  // days
    DateTimeSpanStatus m_status = valid;
};

/// A local date and time in the years 100 to 9999, as days since 30 December 1899. Before that day
/// the whole part counts back while the fraction still counts on from midnight: -1.25 is
/// 29 December 1899, 06:00. What lies outside the years is invalid.
class MERSOLA_EXPORT COleDateTime {
  public:
    /// Whether the number of days means anything; `error` is what parts of an invalid time read as.
    enum DateTimeStatus { error = -1, valid = 0, invalid = 1, null = 2 };

    /// 30 December 1899, 00:00.
    COleDateTime() noexcept = default;
    /// From the number of days, or from parts as SetDateTime takes them.
    explicit COleDateTime(double days) noexcept;
    COleDateTime(int year, int month, int day, int hour, int minute, int second) noexcept {
        SetDateTime(year, month, day, hour, minute, second);
    }

    /// The local time of now, in whole seconds.
    static COleDateTime GetCurrentTime() { return FromClock(std::chrono::system_clock::now()); }
    /// The local time at a point of the system's clock; what is left of a second is cut off.
    static COleDateTime FromClock(std::chrono::system_clock::time_point point);
    /// The time so many seconds after 30 December 1899, 00:00 (before it, if negative).
    static COleDateTime FromSeconds(std::int64_t seconds) noexcept;

    /// Sets all parts; 0 on success. Parts that make no date, such as 30 February, give 1 and an
    /// invalid time.
    int SetDateTime(int year, int month, int day, int hour, int minute, int second) noexcept;

    /// Setting the status leaves the number of days as it is.
    DateTimeStatus GetStatus() const noexcept { return m_status; }
    void SetStatus(DateTimeStatus status) noexcept { m_status = status; }

    /// The parts of the nearest whole second; `error` if the time is not valid.
    int GetYear() const noexcept;
    int GetMonth() const noexcept;
    int GetDay() const noexcept;
    int GetHour() const noexcept;
    int GetMinute() const noexcept;
    int GetSecond() const noexcept;
    /// The inverse of FromSeconds, to the nearest second; 0 if the time is not valid.
    std::int64_t ToSeconds() const noexcept;

    /// The result is valid if both operands are and it lies within the years.
    COleDateTime operator+(const COleDateTimeSpan& span) const noexcept;
    COleDateTime operator-(const COleDateTimeSpan& span) const noexcept { return *this + -span; }
    COleDateTimeSpan operator-(const COleDateTime& other) const noexcept;

    /// By the moments. Times that are not valid are equal to those of the same status, and have no
    /// order.
    bool operator==(const COleDateTime& other) const noexcept;
    std::partial_ordering operator<=>(const COleDateTime& other) const noexcept;

    /// Open to programs that know what they do.
    double m_dt = 0;  // days
    DateTimeStatus m_status = valid;
};
