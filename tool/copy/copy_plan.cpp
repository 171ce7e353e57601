// Matching the two databases, and registering in the one what the other has.
#include "copy_plan.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"

namespace mersola::tool {
namespace {

// What a recorder may change of a measurement that it has begun.
constexpr const char* kSettings[]{"Info",     "Fullscale", "Sensitivity",
                                  "FrqLower", "FrqUpper",  "Percentiles"};

[[noreturn]] void Conflict(const std::string& title, const Side& to, const std::string& what) {
    throw Failure(title + " is in " + to.Name() + " already, " + what +
                  "; nothing was copied, choose another database to copy to");
}

// Raises where the target takes for the name what is another one by its letters: engines do not
// agree on the case of every letter, nor on blanks at the end.
void RequireOwnName(const std::string& title, const std::string& name, const std::string& stored,
                    const Side& to) {
    if (IsSameName(name, stored)) return;
    throw Unplaceable(title + " cannot be in " + to.Name() + " beside " + Quoted(stored) +
                      ", which is the same name there; give one of them another name");
}

std::string NameIn(const Row& row, const char* column, const std::string& what) {
    auto name = TextIn(row, column);
    if (name.empty())
        throw Failure("the " + what + " has no name to find it by; nothing was copied");
    return name;
}

std::string StartIn(const Row& row) {
    CTimeEx start;
    const std::string text = TextIn(row, "StartAt");
    return CTimeEx::FromText(text.c_str(), start) ? TimeText(start) : Quoted(text);
}

auto FunctionsIn(Side& side, std::int32_t group, std::int32_t meas, std::int32_t report) {
    std::set<FunctionAndChannel> functions;
    side.ForEachRow(
        Statement("SELECT FuncId,Channel FROM MeasuredFunctions WHERE GroupId=%d AND "
                  "MeasId=%d AND ReportId=%d",
                  group, meas, report),
        [&](_Recordset& rows) { functions.emplace(rows.Fields(0).Long(), rows.Fields(1).Long()); });
    return functions;
}

std::optional<std::int32_t> KeyIn(Side& side, std::int32_t group, std::int32_t meas,
                                  std::int32_t report) {
    return side.Number(
        Statement("SELECT MeasValueId FROM MeasValueMap WHERE GroupId=%d AND "
                  "MeasId=%d AND ReportId=%d",
                  group, meas, report));
}

// Compares a report with the one that the target has.
void MatchReport(Side& to, const CopiedMeasurement& measurement, CopiedReport& report) {
    const auto group = NumberIn(*measurement.stored, "GroupId");
    const auto meas = NumberIn(*measurement.stored, "MeasId");
    const auto stored =
        to.Rows(Statement("SELECT * FROM Reports WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
                          group, meas, report.Id()),
                StoredTable::Reports);
    if (stored.empty()) return;
    report.isStored = true;
    for (const char* column : {"PeriodLen", "ReportType"}) {
        if (stored.front().at(column) != report.row.at(column))
            Conflict(measurement.title, to,
                     "with another report " + std::to_string(report.Id()) +
                         ": its periods or its type are not the same");
    }
    report.storedRealLength = stored.front().at("RealPeriodLen");
    report.toKey = KeyIn(to, group, meas, report.Id());
    const auto there = FunctionsIn(to, group, meas, report.Id());
    if (!std::ranges::includes(report.functions, there))
        Conflict(measurement.title, to,
                 "with other functions in report " + std::to_string(report.Id()));
    for (const auto& each : there)
        report.missing.erase(each);
}

std::vector<Row> MeasurementsNamed(Side& to, std::int32_t group, const std::string& name) {
    return to.Rows(Statement("SELECT * FROM Measurements WHERE GroupId=%d AND MeasName=%s", group,
                             Literal(name).c_str()),
                   StoredTable::Measurements);
}

std::optional<std::int32_t> GroupIn(Side& to, const std::string& name) {
    const auto stored =
        to.Rows("SELECT * FROM Groups WHERE GroupName=" + Literal(name), StoredTable::Groups);
    if (stored.empty()) return std::nullopt;
    RequireOwnName(Quoted(name), name, TextIn(stored.front(), "GroupName"), to);
    return NumberIn(stored.front(), "GroupId");
}

CopiedMeasurement PlanMeasurement(Side& from, Side& to, const CopiedNames& names,
                                  const CopiedInstrument& instrument, Row row) {
    CopiedMeasurement planned;
    planned.row = std::move(row);
    planned.fromGroup = NumberIn(planned.row, "GroupId");
    planned.fromMeas = NumberIn(planned.row, "MeasId");
    const std::string name =
        NameIn(planned.row, "MeasName", "measurement " + std::to_string(planned.fromMeas));
    planned.title = Quoted(name) + " of " + Quoted(TextIn(instrument.row, "GroupName"));
    if (instrument.toGroup) {
        auto stored = MeasurementsNamed(to, *instrument.toGroup, name);
        if (!stored.empty()) planned.stored = std::move(stored.front());
    }
    if (planned.stored)
        RequireOwnName(planned.title, name, TextIn(*planned.stored, "MeasName"), to);
    if (planned.stored && TextIn(*planned.stored, "StartAt") != TextIn(planned.row, "StartAt"))
        Conflict(planned.title, to,
                 "where it started at " + StartIn(*planned.stored) + " and not at " +
                     StartIn(planned.row));
    if (planned.stored && planned.stored->at("BandWidth") != planned.row.at("BandWidth"))
        Conflict(planned.title, to, "with another bandwidth");
    for (Row& each : from.Rows(Statement("SELECT * FROM Reports WHERE GroupId=%d AND MeasId=%d "
                                         "ORDER BY ReportId",
                                         planned.fromGroup, planned.fromMeas),
                               StoredTable::Reports)) {
        CopiedReport report;
        report.row = std::move(each);
        report.fromKey = KeyIn(from, planned.fromGroup, planned.fromMeas, report.Id());
        if (report.fromKey) report.periods = PeriodsOf(from, *report.fromKey);
        for (const auto& [function, channel] :
             FunctionsIn(from, planned.fromGroup, planned.fromMeas, report.Id()))
            report.functions.emplace(names.FunctionIn(function), channel);
        report.missing = report.functions;
        if (planned.stored) MatchReport(to, planned, report);
        planned.reports.push_back(std::move(report));
    }
    return planned;
}

// The wanted number where it is free in a column of the target, else one above all.
std::int32_t FreeNumber(Side& to, const char* column, const std::string& table,
                        const std::string& condition, std::int32_t wanted) {
    if (!to.Number(Statement("SELECT MIN(%s) FROM %s WHERE %s=%d%s", column, table.c_str(), column,
                             wanted, condition.c_str())))
        return wanted;
    const auto last = to.Number(Statement("SELECT MAX(%s) FROM %s WHERE %s>=%d%s", column,
                                          table.c_str(), column, wanted, condition.c_str()));
    if (last == std::numeric_limits<std::int32_t>::max())
        throw Failure("the database " + to.Name() + " has no free " + column + " in " + table);
    return last.value_or(wanted) + 1;
}

// Also values that no report owns any more have their key.
std::int32_t FreeKey(Side& to, std::int32_t wanted, std::int32_t above) {
    wanted = std::max(wanted, above + 1);
    while (true) {
        const auto free = FreeNumber(to, "MeasValueId", "MeasuredValues", "",
                                     FreeNumber(to, "MeasValueId", "MeasValueMap", "", wanted));
        if (free == wanted) return free;
        wanted = free;
    }
}

void AddMeasurement(const CopiedMeasurement& measurement, std::vector<std::string>& statements) {
    if (!measurement.stored) {
        Row row = measurement.row;
        row["GroupId"] = measurement.toGroup;
        row["MeasId"] = measurement.toMeas;
        statements.push_back(InsertOf(StoredTable::Measurements, row));
        return;
    }
    std::string changes;
    for (const char* setting : kSettings) {
        const Cell& value = measurement.row.at(setting);
        if (value != measurement.stored->at(setting))
            changes += (changes.empty() ? "" : ",") + std::string(setting) + "=" + Literal(value);
    }
    if (!changes.empty())
        statements.push_back(Statement("UPDATE Measurements SET %s WHERE GroupId=%d AND MeasId=%d",
                                       changes.c_str(), measurement.toGroup, measurement.toMeas));
}

void AddReport(const CopiedMeasurement& measurement, const CopiedReport& report,
               std::vector<std::string>& statements) {
    const Cell& realLength = report.row.at("RealPeriodLen");
    if (!report.isStored) {
        Row row = report.row;
        row["GroupId"] = measurement.toGroup;
        row["MeasId"] = measurement.toMeas;
        row["noOfPeriods"] = 0;
        statements.push_back(InsertOf(StoredTable::Reports, row));
    } else if (realLength != report.storedRealLength) {
        statements.push_back(Statement(
            "UPDATE Reports SET RealPeriodLen=%s WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
            Literal(realLength).c_str(), measurement.toGroup, measurement.toMeas, report.Id()));
    }
    if (report.isKeyNew)
        statements.push_back(
            InsertOf(StoredTable::MeasValueMap, {{"GroupId", measurement.toGroup},
                                                 {"MeasId", measurement.toMeas},
                                                 {"ReportId", report.Id()},
                                                 {"MeasValueId", report.toKey.value()}}));
    for (const auto& [function, channel] : report.missing)
        statements.push_back(
            InsertOf(StoredTable::MeasuredFunctions, {{"GroupId", measurement.toGroup},
                                                      {"MeasId", measurement.toMeas},
                                                      {"ReportId", report.Id()},
                                                      {"FuncId", function},
                                                      {"Channel", channel}}));
}

}  // namespace

std::vector<CopiedInstrument> PlanCopy(Side& from, Side& to, const CopiedNames& names,
                                       const std::string& asked) {
    std::string condition;
    if (!asked.empty())
        condition = " WHERE GroupId=" + std::to_string(ChooseInstrument(from.Store(), asked));
    std::vector<CopiedInstrument> plan;
    for (Row& row :
         from.Rows("SELECT * FROM Groups" + condition + " ORDER BY GroupId", StoredTable::Groups)) {
        CopiedInstrument instrument{std::move(row), {}, {}};
        const auto id = NumberIn(instrument.row, "GroupId");
        const auto name = NameIn(instrument.row, "GroupName", "instrument " + std::to_string(id));
        instrument.toGroup = GroupIn(to, name);
        for (Row& each :
             from.Rows(Statement("SELECT * FROM Measurements WHERE GroupId=%d ORDER BY MeasId", id),
                       StoredTable::Measurements)) {
            instrument.measurements.push_back(
                PlanMeasurement(from, to, names, instrument, std::move(each)));
        }
        plan.push_back(std::move(instrument));
    }
    return plan;
}

void Register(Side& to, CopiedInstrument& instrument) {
    if (instrument.toGroup) return;
    // What came to the target since it was asked may have taken the name.
    instrument.toGroup = GroupIn(to, TextIn(instrument.row, "GroupName"));
    if (instrument.toGroup) return;
    Row row = instrument.row;
    const auto group = FreeNumber(to, "GroupId", "Groups", "", NumberIn(row, "GroupId"));
    row["GroupId"] = group;
    to.Run(InsertOf(StoredTable::Groups, row));
    instrument.toGroup = group;
}

void Register(Side& to, const CopiedInstrument& instrument, CopiedMeasurement& measurement) {
    measurement.toGroup = instrument.toGroup.value();
    if (!measurement.stored) {  // but one that was copied just now may have taken the name
        const std::string name = TextIn(measurement.row, "MeasName");
        for (const Row& stored : MeasurementsNamed(to, measurement.toGroup, name))
            RequireOwnName(measurement.title, name, TextIn(stored, "MeasName"), to);
    }
    measurement.toMeas =
        measurement.stored
            ? NumberIn(*measurement.stored, "MeasId")
            : FreeNumber(to, "MeasId", "Measurements",
                         Statement(" AND GroupId=%d", measurement.toGroup), measurement.fromMeas);
    std::vector<std::string> statements;
    AddMeasurement(measurement, statements);
    std::int32_t lastKey = std::numeric_limits<std::int32_t>::min();
    for (CopiedReport& report : measurement.reports) {
        if (report.fromKey && !report.toKey) {
            // None of these is stored yet, so that nothing but the order keeps them apart.
            report.toKey = lastKey = FreeKey(to, *report.fromKey, lastKey);
            report.isKeyNew = true;
        }
        AddReport(measurement, report, statements);
    }
    to.RunTogether(statements);
}

}  // namespace mersola::tool
