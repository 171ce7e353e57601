// Checks of everything but the values: owners, names, texts, markers.
#include <optional>
#include <vector>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "basics/utf8.h"
#include "database/query.h"
#include "database/stored_row.h"
#include "findings.h"

namespace mersola::tool {
namespace {

using enum StoredTable;

// What it does to readers that a key stands in several rows, for each key of the table in turn.
struct Repeats {
    StoredTable table;
    std::vector<const char*> consequences;
};

const Repeats kRepeats[] = {
    {Groups, {"readers find the first one", "readers find the first one"}},
    {Measurements, {"readers find the first one", "readers find the first one"}},
    {Reports, {"readers find the first one"}},
    {MeasValueMap,
     {"values under the other keys are not read", "two reports read and write the same values"}},
    {MeasuredFunctions, {"the function is listed twice"}},
    {FuncNameMap, {"readers show the first name"}},
    {FrqNameMap, {"readers show the first name"}},
    {MeasuredValues, {"readers show either value"}}};

std::string Joined(StoredKey key, const std::string& prefix = "") {
    std::string list;
    for (const char* column : key)
        list += (list.empty() ? "" : ",") + prefix + column;
    return list;
}

// Rows that belong to a row of another table, by its primary key.
struct Ownership {
    StoredTable owned;
    StoredTable owner;
    const char* fault;
};

const Ownership kOwnerships[] = {
    {Measurements, Groups, "has measurements, and is not there"},
    {Reports, Measurements, "has reports, and is not there"},
    {MeasValueMap, Reports, "has a key for values, and is not there"},
    {MeasuredFunctions, Reports, "has functions, and is not there"},
    {Reports, MeasValueMap,
     "has no key for its values; a recorder that goes on with it gives it one"}};

std::string PlaceOf(_Recordset& row, std::size_t columns, const Places& places) {
    switch (columns) {
        case 1:
            return places.Instrument(row.Fields(0).Long());
        case 2:
            return places.Measurement(row.Fields(0).Long(), row.Fields(1).Long());
        default:
            return places.Report(row.Fields(0).Long(), row.Fields(1).Long(), row.Fields(2).Long());
    }
}

bool IsList(const CString& text) {
    return ListText().Parse(text);
}

bool ArePercentages(const CString& text) {
    ListText list;
    if (!list.Parse(text)) return false;
    for (const CString& item : list) {
        const auto percentage = ParseNumber<float>(item.View());
        if (!percentage || !(*percentage >= 0 && *percentage <= 100)) return false;
    }
    return true;
}

std::string Unreadable(const char* column, const CString& text, const char* kind) {
    return std::string(column) + " " + Quoted(text.View()) + " is no " + kind;
}

}  // namespace

void CheckRepeats(Mersola& store, const Layout& layout, bool isPacked, Findings& findings) {
    for (const auto& [table, consequences] : kRepeats) {
        if (!layout.Has(table) || (isPacked && table == MeasuredValues)) continue;
        for (std::size_t i = 0; const StoredKey& key : KeysOf(table)) {
            const std::string consequence = consequences.at(i++);
            const std::string columns = Joined(key);
            for (_Recordset& row :
                 Rows(store,
                      "SELECT %s,COUNT(*) FROM %s WHERE %s IS NOT NULL GROUP BY %s "
                      "HAVING COUNT(*)>1",
                      columns.c_str(), NameOf(table), key.back(), columns.c_str())) {
                std::string where = std::string("table ") + NameOf(table);
                int field = 0;
                for (const char* column : key) {
                    where += (field == 0 ? ", " : " and ") + std::string(column) + " " +
                             Printable(row.Fields(field).Text().View());
                    ++field;
                }
                findings.Add(where, "stands in " + Counted(row.Fields(field).Long(), "row") + "; " +
                                        consequence);
            }
        }
    }
}

void CheckTexts(Mersola& store, const Layout& layout, Findings& findings) {
    for (const StoredTable table : kStoredTables) {
        if (table == MeasuredValues || !layout.Has(table)) continue;
        for (_Recordset& row : Rows(store, "SELECT * FROM %s", NameOf(table))) {
            for (const StoredColumn& column : ColumnsOf(table)) {
                const auto position = ColumnIn(row, column.name);
                if (!column.HoldsText() || !position) continue;
                const CString text = row.Fields(*position).Text();
                if (!IsUtf8(text.View()))
                    findings.Add(
                        std::string("table ") + NameOf(table) + ", " + column.name + " " +
                            Quoted(Excerpt(text.View())),
                        "is no text in UTF-8; what is exported with it cannot be imported");
            }
        }
    }
}

void CheckOwners(Mersola& store, const Layout& layout, const Places& places, Findings& findings) {
    for (const Ownership& each : kOwnerships) {
        if (!layout.Has(each.owned, each.owner)) continue;
        const StoredKey key = KeysOf(each.owner).front();
        std::string same;
        for (const char* column : key)
            same += std::string(same.empty() ? "" : " AND ") + "a." + column + "=b." + column;
        const std::string columns = Joined(key, "a.");
        for (_Recordset& row : Rows(store,
                                    "SELECT %s FROM %s a WHERE NOT EXISTS (SELECT * FROM %s b "
                                    "WHERE %s) GROUP BY %s ORDER BY %s",
                                    columns.c_str(), NameOf(each.owned), NameOf(each.owner),
                                    same.c_str(), columns.c_str(), columns.c_str()))
            findings.Add(PlaceOf(row, key.size(), places), each.fault);
    }
    if (!layout.Has(MeasuredFunctions, FuncNameMap)) return;
    for (_Recordset& row :
         Rows(store,
              "SELECT f.FuncId,COUNT(*) FROM MeasuredFunctions f WHERE NOT EXISTS (SELECT * "
              "FROM FuncNameMap n WHERE n.FuncId=f.FuncId AND n.FuncName<>'') "
              "GROUP BY f.FuncId ORDER BY f.FuncId"))
        findings.Remark(
            "function " + std::to_string(row.Fields(0).Long()),
            "has no name in FuncNameMap, and is measured " + Counted(row.Fields(1).Long(), "time"));
}

void CheckInstruments(Mersola& store, const Layout& layout, const Places& places,
                      Findings& findings) {
    if (!layout.Has(Groups)) return;
    for (_Recordset& row :
         Rows(store, "SELECT GroupId,GroupName,Type,State FROM Groups ORDER BY GroupId")) {
        const std::string where = places.Instrument(row.Fields(0).Long());
        if (row.Fields(1).Text().IsEmpty()) findings.Remark(where, "has no name");
        for (const char* column : {"Type", "State"}) {
            const CString text = row.Fields(column).Text();
            if (!IsList(text)) findings.Add(where, Unreadable(column, text, "list"));
        }
    }
}

void CheckMeasurements(Mersola& store, const Layout& layout, const Places& places,
                       Findings& findings) {
    if (!layout.Has(Measurements)) return;
    for (_Recordset& row : Rows(store,
                                "SELECT GroupId,MeasId,MeasName,StartAt,Percentiles "
                                "FROM Measurements ORDER BY GroupId,MeasId")) {
        const std::string where = places.Measurement(row.Fields(0).Long(), row.Fields(1).Long());
        if (row.Fields(2).Text().IsEmpty()) findings.Remark(where, "has no name");
        CTimeEx start;
        if (const CString text = row.Fields(3).Text(); !CTimeEx::FromText(text, start))
            findings.Add(where, Unreadable("StartAt", text, "time: yyyy,mm,dd,hh,mm,ss,ms"));
        if (const CString text = row.Fields(4).Text(); !ArePercentages(text))
            findings.Add(where, Unreadable("Percentiles", text, "list of per cents"));
    }
}

void CheckReports(Mersola& store, const Layout& layout, const Places& places, Findings& findings) {
    if (!layout.Has(Reports)) return;
    std::pair<std::int32_t, std::int32_t> measurement;
    std::map<std::pair<std::int32_t, std::int64_t>, std::int32_t> before;  // by type and length
    for (_Recordset& row : Rows(store,
                                "SELECT GroupId,MeasId,ReportId,PeriodLen,RealPeriodLen,"
                                "noOfPeriods,ReportType FROM Reports "
                                "ORDER BY GroupId,MeasId,ReportId")) {
        const std::int32_t report = row.Fields(2).Long();
        const std::pair current(row.Fields(0).Long(), row.Fields(1).Long());
        if (current != measurement) before.clear();
        measurement = current;
        const std::string where = places.Report(current.first, current.second, report);
        const CString text = row.Fields(3).Text();
        const CString real = row.Fields(4).Text();
        const auto length = StoredLength(text);
        if (!length) findings.Add(where, Unreadable("PeriodLen", text, "length: dd,hh,mm,ss,ms"));
        if (real != "NOT_SET" && !StoredLength(real))
            findings.Add(where, Unreadable("RealPeriodLen", real, "length, nor NOT_SET"));
        if (row.Fields(5).IsNull())
            findings.Add(where, "has no count of its periods");
        else if (row.Fields(5).Long() < 0)
            findings.Add(where, "counts " + std::to_string(row.Fields(5).Long()) + " periods");
        if (!length) continue;
        const auto [same, isNew] = before.try_emplace({row.Fields(6).Long(), *length}, report);
        if (!isNew)
            findings.Add(where, "repeats the periods of report " + std::to_string(same->second) +
                                    ": both have the same type and period length");
    }
}

void CheckMarkers(Mersola& store, const Layout& layout, const Places& places, Findings& findings) {
    if (!layout.Has(Groups, Measurements, Markers)) return;
    // The markers of an alarm instrument belong to no measurement of its own.
    std::set<std::int32_t> alarms;
    for (_Recordset& row : Rows(store, "SELECT GroupId,Type FROM Groups")) {
        CString type = ListText(row.Fields(1).Text()).First();
        if (type.MakeLower() == "alarm") alarms.insert(row.Fields(0).Long());
    }
    for (_Recordset& row :
         Rows(store,
              "SELECT k.GroupId,k.MeasId,k.MarkerId,k.Start,k.Stop,k.inProgess,"
              "k.TriggerCondition,m.MeasId FROM Markers k LEFT JOIN Measurements m "
              "ON m.GroupId=k.GroupId AND m.MeasId=k.MeasId")) {
        const std::int32_t group = row.Fields(0).Long();
        const CString startText = row.Fields(3).Text(), stopText = row.Fields(4).Text();
        CTimeEx start, stop;
        const bool hasStart = CTimeEx::FromText(startText, start);
        const bool hasStop = CTimeEx::FromText(stopText, stop);
        const std::string where = places.Measurement(group, row.Fields(1).Long()) + ", marker " +
                                  row.Fields(2).Text().GetString() + " of " +
                                  (hasStart ? TimeText(start) : Quoted(startText.View()));
        if (row.Fields(7).IsNull() && !alarms.contains(group))
            findings.Add(where, "belongs to a measurement that is not there");
        if (row.Fields(5).Long() != 0)
            findings.Add(where,
                         "is open; unless its event goes on, record on and it is closed, or give "
                         "it a stop");
        if (!hasStart) findings.Add(where, Unreadable("Start", startText, "time"));
        if (!hasStop) findings.Add(where, Unreadable("Stop", stopText, "time"));
        if (hasStart && hasStop && (stop - start).GetTotalMilliseconds() < 0)
            findings.Add(where, "stops at " + TimeText(stop) + ", before it starts");
        if (const CString text = row.Fields(6).Text(); !IsList(text))
            findings.Add(where, Unreadable("TriggerCondition", text, "list"));
    }
}

}  // namespace mersola::tool
