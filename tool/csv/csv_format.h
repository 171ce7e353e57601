// The form of exported files, which imports read back.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace mersola::tool {

/// In front of the header stand records of what else the database holds: the first field is this
/// and the name of a table, the others are "column=text"; columns that are null are left out.
inline constexpr std::string_view kRecordMark = "# ";
/// The first record of all: this and the version of the form.
inline constexpr std::string_view kFormName = "# mersola";
inline constexpr std::string_view kFormVersion = "1";

/// Stands for a value that is there and has no number.
inline constexpr std::string_view kNull = "null";

/// The columns. A file with a column for each band has neither Band nor Value, and the bands behind
/// Status.
enum CsvColumn : std::size_t {
    kInstrumentColumn,
    kMeasurementColumn,
    kReportColumn,
    kLengthColumn,
    kPeriodColumn,
    kTimeColumn,
    kChannelColumn,
    kFunctionColumn,
    kBandColumn,
    kValueColumn,
    kStatusColumn,
    kCsvColumns,
    kDateColumn = kCsvColumns,  ///< imports put it in front of the time
    kReadColumns
};

/// The names of the columns that imports read. The first kCsvColumns of them are those that exports
/// write.
inline constexpr std::array<std::string_view, kReadColumns> kReadNames{
    "Instrument", "Measurement", "Report", "Length", "Period", "Time",
    "Channel",    "Function",    "Band",   "Value",  "Status", "Date"};
inline constexpr auto kCsvNames = std::span(kReadNames).first<kCsvColumns>();

}  // namespace mersola::tool
