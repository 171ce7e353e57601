// Checks of the values: whose they are, their periods and their bands.
#include <algorithm>
#include <cmath>
#include <limits>

#include "basics/times_text.h"
#include "database/query.h"
#include "findings.h"

namespace mersola::tool {
namespace {

using enum StoredTable;

// The values of one function on one channel of a report.
struct Series {
    std::int32_t key, channel = 0, function = 0;
    std::int64_t values = 0, numbers = 0;  // numbers: without those that are null
    std::int32_t first = 0, last = 0;      // periods
    double least = 0, most = 0;

    std::tuple<std::int32_t, std::int32_t, std::int32_t> Id() const {
        return {key, channel, function};
    }
};

struct KeyedReport {
    std::int32_t groupId, measId, reportId;
    std::int32_t periods, minPeriod;
};

// Two parts of one series.
Series Sum(const Series& a, const Series& b) {
    Series sum = a;
    sum.values += b.values;
    sum.numbers += b.numbers;
    sum.first = std::min(a.first, b.first);
    sum.last = std::max(a.last, b.last);
    sum.least = std::min(a.least, b.least);
    sum.most = std::max(a.most, b.most);
    return sum;
}

// One pass over the values, in the order of their key.
std::vector<Series> ReadSeries(Mersola& store, const std::vector<std::string>& parts) {
    std::vector<Series> series;
    for (const std::string& part : parts) {
        for (_Recordset& row :
             Rows(store,
                  "SELECT MeasValueId,Channel,FuncId,COUNT(*),COUNT(Value),MIN(PeriodNo),"
                  "MAX(PeriodNo),MIN(Value),MAX(Value) FROM MeasuredValues%s "
                  "GROUP BY MeasValueId,Channel,FuncId ORDER BY MeasValueId,Channel,FuncId",
                  part.c_str())) {
            const Series each{row.Fields(0).Long(),
                              row.Fields(1).Long(),
                              row.Fields(2).Long(),
                              std::llround(row.Fields(3).Double()),  // may have more than 32 bits
                              std::llround(row.Fields(4).Double()),
                              row.Fields(5).Long(),
                              row.Fields(6).Long(),
                              row.Fields(7).Double(),
                              row.Fields(8).Double()};
            if (!series.empty() && series.back().Id() == each.Id())
                series.back() = Sum(series.back(), each);
            else
                series.push_back(each);
        }
    }
    return series;
}

std::map<std::int32_t, KeyedReport> ReadKeys(Mersola& store, bool hasMinPeriod) {
    std::map<std::int32_t, KeyedReport> reports;
    for (_Recordset& row :
         Rows(store,
              "SELECT k.MeasValueId,k.GroupId,k.MeasId,k.ReportId,"
              "r.noOfPeriods,%s,r.ReportId FROM MeasValueMap k LEFT JOIN Reports r ON "
              "r.GroupId=k.GroupId AND r.MeasId=k.MeasId AND "
              "r.ReportId=k.ReportId",
              hasMinPeriod ? "r.MinPeriod" : "NULL")) {
        // A key whose report is not there is told once, and its values with it.
        const bool isThere = !row.Fields(6).IsNull();
        const bool isBounded = !row.Fields(5).IsNull();
        reports[row.Fields(0).Long()] = {
            row.Fields(1).Long(), row.Fields(2).Long(), row.Fields(3).Long(),
            isThere ? row.Fields(4).Long() : std::numeric_limits<std::int32_t>::max(),
            isBounded ? row.Fields(5).Long() : std::numeric_limits<std::int32_t>::min()};
    }
    return reports;
}

// What reports are said to measure, as series are identified.
using Listed = std::set<std::tuple<std::int32_t, std::int32_t, std::int32_t>>;

Listed ReadListed(Mersola& store) {
    Listed listed;
    for (_Recordset& row :
         Rows(store,
              "SELECT k.MeasValueId,f.Channel,f.FuncId FROM MeasuredFunctions f "
              "JOIN MeasValueMap k ON k.GroupId=f.GroupId AND k.MeasId=f.MeasId AND "
              "k.ReportId=f.ReportId ORDER BY k.MeasValueId,f.Channel,f.FuncId"))
        listed.emplace_hint(listed.end(), row.Fields(0).Long(), row.Fields(1).Long(),
                            row.Fields(2).Long());
    return listed;
}

std::string Periods(std::int32_t first, std::int32_t last) {
    return first == last ? "period " + std::to_string(first)
                         : "periods " + std::to_string(first) + " to " + std::to_string(last);
}

void CheckSeries(const Series& series, const std::string& where, const KeyedReport& report,
                 Findings& findings) {
    if (series.first < 0)
        findings.Add(where, "has values in " + Periods(series.first, std::min(series.last, -1)) +
                                ", before the measurement began");
    else if (series.first < report.minPeriod)
        findings.Add(where, "has values from period " + std::to_string(series.first) + " on, but " +
                                std::to_string(report.minPeriod) + " is said to be its first");
    if (series.numbers != series.values)
        findings.Add(where, "has " + Counted(series.values - series.numbers, "value") +
                                " without a number, which reads as missing");
    if (!std::isfinite(series.least) || !std::isfinite(series.most))
        findings.Add(where, "has values that are not finite");
}

void CheckBands(Mersola& store, const std::vector<std::string>& parts, Findings& findings) {
    std::set<std::int32_t> bands;
    for (const std::string& part : parts) {
        for (_Recordset& row :
             Rows(store, "SELECT DISTINCT FrqId FROM MeasuredValues%s", part.c_str()))
            bands.insert(row.Fields(0).Long());
    }
    for (_Recordset& row : Rows(store, "SELECT FrqId FROM FrqNameMap WHERE FrqName<>''"))
        bands.erase(row.Fields(0).Long());
    std::vector<std::pair<std::int32_t, std::int32_t>> nameless;  // from one band to another
    for (const std::int32_t band : bands) {
        if (!nameless.empty() && nameless.back().second == band - 1)
            nameless.back().second = band;
        else
            nameless.emplace_back(band, band);
    }
    for (const auto& [first, last] : nameless)
        findings.Remark(first == last
                            ? "band " + std::to_string(first)
                            : "bands " + std::to_string(first) + " to " + std::to_string(last),
                        "no name in FrqNameMap");
}

}  // namespace

ValuesChecked CheckValues(Mersola& store, const Layout& layout, const Places& places,
                          const std::vector<UnreadValues>& unread, Findings& findings) {
    ValuesChecked checked;
    if (!layout.Has(MeasuredValues)) return checked;
    const auto parts = ReadableValues(store, unread);
    if (layout.Has(FrqNameMap)) CheckBands(store, parts, findings);
    // The values first: whose they are is registered before them, also while this reads.
    const std::vector<Series> series = ReadSeries(store, parts);
    std::map<std::int32_t, Series> sums;  // by key
    for (const Series& each : series) {
        checked.values += each.values;
        Series& sum = sums.try_emplace(each.key, Series{.key = each.key}).first->second;
        sum.values += each.values;
        sum.last = std::max(sum.last, each.last);
        StoredReport& report =
            checked.stored.try_emplace(each.key, StoredReport{0, each.first}).first->second;
        report.values += each.values;
        report.first = std::min(report.first, each.first);
    }
    if (!layout.Has(MeasValueMap, Reports)) return checked;
    const auto reports = ReadKeys(store, layout.HasColumn(Reports, "MinPeriod"));
    for (const auto& [key, sum] : sums) {
        const auto found = reports.find(key);
        if (found == reports.end())
            findings.Add("value key " + std::to_string(key), "belongs to no report, and has " +
                                                                 Counted(sum.values, "value") +
                                                                 " that nobody can read");
        else if (const KeyedReport& report = found->second; sum.last >= report.periods)
            checked.uncounted.push_back({report.groupId, report.measId, report.reportId, sum.last});
    }
    const bool areListed = layout.Has(MeasuredFunctions);
    const Listed listed = areListed ? ReadListed(store) : Listed();
    for (const Series& each : series) {
        const auto found = reports.find(each.key);
        if (found == reports.end()) continue;
        const KeyedReport& report = found->second;
        const std::string where = places.Report(report.groupId, report.measId, report.reportId) +
                                  ", channel " + std::to_string(each.channel) + ", function " +
                                  std::to_string(each.function);
        CheckSeries(each, where, report, findings);
        if (areListed && !listed.contains(each.Id()))
            findings.Add(where, "has " + Counted(each.values, "value") +
                                    ", but the report does not list it");
    }
    return checked;
}

void CheckCounts(Mersola& store, const std::vector<Uncounted>& uncounted, const Places& places,
                 Findings& findings) {
    for (const Uncounted& each : uncounted) {
        const auto rows = Query(
            store, "SELECT noOfPeriods FROM Reports WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
            each.groupId, each.measId, each.reportId);
        if (rows->EndOfFile() || rows->Fields(0).Long() > each.lastPeriod) continue;
        findings.Add(places.Report(each.groupId, each.measId, each.reportId),
                     "counts " + Counted(rows->Fields(0).Long(), "period") +
                         ", but has values in period " + std::to_string(each.lastPeriod) +
                         ", which readers do not show; record on with the same names");
    }
}

}  // namespace mersola::tool
