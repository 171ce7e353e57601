// The records that the library exchanges with its callers. Each is a row of a table or a part of
// one, and its members have the names of the columns. Members that a caller does not set are 0 or
// empty.
#pragma once

#include <mersola/list_text.h>
#include <mersola/platform/collections.h>
#include <mersola/platform/export.h>
#include <mersola/platform/text.h>
#include <mersola/times.h>

#include <cstdint>
#include <limits>

/// An instrument.
class MERSOLA_EXPORT InstrumentInfo {
  public:
    CString GroupName;         ///< its name, one of its kind in a database
    CString Type;              ///< list text; a station's first item is "station"
    CString Info;              ///< for people to read
    std::int32_t GroupId = 0;  ///< its identifier
    CString State;             ///< list text, rewritten while the instrument runs
};

/// A function measured on a channel.
class MERSOLA_EXPORT FuncInfo {
  public:
    FuncInfo() = default;
    /// Takes the three members. A number beyond 32 bits raises std::out_of_range.
    FuncInfo(long funcId, long channel, long thirdValue);

    /// The same function on the same channel; `third` does not count.
    friend bool operator==(const FuncInfo& a, const FuncInfo& b) noexcept {
        return a.FuncId == b.FuncId && a.Channel == b.Channel;
    }

    std::int32_t FuncId = 0;   ///< the function
    std::int32_t Channel = 0;  ///< the channel that it is measured on
    std::int32_t third = 0;    ///< resumed report: number of bands in its first stored period
};

/// A report of a measurement.
class MERSOLA_EXPORT ReportInfo {
  public:
    /// The same PeriodLen and ReportType; nothing else counts.
    bool identicalTo(const ReportInfo& other) const noexcept;

    std::int32_t ReportId = 0;  ///< its identifier within the measurement
    CTimeSpanEx PeriodLen;      ///< nominal length of a period
    CTimeSpanEx RealPeriodLen;  ///< measured length; the same as PeriodLen while it is not known
    bool realPeriodLenSet = false;  ///< the measured length is known
    std::int32_t noOfPeriods = 0;   ///< periods counted from number 0, empty ones included
    std::int32_t ReportType = 0;    ///< code that reports are ordered by; programs give it meaning
    CArray<FuncInfo, FuncInfo&> functions;  ///< what is measured, where a reader has filled it in
    std::int64_t missingPeriods = 0;  ///< continuous view: periods lost before this measurement
    std::int64_t periodOffset = 0;    ///< continuous view: number of the first period in the chain
    std::int32_t extra5 = 0;          ///< the key of the report's values, in a resumed report
    bool extraFlag = false;           ///< whether the missing periods have been accounted for
};

/// A measurement, and its reports if a caller attached them.
class MERSOLA_EXPORT MeasurementInfo {
  public:
    /// The same BandWidth; nothing else counts.
    bool identicalTo(const MeasurementInfo& other) const;
    /// Replaces the reports by copies of `src`, which may be `reports` itself.
    void setReports(CArray<ReportInfo, ReportInfo&>& src);

    CString MeasName;             ///< its name, one of its kind within the instrument
    CString Info;                 ///< for people to read
    std::int32_t MeasId = 0;      ///< its identifier within the instrument
    std::int32_t BandWidth = 0;   ///< code of the frequency resolution; programs give it meaning
    double Fullscale = 0;         ///< in the unit of the signal (Pa, m/s2)
    double Sensitivity = 0;       ///< sensitivity of the sensor, in V per unit of the signal
    double FrqLower = 0;          ///< Hz
    double FrqUpper = 0;          ///< Hz
    CTimeEx StartAt;              ///< local time at which period 0 begins
    mersola::ListText textItems;  ///< the percentiles, in per cent; written, not read back here
    CArray<ReportInfo, ReportInfo&> reports;  ///< empty unless somebody attached them
    bool hasReports = false;                  ///< somebody did, and there were some
};

/// A measured value.
class MERSOLA_EXPORT funcData {
  public:
    std::int32_t FuncId = 0;    ///< the function
    double Value = 0;           ///< in the unit of the function; -100.0 for a missing value
    std::int32_t PeriodNo = 0;  ///< the period, counted from the measurement's start
    std::int32_t FrqId = 0;     ///< the frequency band
};

/// What the values of one band in one step of time come to. Those count that are stored, finite and
/// not invalid. Without any, the numbers are NaN.
class MERSOLA_EXPORT StepSummary {
  public:
    std::int32_t count = 0;                                      ///< how many values there are
    double least = std::numeric_limits<double>::quiet_NaN();     ///< in the unit of the function
    double greatest = std::numeric_limits<double>::quiet_NaN();  ///< likewise
    double mean = std::numeric_limits<double>::quiet_NaN();      ///< the arithmetic mean
    /// Of levels in dB: 10 lg of the mean of 10^(value / 10).
    double energyMean = std::numeric_limits<double>::quiet_NaN();
    /// The mean of the squares, if it was asked for. Its root is the r.m.s. value.
    double meanSquare = std::numeric_limits<double>::quiet_NaN();
    /// The first periods that have the least and the greatest value, if they were asked for. -1
    /// where there are none, and where the value has gone since it was read.
    std::int32_t leastPeriod = -1;
    std::int32_t greatestPeriod = -1;
};

/// A marker: an event with the recording file that belongs to it.
class MERSOLA_EXPORT MarkerInfo {
  public:
    /// A marker without texts, and copies of all members.
    MarkerInfo() = default;
    MarkerInfo(MarkerInfo&) = default;
    MarkerInfo& operator=(const MarkerInfo&) = default;
    virtual ~MarkerInfo() = default;

    /// For people to read; ExtMarkerType and Color are not shown.
    CString toString() const;

    CString Path;                 ///< the recording file
    std::int32_t GroupId = 0;     ///< the instrument
    std::int32_t MeasId = 0;      ///< the measurement
    CString Start;                ///< as CTimeEx::ToText gives it
    CString Stop;                 ///< likewise; the same as Start while the marker is open
    std::int32_t MarkerId = 0;    ///< a number that the recorder gives
    std::int32_t MarkerType = 0;  ///< code; the programs give it meaning
    CString TriggerCondition;     ///< list text of pairs; `type` is the one that GetMarkers knows
    CString ExtMarkerType;        ///< a finer kind, as text
    std::int32_t frqId = 0;       ///< frequency band of the trigger
    std::int32_t funcId = 0;      ///< function of the trigger
    std::int32_t inProgess = 0;   ///< not 0 while the marker is open; spelled as its column
    std::int32_t Color = 0;       ///< for display; the programs give it meaning
};

/// An entry of the database's version history.
class MERSOLA_EXPORT versionHistory {
  public:
    /// Texts of any form: the programs give them meaning.
    CString Version;
    CString Info;
    CString Date;
};
