// The records that the library exchanges with its callers, each a row of a table or a part of one;
// the members carry the names of the columns. Members that a caller does not set are 0 or empty.
#pragma once

#include <mersola/list_text.h>
#include <mersola/platform/collections.h>
#include <mersola/platform/export.h>
#include <mersola/platform/text.h>
#include <mersola/times.h>

#include <cstdint>

/// An instrument.
class MERSOLA_EXPORT InstrumentInfo {
  public:
    CString GroupName;
    CString Type;  ///< list text; a station's first item is "station"
    CString Info;
    std::int32_t GroupId = 0;
    CString State;  ///< list text
};

/// A function measured on a channel.
class MERSOLA_EXPORT FuncInfo {
  public:
    FuncInfo() = default;
    /// A number beyond 32 bits raises std::out_of_range.
    FuncInfo(long funcId, long channel, long thirdValue);

    /// `third` does not count.
    friend bool operator==(const FuncInfo& a, const FuncInfo& b) noexcept {
        return a.FuncId == b.FuncId && a.Channel == b.Channel;
    }

    std::int32_t FuncId = 0;
    std::int32_t Channel = 0;
    std::int32_t third = 0;
};

/// A report of a measurement.
class MERSOLA_EXPORT ReportInfo {
  public:
    /// The same PeriodLen and ReportType; nothing else counts.
    bool identicalTo(const ReportInfo& other) const noexcept;

    std::int32_t ReportId = 0;
    CTimeSpanEx PeriodLen;      ///< nominal length of a period
    CTimeSpanEx RealPeriodLen;  ///< measured length; PeriodLen as long as it is not known
    bool realPeriodLenSet = false;
    std::int32_t noOfPeriods = 0;
    std::int32_t ReportType = 0;
    CArray<FuncInfo, FuncInfo&> functions;
    std::int64_t missingPeriods = 0;  ///< continuous view: periods lost before this measurement
    std::int64_t periodOffset = 0;    ///< continuous view: number of the first period in the chain
    std::int32_t extra5 = 0;          ///< the key of the report's values, if resumed
    bool extraFlag = false;           ///< the missing periods have been accounted
};

/// A measurement and, if a caller attached them, its reports.
class MERSOLA_EXPORT MeasurementInfo {
  public:
    /// The same BandWidth; nothing else counts.
    bool identicalTo(const MeasurementInfo& other) const;
    /// Replaces the reports by copies of `src`, which may be `reports` itself.
    void setReports(CArray<ReportInfo, ReportInfo&>& src);

    CString MeasName;
    CString Info;
    std::int32_t MeasId = 0;
    std::int32_t BandWidth = 0;
    double Fullscale = 0;
    double Sensitivity = 0;
    double FrqLower = 0;
    double FrqUpper = 0;
    CTimeEx StartAt;
    mersola::ListText textItems;  ///< the percentiles
    CArray<ReportInfo, ReportInfo&> reports;
    bool hasReports = false;
};

/// A measured value.
class MERSOLA_EXPORT funcData {
  public:
    std::int32_t FuncId = 0;
    double Value = 0;  ///< -100.0 for a missing value
    std::int32_t PeriodNo = 0;
    std::int32_t FrqId = 0;
};

/// A marker: an event with the recording file that belongs to it.
class MERSOLA_EXPORT MarkerInfo {
  public:
    MarkerInfo() = default;
    MarkerInfo(MarkerInfo&) = default;
    MarkerInfo& operator=(const MarkerInfo&) = default;
    virtual ~MarkerInfo() = default;

    /// For people to read; ExtMarkerType and Color are not shown.
    CString toString() const;

    CString Path;
    std::int32_t GroupId = 0;
    std::int32_t MeasId = 0;
    CString Start;  ///< as CTimeEx::ToText gives it
    CString Stop;   ///< likewise
    std::int32_t MarkerId = 0;
    std::int32_t MarkerType = 0;
    CString TriggerCondition;
    CString ExtMarkerType;
    std::int32_t frqId = 0;
    std::int32_t funcId = 0;
    std::int32_t inProgess = 0;  ///< not 0 while the marker is open; spelled as its column
    std::int32_t Color = 0;
};

/// An entry of the database's version history.
class MERSOLA_EXPORT versionHistory {
  public:
    CString Version;
    CString Info;
    CString Date;
};
