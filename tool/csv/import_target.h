// Where an import goes: the instruments, measurements and reports of the database.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

#include "database/stored_row.h"
#include "import_names.h"

namespace mersola::tool {

/// A report that takes values.
struct ImportedReport {
    std::int32_t groupId, measId, reportId;
    std::int32_t key;      ///< of its values
    CTimeEx start;         ///< of its first period
    std::int64_t length;   ///< of a period, in milliseconds: the measured one where it is known
    std::int64_t nominal;  ///< likewise, as it was set
    std::int32_t first = std::numeric_limits<std::int32_t>::max();  ///< period that was imported
    std::int32_t last = -1;
    std::set<std::int32_t> bands{};  ///< that were imported
    bool hasGrown = false;           ///< since it was brought up to date

    void Add(std::int32_t period, std::int32_t band) {
        if (period < first || period > last) {
            first = std::min(first, period);
            last = std::max(last, period);
            hasGrown = true;
        }
        if (bands.insert(band).second) hasGrown = true;
    }
};

/// How a row names its report, and what it takes to register a new one.
struct AskedReport {
    std::string instrument;
    std::string measurement;
    std::string report;
    std::string lengthText;              ///< length of a period, as the row has it
    std::optional<CTimeSpanEx> length;   ///< length of a period, if lengthText is empty
    std::optional<CTimeEx> start;        ///< of the measurement
    std::function<CTimeEx()> time;       ///< gives the time of the row's period; may be empty
    std::optional<std::int32_t> period;  ///< number of the row's period

    /// Raises Failure when the row's is no length.
    std::optional<CTimeSpanEx> Length() const;
};

/// What an interrupted import left behind is found and completed by the next one of the same file.
/// Copies go on by themselves, with the reports that they have in common. Every operation raises
/// Failure, _com_error or ImportedKind::UsedAreUnknown.
class ImportTarget {
  public:
    explicit ImportTarget(Mersola& store);

    /// To be called when something raised UsedAreUnknown. It may take long, and so belongs outside
    /// of transactions.
    void FindNumbersInUse();

    /// A row of a small table, as the file tells of it. What is there already must be the same
    /// where it says what the values mean.
    void Add(StoredTable table, const Row& record);

    /// Registers what is new. The reference stays valid. Raises Failure also for a row that has
    /// another length of periods than its report.
    ImportedReport& Report(const AskedReport& asked);
    void RegisterFunction(const ImportedReport& report, std::int32_t channel,
                          std::int32_t function);

    ImportedKind& Functions() { return functions_; }
    ImportedKind& Bands() { return bands_; }
    std::size_t CountReports() const { return reports_.size(); }

    /// Brings up to date what depends on the values; in the end also what the file says of it.
    void Update(bool isEnd);

  private:
    using MeasurementKey = std::pair<std::int32_t, std::int32_t>;
    using ReportKey = std::tuple<std::int32_t, std::int32_t, std::int32_t>;

    void AddInstrument(const Row& record);
    void AddMeasurement(Row record);
    void AddReport(Row record);
    void AddKey(Row record);
    void AddMarker(Row record);
    /// Gives the identifiers of the file those of the database.
    void Translate(Row& record) const;

    std::int32_t Instrument(const std::string& text);
    std::int32_t Measurement(std::int32_t group, const AskedReport& asked);
    ImportedReport Opened(const ReportKey& id, const AskedReport& asked);
    void UpdateRange(const ImportedReport& report);
    void NewReport(const ReportKey& id, const AskedReport& asked);
    std::int32_t Key(const ReportKey& id, std::optional<std::int32_t> wanted);
    ImportedNames& MeasurementsOf(std::int32_t group);
    std::int32_t Next(StoredTable table, const char* column, const std::string& condition = "");
    bool IsStored(StoredTable table, const std::string& condition);

    Mersola& store_;
    ImportedKind functions_, bands_;
    ImportedNames instruments_;
    std::map<std::int32_t, ImportedNames> measurements_;  // by instrument
    std::set<MeasurementKey> told_;                       // the file has their settings
    std::set<MeasurementKey> brought_;                    // those of told_ that are new
    std::map<ReportKey, std::int32_t> periods_;  // the periods that each report has in the end
    std::map<ReportKey, std::set<std::pair<std::int32_t, std::int32_t>>> listed_;
    std::map<ReportKey, std::shared_ptr<ImportedReport>> reports_;
    std::map<std::string, std::int64_t> markers_;  // how many the file had
};

}  // namespace mersola::tool
