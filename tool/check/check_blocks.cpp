// Checks of packed values: every block and every pending row is decoded.
#include <algorithm>

#include "basics/times_text.h"
#include "damage/known_places.h"
#include "database/query.h"
#include "findings.h"

namespace mersola::tool {
namespace {

using enum StoredTable;

constexpr std::int32_t kBlockPeriods = 128;

Row RowIn(_Recordset& rows, StoredTable table) {
    Row row;
    for (const StoredColumn& column : ColumnsOf(table)) {
        const auto at = ColumnIn(rows, column.name);
        if (!at || rows.Fields(*at).IsNull()) continue;
        if (column.HoldsText())
            row[column.name] = std::string(rows.Fields(*at).Text().View());
        else if (column.kind == StoredColumn::Integer)
            row[column.name] = rows.Fields(*at).Long();
    }
    return row;
}

KnownPlaces PlacesIn(Mersola& store, const Layout& layout) {
    KnownPlaces places;
    for (const StoredTable table : {Groups, FuncNameMap, Measurements, Reports, MeasValueMap}) {
        if (!layout.Has(table)) continue;
        for (_Recordset& row : Rows(store, "SELECT * FROM %s", NameOf(table)))
            places.Take(table, RowIn(row, table));
    }
    return places;
}

void Lose(std::int32_t key, std::int32_t channel, std::int32_t function, std::int32_t first,
          std::vector<UnreadValues>& unread) {
    const std::int32_t begin = first & ~(kBlockPeriods - 1);
    unread.push_back({key, std::pair(channel, function), begin, begin + kBlockPeriods - 1});
}

// The values that no block names, and the like.
void CheckCounterparts(Mersola& store, const KnownPlaces& places, Findings& findings,
                       std::vector<UnreadValues>& unread) {
    const auto strays = Query(store,
                              "SELECT count(*) FROM ValueData WHERE DataId NOT IN (SELECT DataId "
                              "FROM ValueBlocks)")
                            ->Fields(0)
                            .Long();
    if (strays > 0)
        findings.Add("table ValueData", "has " + Counted(strays, "row") +
                                            " that no row of ValueBlocks names, and whose values "
                                            "nobody can read");
    for (_Recordset& row :
         Rows(store,
              "SELECT MeasValueId,Channel,FuncId,FirstPeriod,MAX(LastPeriod) FROM "
              "ValueBlocks GROUP BY MeasValueId,Channel,FuncId,FirstPeriod>>7 "
              "HAVING COUNT(*)>1")) {
        const std::int32_t key = row.Fields(0).Long(), channel = row.Fields(1).Long(),
                           function = row.Fields(2).Long(), first = row.Fields(3).Long();
        findings.Add(places.Series(key, channel, function) + ", " +
                         places.Periods(key, first, row.Fields(4).Long()),
                     "the values cannot be read: they lie in two blocks");
        Lose(key, channel, function, first, unread);
    }
}

std::vector<UnreadValues> CheckSealed(Mersola& store, const KnownPlaces& places,
                                      Findings& findings) {
    std::vector<UnreadValues> unread;
    for (_Recordset& row :
         Rows(store,
              "SELECT * FROM (SELECT b.MeasValueId,b.Channel,b.FuncId,b.FirstPeriod,b.LastPeriod,"
              "mersola_block_fault(b.MeasValueId,b.Channel,b.FuncId,b.FirstPeriod,b.LastPeriod,"
              "d.Data,b.Summary) AS Fault FROM ValueBlocks b LEFT JOIN ValueData d ON "
              "d.DataId=b.DataId) WHERE Fault IS NOT NULL")) {
        const std::int32_t key = row.Fields(0).Long(), channel = row.Fields(1).Long(),
                           function = row.Fields(2).Long(), first = row.Fields(3).Long(),
                           last = row.Fields(4).Long();
        const std::string fault(row.Fields(5).Text().View());
        const bool areWhole = fault.starts_with("their summary");
        findings.Add(
            places.Series(key, channel, function) + ", " + places.Periods(key, first, last),
            (areWhole ? "" : "the values cannot be read: ") + fault);
        if (areWhole) continue;
        Lose(key, channel, function, first, unread);
    }
    return unread;
}

void CheckPending(Mersola& store, const KnownPlaces& places, Findings& findings,
                  std::vector<UnreadValues>& unread) {
    for (_Recordset& row :
         Rows(store,
              "SELECT * FROM (SELECT MeasValueId,PeriodNo,mersola_period_fault(MeasValueId,"
              "PeriodNo,Data) AS Fault FROM PendingValues) WHERE Fault IS NOT NULL")) {
        const std::int32_t key = row.Fields(0).Long(), period = row.Fields(1).Long();
        findings.Add(places.Report(key) + ", all functions, " + places.Periods(key, period, period),
                     "the values cannot be read: " + std::string(row.Fields(2).Text().View()));
        unread.push_back({key, std::nullopt, period, period});
    }
}

}  // namespace

std::vector<UnreadValues> CheckBlocks(Mersola& store, const Layout& layout, Findings& findings) {
    const KnownPlaces places = PlacesIn(store, layout);
    auto unread = CheckSealed(store, places, findings);
    CheckPending(store, places, findings, unread);
    CheckCounterparts(store, places, findings, unread);
    return unread;
}

std::vector<std::string> ReadableValues(Mersola& store, const std::vector<UnreadValues>& unread) {
    if (unread.empty()) return {""};
    std::vector<std::string> parts;
    for (_Recordset& row :
         Rows(store,
              "SELECT DISTINCT MeasValueId FROM ValueBlocks UNION SELECT DISTINCT "
              "MeasValueId FROM PendingValues ORDER BY 1")) {
        const std::int32_t key = row.Fields(0).Long();
        const std::string report = " WHERE MeasValueId=" + std::to_string(key);
        if (std::ranges::find(unread, key, &UnreadValues::key) == unread.end()) {
            parts.push_back(report);
            continue;
        }
        for (_Recordset& series :
             Rows(store,
                  "SELECT DISTINCT Channel,FuncId FROM ValueBlocks WHERE MeasValueId=%d UNION "
                  "SELECT f.Channel,f.FuncId FROM MeasuredFunctions f JOIN MeasValueMap k ON "
                  "k.GroupId=f.GroupId AND k.MeasId=f.MeasId AND k.ReportId=f.ReportId WHERE "
                  "k.MeasValueId=%d ORDER BY 1,2",
                  key, key)) {
            const std::pair id(series.Fields(0).Long(), series.Fields(1).Long());
            std::vector<std::pair<std::int64_t, std::int64_t>> holes;
            for (const UnreadValues& each : unread) {
                if (each.key == key && (!each.series || *each.series == id))
                    holes.emplace_back(each.first, each.last);
            }
            std::ranges::sort(holes);
            const std::string where = report + " AND Channel=" + std::to_string(id.first) +
                                      " AND FuncId=" + std::to_string(id.second);
            std::optional<std::int64_t> from;
            for (const auto& [first, last] : holes) {
                if (!from || *from < first)
                    parts.push_back(where +
                                    (from ? " AND PeriodNo>=" + std::to_string(*from) : "") +
                                    " AND PeriodNo<" + std::to_string(first));
                from = std::max(from.value_or(last + 1), last + 1);
            }
            parts.push_back(where + (from ? " AND PeriodNo>=" + std::to_string(*from) : ""));
        }
    }
    return parts;
}

}  // namespace mersola::tool
