// Registering what a file holds, and matching it with what is there.
#include "import_target.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <variant>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

using enum StoredTable;

template <class... Ids>
std::string Where(std::int32_t group, Ids... more) {
    std::string condition = "GroupId=" + std::to_string(group);
    [[maybe_unused]] const char* const columns[] = {"MeasId", "ReportId"};
    [[maybe_unused]] std::size_t i = 0;
    ((condition += std::string(" AND ") + columns[i++] + "=" + std::to_string(more)), ...);
    return condition;
}

// The condition that a column holds what a record says.
std::string Same(const StoredColumn& column, const Row& record) {
    const auto given = record.find(std::string_view(column.name));
    return column.name +
           (given == record.end() ? std::string(" IS NULL") : "=" + Literal(given->second));
}

std::string Shown(const Row& record, std::string_view column) {
    const auto found = record.find(column);
    if (found == record.end()) return "";
    if (const auto* real = std::get_if<double>(&found->second)) return NumberText(*real);
    const auto* number = std::get_if<std::int32_t>(&found->second);
    return number ? std::to_string(*number) : TextIn(record, column);
}

std::int64_t LengthIn(const std::string& text, const char* column) {
    if (const auto length = StoredLength(CString(text))) return *length;
    throw Failure(std::string(column) + " " + Quoted(Excerpt(text)) + " is no length of a period");
}

void RaisePeriods(Mersola& store, const std::string& where, std::int32_t periods) {
    Query(store, "UPDATE Reports SET noOfPeriods=%d WHERE %s AND noOfPeriods<%d", periods,
          where.c_str(), periods);
}

void RequireLength(const AskedReport& asked, const CTimeSpanEx& stored) {
    // An export may have one that is longer than those that are read.
    if (asked.lengthText == PeriodText(stored)) return;
    const auto length = asked.Length();
    if (!length || length->GetTotalMilliseconds() == stored.GetTotalMilliseconds()) return;
    throw Failure("report " + asked.report + " of " + Quoted(Excerpt(asked.measurement)) +
                  " is stored with periods of " + PeriodText(stored) + ", not " +
                  PeriodText(*length));
}

}  // namespace

std::optional<CTimeSpanEx> AskedReport::Length() const {
    if (lengthText.empty()) return length;
    if (const auto read = ParsePeriod(lengthText)) return read;
    throw Failure("Length " + Quoted(Excerpt(lengthText)) +
                  " is no length of a period, as 125ms, 1s, 15min, 1h");
}

ImportTarget::ImportTarget(Mersola& store)
    : store_(store),
      functions_(store, FuncNameMap, "MeasuredFunctions", "function"),
      bands_(store, FrqNameMap, "MeasuredValues", "band") {
    for (_Recordset& row : Rows(store, "SELECT GroupId,GroupName FROM Groups ORDER BY GroupId"))
        instruments_.AddStored(row.Fields(0).Long(), std::string(row.Fields(1).Text()));
}

void ImportTarget::FindNumbersInUse() {
    functions_.FindUsed();
    bands_.FindUsed();
}

void ImportTarget::Add(StoredTable table, const Row& record) {
    switch (table) {
        case FuncNameMap:
            return functions_.Register(record);
        case FrqNameMap:
            return bands_.Register(record);
        case Groups:
            return AddInstrument(record);
        case Measurements:
            return AddMeasurement(record);
        case Reports:
            return AddReport(record);
        case MeasValueMap:
            return AddKey(record);
        case MeasuredFunctions: {
            Row translated = record;
            Translate(translated);
            return RegisterFunction(
                {RequiredNumber(translated, "GroupId"), RequiredNumber(translated, "MeasId"),
                 RequiredNumber(translated, "ReportId"), 0, CTimeEx(), 0, 0},
                RequiredNumber(record, "Channel"),
                functions_.Find(RequiredNumber(record, "FuncId")));
        }
        case Markers:
            return AddMarker(record);
        default:
            throw Failure(std::string("a file has no records of ") + NameOf(table));
    }
}

void ImportTarget::AddInstrument(const Row& record) {
    const std::int32_t number = RequiredNumber(record, "GroupId");
    const std::string name = TextIn(record, "GroupName");
    const std::string stored = instruments_.NameFor(number, name, "instrument");
    // One that is there stays as it is: its state is rewritten all the time.
    auto id = instruments_.FindStored(number, stored);
    if (!id) {
        id = instruments_.Stored().Contains(number) ? Next(Groups, "GroupId") : number;
        Row row = record;
        row["GroupId"] = *id;
        if (stored != name) row["GroupName"] = stored;
        InsertInto(store_, Groups, row);
        instruments_.AddStored(*id, stored);
    }
    instruments_.AddFromFile(number, name, *id);
}

void ImportTarget::AddMeasurement(Row record) {
    const std::int32_t number = RequiredNumber(record, "MeasId");
    const std::string name = TextIn(record, "MeasName");
    const std::string start = TextIn(record, "StartAt");
    if (CTimeEx time; !start.empty() && !CTimeEx::FromText(CString(start), time))
        throw Failure("StartAt " + Quoted(Excerpt(start)) +
                      " is no time, as 2026,11,15,07,30,12,045");
    Translate(record);
    const std::int32_t group = RequiredNumber(record, "GroupId");
    ImportedNames& names = MeasurementsOf(group);
    const std::string stored = names.NameFor(number, name, "measurement");
    auto id = names.FindStored(number, stored);
    if (id) {
        for (const StoredColumn& column : ColumnsOf(Measurements)) {
            const std::string_view what = column.name;
            const bool tells = what == "StartAt" || what == "BandWidth" || what == "Fullscale" ||
                               what == "Sensitivity";
            if (tells &&
                !IsStored(Measurements, Where(group, *id) + " AND " + Same(column, record)))
                throw Failure("the measurement " + Quoted(Excerpt(name)) +
                              " is stored with another " + column.name + " than " +
                              Quoted(Excerpt(Shown(record, what))) +
                              "; give it another name in the file");
        }
    } else {
        id = names.Stored().Contains(number) ? Next(Measurements, "MeasId", "WHERE " + Where(group))
                                             : number;
        record["MeasId"] = *id;
        if (stored != name) record["MeasName"] = stored;
        InsertInto(store_, Measurements, record);
        names.AddStored(*id, stored);
        brought_.insert({group, *id});
    }
    told_.insert({group, *id});
    names.AddFromFile(number, name, *id);
}

void ImportTarget::AddReport(Row record) {
    Translate(record);
    const ReportKey id{RequiredNumber(record, "GroupId"), RequiredNumber(record, "MeasId"),
                       RequiredNumber(record, "ReportId")};
    const std::string where = std::apply([](auto... ids) { return Where(ids...); }, id);
    const auto stored =
        Query(store_, "SELECT PeriodLen,ReportType FROM Reports WHERE %s", where.c_str());
    if (record.contains("noOfPeriods")) periods_[id] = NumberIn(record, "noOfPeriods");
    if (stored->EndOfFile()) {
        // Until its periods are stored, readers must not find them empty.
        if (record.contains("noOfPeriods")) record["noOfPeriods"] = 0;
        return InsertInto(store_, Reports, record);
    }
    const auto length = [](std::string text) { return LengthIn(text, "PeriodLen"); };
    if (length(std::string(stored->Fields(0).Text())) != length(TextIn(record, "PeriodLen")) ||
        stored->Fields(1).Long() != NumberIn(record, "ReportType"))
        throw Failure("report " + std::to_string(std::get<2>(id)) +
                      " is stored with another type or length of periods; give the measurement "
                      "another name in the file");
}

void ImportTarget::AddKey(Row record) {
    Translate(record);
    Key({RequiredNumber(record, "GroupId"), RequiredNumber(record, "MeasId"),
         RequiredNumber(record, "ReportId")},
        RequiredNumber(record, "MeasValueId"));
}

void ImportTarget::AddMarker(Row record) {
    const std::int32_t group = RequiredNumber(record, "GroupId");
    Translate(record);
    for (const auto& [column, kind] : {std::pair("funcId", &functions_), {"frqId", &bands_}}) {
        if (record.contains(column))
            record[column] = kind->Translated(RequiredNumber(record, column));
    }
    if (!instruments_.FindNumber(group))
        throw Failure("it belongs to an instrument that the file does not tell of");
    // Equal markers may be there twice, so that they are counted.
    if (!brought_.contains({RequiredNumber(record, "GroupId"), RequiredNumber(record, "MeasId")})) {
        std::string same;
        for (const StoredColumn& column : ColumnsOf(Markers))
            same += (same.empty() ? "" : " AND ") + Same(column, record);
        const auto rows = Query(store_, "SELECT COUNT(*) FROM Markers WHERE %s", same.c_str());
        if (rows->Fields(0).Long() >= ++markers_[same]) return;
    }
    InsertInto(store_, Markers, record);
}

void ImportTarget::Translate(Row& record) const {
    const auto group = instruments_.FindNumber(RequiredNumber(record, "GroupId"));
    if (!group) throw Failure("it belongs to an instrument that the file does not tell of");
    record["GroupId"] = *group;
    const auto names = measurements_.find(*group);
    if (!record.contains("MeasId") || names == measurements_.end()) return;
    if (const auto id = names->second.FindNumber(RequiredNumber(record, "MeasId")))
        record["MeasId"] = *id;
}

ImportedReport& ImportTarget::Report(const AskedReport& asked) {
    const std::int32_t group = Instrument(asked.instrument);
    const std::int32_t measurement = Measurement(group, asked);
    const ReportKey id{
        group, measurement,
        std::get<std::int32_t>(CellFrom({"Report", StoredColumn::Integer}, Excerpt(asked.report)))};
    auto& report = reports_[id];
    if (!report) report = std::make_shared<ImportedReport>(Opened(id, asked));
    RequireLength(asked, CTimeSpanEx(report->nominal));
    return *report;
}

ImportedReport ImportTarget::Opened(const ReportKey& id, const AskedReport& asked) {
    const auto& [group, measurement, number] = id;
    const std::string where = std::apply([](auto... ids) { return Where(ids...); }, id);
    if (!IsStored(Reports, where)) NewReport(id, asked);
    const auto row =
        Query(store_, "SELECT PeriodLen,RealPeriodLen FROM Reports WHERE %s", where.c_str());
    const auto nominal = std::string(row->Fields(0).Text());
    const auto real = std::string(row->Fields(1).Text());
    const std::int64_t length = LengthIn(nominal, "PeriodLen");
    ImportedReport report{
        group,     measurement,
        number,    Key(id, std::nullopt),
        CTimeEx(), real == "NOT_SET" || real.empty() ? length : LengthIn(real, "RealPeriodLen"),
        length};
    const auto start = Query(store_, "SELECT StartAt FROM Measurements WHERE %s",
                             Where(group, measurement).c_str());
    CTimeEx::FromText(start->Fields(0).Text(), report.start);
    return report;
}

void ImportTarget::RegisterFunction(const ImportedReport& report, std::int32_t channel,
                                    std::int32_t function) {
    const ReportKey id{report.groupId, report.measId, report.reportId};
    const auto [listed, isFirst] = listed_.try_emplace(id);
    if (isFirst) {
        for (_Recordset& row : Rows(store_, "SELECT Channel,FuncId FROM MeasuredFunctions WHERE %s",
                                    Where(report.groupId, report.measId, report.reportId).c_str()))
            listed->second.emplace(row.Fields(0).Long(), row.Fields(1).Long());
    }
    if (!listed->second.emplace(channel, function).second) return;
    InsertInto(store_, MeasuredFunctions,
               {{"GroupId", report.groupId},
                {"MeasId", report.measId},
                {"ReportId", report.reportId},
                {"FuncId", function},
                {"Channel", channel}});
}

std::int32_t ImportTarget::Instrument(const std::string& text) {
    if (const auto found = instruments_.Find(text)) return *found;
    RequireName("instrument", text);
    const std::int32_t id = Next(Groups, "GroupId");
    InsertInto(store_, Groups,
               {{"GroupId", id},
                {"GroupName", text},
                {"Info", ""},
                {"Type", kPlainInstrument},
                {"State", ""}});
    instruments_.AddStored(id, text);
    return id;
}

std::int32_t ImportTarget::Measurement(std::int32_t group, const AskedReport& asked) {
    ImportedNames& names = MeasurementsOf(group);
    if (const auto found = names.Find(asked.measurement)) return *found;
    RequireName("measurement", asked.measurement);
    auto start = asked.start;
    if (!start && asked.time) {
        start = asked.time();
        if (const auto length = asked.Length(); asked.period && length)
            start =
                *start - CTimeSpanEx(length->GetTotalMilliseconds() * std::int64_t{*asked.period});
    }
    if (!start || !start->IsValid())
        throw Failure("the measurement " + Quoted(Excerpt(asked.measurement)) +
                      " is new and has no start; give it with --start");
    const std::int32_t id = Next(Measurements, "MeasId", "WHERE " + Where(group));
    InsertInto(store_, Measurements,
               {{"GroupId", group},
                {"MeasId", id},
                {"MeasName", asked.measurement},
                {"BandWidth", 0},
                {"Fullscale", 1.0},
                {"Sensitivity", 1.0},
                {"FrqLower", 0.0},
                {"FrqUpper", 0.0},
                {"StartAt", std::string(start->ToText())}});
    names.AddStored(id, asked.measurement);
    return id;
}

void ImportTarget::NewReport(const ReportKey& id, const AskedReport& asked) {
    const auto length = asked.Length();
    if (!length)
        throw Failure("report " + asked.report + " of " + Quoted(Excerpt(asked.measurement)) +
                      " is new and its periods have no length; give it with --period");
    const auto& [group, measurement, report] = id;
    InsertInto(store_, Reports,
               {{"GroupId", group},
                {"MeasId", measurement},
                {"ReportId", report},
                {"PeriodLen", std::string(length->ToText())},
                {"RealPeriodLen", "NOT_SET"},
                {"noOfPeriods", 0},
                {"MinPeriod", 0},
                {"ReportType", report}});
}

std::int32_t ImportTarget::Key(const ReportKey& id, std::optional<std::int32_t> wanted) {
    const auto& [group, measurement, report] = id;
    const auto stored = Query(store_, "SELECT MeasValueId FROM MeasValueMap WHERE %s",
                              Where(group, measurement, report).c_str());
    if (!stored->EndOfFile()) return stored->Fields(0).Long();
    const bool isFree = wanted && !IsStored(MeasValueMap, "MeasValueId=" + std::to_string(*wanted));
    const std::int32_t key = isFree ? *wanted : Next(MeasValueMap, "MeasValueId");
    InsertInto(
        store_, MeasValueMap,
        {{"GroupId", group}, {"MeasId", measurement}, {"ReportId", report}, {"MeasValueId", key}});
    return key;
}

ImportedNames& ImportTarget::MeasurementsOf(std::int32_t group) {
    const auto [found, isNew] = measurements_.try_emplace(group);
    if (isNew) {
        for (_Recordset& row :
             Rows(store_, "SELECT MeasId,MeasName FROM Measurements WHERE %s ORDER BY MeasId",
                  Where(group).c_str()))
            found->second.AddStored(row.Fields(0).Long(), std::string(row.Fields(1).Text()));
    }
    return found->second;
}

std::int32_t ImportTarget::Next(StoredTable table, const char* column,
                                const std::string& condition) {
    const auto last =
        Query(store_, "SELECT MAX(%s) FROM %s %s", column, NameOf(table), condition.c_str());
    return NumberBehind(last->Fields(0).Long(), column);
}

bool ImportTarget::IsStored(StoredTable table, const std::string& condition) {
    return !Query(store_, "SELECT * FROM %s WHERE %s", NameOf(table), condition.c_str())
                ->EndOfFile();
}

void ImportTarget::Update(bool isEnd) {
    for (const auto& [id, report] : reports_) {
        if (!std::exchange(report->hasGrown, false)) continue;
        const std::string where = std::apply([](auto... ids) { return Where(ids...); }, id);
        RaisePeriods(store_, where, report->last + 1);
        if (ColumnIn(*Query(store_, "SELECT * FROM Reports WHERE 1=0"), "MinPeriod"))
            Query(store_, "UPDATE Reports SET MinPeriod=%d WHERE %s AND MinPeriod>%d",
                  report->first, where.c_str(), report->first);
        UpdateRange(*report);
    }
    if (!isEnd) return;
    for (const auto& [id, periods] : periods_)
        RaisePeriods(store_, std::apply([](auto... ids) { return Where(ids...); }, id), periods);
}

// Nobody else tells the bands of a measurement that an import made, this one or one before. It has
// no description, not even the empty one that recorders give it.
void ImportTarget::UpdateRange(const ImportedReport& report) {
    if (told_.contains({report.groupId, report.measId})) return;
    std::vector<double> frequencies;
    for (const auto& band : acoustics::NamedBands()) {
        if (report.bands.contains(band.number) && bands_.Stored().NameOf(band.number) == band.name)
            frequencies.push_back(band.nominal);
    }
    if (frequencies.empty()) return;
    const std::string where = Where(report.groupId, report.measId);
    const auto stored = Query(store_, "SELECT * FROM Measurements WHERE %s", where.c_str());
    if (!stored->Fields("Info").IsNull()) return;
    const bool isFirst = stored->Fields("BandWidth").Long() == 0;
    const double lower = stored->Fields("FrqLower").Double();
    Query(store_, "UPDATE Measurements SET BandWidth=%d,FrqLower=%f,FrqUpper=%f WHERE %s",
          kThirdOctaves, isFirst ? frequencies.front() : std::min(lower, frequencies.front()),
          std::max(stored->Fields("FrqUpper").Double(), frequencies.back()), where.c_str());
}

}  // namespace mersola::tool
