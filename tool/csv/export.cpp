// mersola export: a database as CSV.
#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <utility>
#include <vector>

#include "basics/csv_text.h"
#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"
#include "basics/whole_file.h"
#include "catalogue/catalogue.h"
#include "csv_commands.h"
#include "csv_format.h"
#include "database/query.h"
#include "database/snapshot.h"
#include "labels.h"
#include "schema/tables.h"

namespace mersola::tool {
namespace {

constexpr std::size_t kFlushed = 1 << 16;  // bytes

// A report whose values are written.
struct ExportedReport {
    std::string instrument, measurement;  // labels
    CTimeEx start;
    std::int32_t id;
    CTimeSpanEx length;  // nominal length of a period
    CTimeSpanEx real;    // measured length of a period
    std::int32_t key;    // of its values
};

std::string ValueText(const AdoField& value) {
    if (value.IsNull()) return std::string(kNull);
    return NumberText(value.Double());
}

// Writing to the database or to what SQLite keeps beside it, now or later, would destroy it.
void RequireOther(const std::string& file, const Database& database) {
    if (!database.IsFile()) return;
    std::error_code none;
    const auto place = std::filesystem::weakly_canonical(std::filesystem::absolute(file), none);
    const auto stored = std::filesystem::canonical(database.File(), none);
    for (const char* part : {"", "-wal", "-shm", "-journal"}) {
        auto kept = stored;
        kept += part;
        if (place == kept || std::filesystem::equivalent(file, kept, none))
            throw Failure(Quoted(file) + " is " + (*part == '\0' ? "" : "a part of ") +
                          "the database itself; choose another file");
    }
}

class Exporter {
  public:
    using Sink = std::function<void(std::string_view)>;

    Exporter(Mersola& store, const ExportOptions& options, Sink sink)
        : store_(store), options_(options), sink_(std::move(sink)) {}

    void Run() {
        ReadNames();
        Choose();
        if (!options_.isPlain) WriteCatalogue();
        const auto reports = Reports();
        if (options_.isWide) ReadBands(reports);
        WriteHeader();
        for (const ExportedReport& each : reports)
            WriteValues(each);
        Flush();
    }

  private:
    struct Measurement {
        std::int32_t groupId, id;
        std::string label;
        CTimeEx start;
    };

    void ReadNames();
    void Choose();
    void ChooseReport(std::int32_t groupId, std::int32_t measId);
    std::vector<ExportedReport> Reports();
    void ReadBands(const std::vector<ExportedReport>& reports);

    void WriteCatalogue();
    void WriteRecords(StoredTable table, const std::string& condition);
    void WriteHeader();
    void WriteValues(const ExportedReport& report);
    void WriteCells();

    // What selects the values of a report.
    std::string ValuesOf(const ExportedReport& report) const;
    // A row up to the function, with the comma behind it.
    std::string RowStart(const ExportedReport& report, std::int32_t period, std::int32_t channel,
                         std::int32_t function) const;
    void Write(std::string_view text) {
        text_ += text;
        if (text_.size() >= kFlushed) Flush();
    }
    void Flush() {
        sink_(text_);
        text_.clear();
    }

    Mersola& store_;
    const ExportOptions& options_;
    Sink sink_;
    std::string text_;  // to be written

    Labels instruments_, functions_, bands_;
    std::vector<std::int32_t> groups_;  // the chosen ones
    std::vector<Measurement> measurements_;
    std::optional<std::int32_t> report_;          // the chosen one
    std::string channels_, chosenFunctions_;      // conditions
    std::map<std::int32_t, std::string> labels_;  // of bands, as fields
    // A wide file: its bands, and a row for each status that values of the current period have.
    std::map<std::int32_t, std::size_t> columns_;
    std::map<std::string, std::vector<std::string>> cells_;
    std::string rowStart_;  // of the current period
};

void Exporter::ReadNames() {
    for (const auto& [labels, sql] :
         {std::pair(&instruments_, "SELECT GroupId,GroupName FROM Groups ORDER BY GroupId"),
          std::pair(&functions_, "SELECT FuncId,FuncName FROM FuncNameMap ORDER BY FuncId"),
          std::pair(&bands_, "SELECT FrqId,FrqName FROM FrqNameMap ORDER BY FrqId")}) {
        for (_Recordset& row : Rows(store_, "%s", sql))
            labels->Add(row.Fields(0).Long(), std::string(row.Fields(1).Text()));
    }
}

void Exporter::Choose() {
    if (options_.channel) {
        std::vector<Choice> choices;
        for (_Recordset& row :
             Rows(store_, "SELECT DISTINCT Channel FROM MeasuredFunctions ORDER BY Channel"))
            choices.push_back({row.Fields(0).Long(), ""});
        channels_ = " AND Channel=" + std::to_string(tool::Choose(
                                          "channel", std::to_string(*options_.channel), choices));
    }
    if (!options_.function.empty()) {
        std::vector<Choice> choices;
        for (_Recordset& row : Rows(store_,
                                    "SELECT FuncId FROM FuncNameMap UNION SELECT FuncId FROM "
                                    "MeasuredFunctions ORDER BY FuncId"))
            choices.push_back({row.Fields(0).Long(), functions_.NameOf(row.Fields(0).Long())});
        chosenFunctions_ =
            " AND FuncId=" + std::to_string(tool::Choose("function", options_.function, choices));
    }
    if (options_.instrument.empty()) {
        for (const auto& each : ReadInstruments(store_))
            groups_.push_back(each.GroupId);
    } else {
        groups_.push_back(ChooseInstrument(store_, options_.instrument));
    }
    for (const auto group : groups_) {
        std::optional<std::int32_t> chosen;
        if (!options_.measurement.empty()) {
            chosen = ChooseMeasurement(store_, group, options_.measurement);
            ChooseReport(group, *chosen);
        }
        Labels labels;
        const auto stored = ReadMeasurements(store_, group);
        for (const auto& each : stored)
            labels.Add(each.MeasId, std::string(each.MeasName));
        for (const auto& each : stored) {
            if (!chosen || *chosen == each.MeasId)
                measurements_.push_back({group, each.MeasId, labels.Of(each.MeasId), each.StartAt});
        }
    }
}

void Exporter::ChooseReport(std::int32_t groupId, std::int32_t measId) {
    if (options_.report.empty()) return;
    std::vector<Choice> choices;
    for (const auto& each : ReadReports(store_, groupId, measId))
        choices.push_back({each.ReportId, ""});
    report_ = tool::Choose("report", options_.report, choices);
}

std::vector<ExportedReport> Exporter::Reports() {
    std::vector<ExportedReport> reports;
    for (const Measurement& measurement : measurements_) {
        store_.SetInstrument(measurement.groupId);
        for (const auto& each : ReadReports(store_, measurement.groupId, measurement.id)) {
            if (report_ && each.ReportId != *report_) continue;
            const auto key = Query(store_,
                                   "SELECT MeasValueId FROM MeasValueMap WHERE GroupId=%d AND "
                                   "MeasId=%d AND ReportId=%d",
                                   measurement.groupId, measurement.id, each.ReportId);
            if (key->EndOfFile()) continue;
            reports.push_back({instruments_.Of(measurement.groupId), measurement.label,
                               measurement.start, each.ReportId, each.PeriodLen, each.RealPeriodLen,
                               key->Fields(0).Long()});
        }
    }
    return reports;
}

void Exporter::ReadBands(const std::vector<ExportedReport>& reports) {
    for (const ExportedReport& each : reports) {
        Flush();  // of many reports it takes long, and somebody may want to stop it
        for (_Recordset& row :
             Rows(store_, "SELECT DISTINCT FrqId FROM MeasuredValues %s", ValuesOf(each).c_str()))
            columns_[row.Fields(0).Long()];
    }
    for (std::size_t position = 0; auto& each : columns_)
        each.second = position++;
}

void Exporter::WriteCatalogue() {
    Write(std::string(kFormName) + "," + std::string(kFormVersion) + "\n");
    WriteRecords(StoredTable::FuncNameMap, "ORDER BY FuncId");
    WriteRecords(StoredTable::FrqNameMap, "ORDER BY FrqId");
    for (const auto group : groups_)
        WriteRecords(StoredTable::Groups, "WHERE GroupId=" + std::to_string(group));
    const std::string report = report_ ? " AND ReportId=" + std::to_string(*report_) : "";
    for (const Measurement& each : measurements_) {
        const std::string here = "WHERE GroupId=" + std::to_string(each.groupId) +
                                 " AND MeasId=" + std::to_string(each.id);
        WriteRecords(StoredTable::Measurements, here);
        WriteRecords(StoredTable::Reports, here + report + " ORDER BY ReportId");
        WriteRecords(StoredTable::MeasValueMap, here + report + " ORDER BY ReportId");
        WriteRecords(StoredTable::MeasuredFunctions, here + report + channels_ + chosenFunctions_ +
                                                         " ORDER BY ReportId,Channel,FuncId");
        if (!options_.measurement.empty()) WriteRecords(StoredTable::Markers, here);
    }
    if (!options_.measurement.empty()) return;
    // Those of alarm instruments belong to no measurement.
    for (const auto group : groups_)
        WriteRecords(StoredTable::Markers, "WHERE GroupId=" + std::to_string(group));
}

void Exporter::WriteRecords(StoredTable table, const std::string& condition) {
    const auto rows = Query(store_, "SELECT * FROM %s %s", NameOf(table), condition.c_str());
    // Older databases do not have all columns.
    std::vector<std::pair<const char*, int>> columns;
    for (const StoredColumn& column : ColumnsOf(table)) {
        if (const auto position = ColumnIn(*rows, column.name))
            columns.emplace_back(column.name, *position);
    }
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        std::vector<std::string> fields{std::string(kRecordMark) + NameOf(table)};
        for (const auto& [name, position] : columns) {
            const AdoField field = rows->Fields(position);
            if (!field.IsNull())
                fields.push_back(std::string(name) + "=" + std::string(field.Text()));
        }
        Write(CsvLine(fields));
    }
}

void Exporter::WriteHeader() {
    std::vector<std::string> header(kCsvNames.begin(), kCsvNames.end());
    if (options_.isWide) {
        std::erase(header, kCsvNames[kBandColumn]);
        // A file without a column for values could not be read again.
        if (!columns_.empty()) std::erase(header, kCsvNames[kValueColumn]);
        for (const auto& [band, position] : columns_) {
            const std::string label = bands_.Of(band);
            const bool isTaken = std::ranges::any_of(
                kReadNames, [&](std::string_view name) { return IsSameName(name, label); });
            header.push_back(isTaken ? "#" + std::to_string(band) : label);
        }
    }
    Write(CsvLine(header));
}

std::string Exporter::ValuesOf(const ExportedReport& report) const {
    std::string condition =
        "WHERE MeasValueId=" + std::to_string(report.key) + channels_ + chosenFunctions_;
    const AskedPeriods& asked = options_.periods;
    std::int32_t firstStored = 0;
    if (asked.count && !asked.from)
        firstStored =
            Query(store_, "SELECT MIN(PeriodNo) FROM MeasuredValues %s", condition.c_str())
                ->Fields(0)
                .Long();
    const auto bounds = BoundsOf(asked, {report.start, report.real}, firstStored);
    if (asked.from) condition += " AND PeriodNo>=" + std::to_string(bounds.first);
    if (bounds.end) condition += " AND PeriodNo<" + std::to_string(*bounds.end);
    return condition;
}

std::string Exporter::RowStart(const ExportedReport& report, std::int32_t period,
                               std::int32_t channel, std::int32_t function) const {
    std::int64_t passed = 0;
    const bool fits =
        !__builtin_mul_overflow(report.real.GetTotalMilliseconds(), std::int64_t{period}, &passed);
    const CTimeEx time = report.start + CTimeSpanEx(passed);
    return CsvField(report.instrument) + ',' + CsvField(report.measurement) + ',' +
           std::to_string(report.id) + ',' + PeriodText(report.length) + ',' +
           std::to_string(period) + ',' + (fits && time.IsValid() ? TimeText(time) : "") + ',' +
           std::to_string(channel) + ',' + CsvField(functions_.Of(function)) + ',';
}

void Exporter::WriteValues(const ExportedReport& report) {
    std::array<std::int32_t, 3> current{};
    rowStart_.clear();
    for (_Recordset& row : Rows(store_,
                                "SELECT Channel,FuncId,PeriodNo,FrqId,Value,Status FROM "
                                "MeasuredValues %s ORDER BY Channel,FuncId,PeriodNo,FrqId",
                                ValuesOf(report).c_str())) {
        const std::array here{row.Fields(0).Long(), row.Fields(1).Long(), row.Fields(2).Long()};
        if (rowStart_.empty() || here != current) {
            WriteCells();
            rowStart_ = RowStart(report, here[2], here[0], here[1]);
            current = here;
        }
        const std::int32_t band = row.Fields(3).Long();
        const bool hasStatus = row.Fields(5).FirstCharacter() != '\0';
        const std::string status =
            hasStatus ? CsvField(row.Fields(5).Text().View()) : std::string();
        if (options_.isWide) {
            const auto column = columns_.find(band);
            if (column == columns_.end()) continue;  // recorded since the header was written
            auto& cells = cells_[status];
            cells.resize(columns_.size());
            cells[column->second] = ValueText(row.Fields(4));
        } else {
            std::string& label = labels_[band];
            if (label.empty()) label = CsvField(bands_.Of(band));
            Write(rowStart_ + label + ',' + ValueText(row.Fields(4)) + ',' + status + '\n');
        }
    }
    WriteCells();
}

void Exporter::WriteCells() {
    for (const auto& [status, cells] : cells_) {
        std::string line = rowStart_ + status;
        for (const auto& cell : cells)
            line += ',' + cell;
        Write(line + '\n');
    }
    cells_.clear();
}

}  // namespace

void Export(const ExportOptions& options, std::ostream& out) {
    const Database database(options.database);
    OpenDatabase(database, Access::Read);  // raises what there is to say about a wrong one
    Snapshot snapshot(database);           // what is recorded meanwhile stays out of view
    if (options.file.empty() || options.file == "-") {
        const auto write = [&](std::string_view text) {
            out << text;
            RequireWritten(out);
        };
        Exporter(snapshot.Store(), options, write).Run();
        return;
    }
    RequireOther(options.file, database);
    WholeFile file(options.file);
    Exporter(snapshot.Store(), options, [&](std::string_view text) { file.Write(text); }).Run();
    file.Finish();
}

}  // namespace mersola::tool
