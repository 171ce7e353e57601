// mersola gaps: where an instrument's measurements meet, overlap or leave periods out, and which of
// their periods have no values.
#include <algorithm>
#include <ostream>

#include "basics/table.h"
#include "basics/times_text.h"
#include "catalogue/chain.h"
#include "database/open_database.h"
#include "database/query.h"
#include "show.h"

namespace mersola::tool {
namespace {

// Periods that follow one another.
struct Stretch {
    std::int64_t first;
    std::int64_t end;
};

// The periods of a member that have values, numbered as in the chain.
std::vector<Stretch> ReadStored(Mersola& store, std::int32_t groupId, const ChainMember& member) {
    std::vector<Stretch> stored;
    const auto key =
        Query(store,
              "SELECT MeasValueId FROM MeasValueMap WHERE GroupId=%d AND MeasId=%d AND ReportId=%d",
              groupId, member.measId, member.reportId);
    if (key->EndOfFile()) return stored;
    // Of the periods without a neighbour alone: there may be millions.
    for (_Recordset& row :
         Rows(store,
              "SELECT PeriodNo,Earlier,Later FROM (SELECT PeriodNo,"
              "LAG(PeriodNo) OVER (ORDER BY PeriodNo) AS Earlier,"
              "LEAD(PeriodNo) OVER (ORDER BY PeriodNo) AS Later FROM ("
              "SELECT DISTINCT PeriodNo FROM MeasuredValues WHERE MeasValueId=%d AND PeriodNo>=0 "
              "AND PeriodNo<%d) p) q WHERE Earlier IS NULL OR Earlier<>PeriodNo-1 OR Later IS NULL "
              "OR Later<>PeriodNo+1 ORDER BY PeriodNo",
              key->Fields(0).Long(), static_cast<std::int32_t>(member.count))) {
        const std::int32_t period = row.Fields(0).Long();
        if (row.Fields(1).IsNull() || row.Fields(1).Long() != period - 1)
            stored.push_back({member.first + period, 0});
        stored.back().end = member.first + period + 1;
    }
    return stored;
}

std::int64_t LengthOf(const std::vector<Stretch>& stretches) {
    std::int64_t length = 0;
    for (const Stretch& each : stretches)
        length += each.end - each.first;
    return length;
}

// Without what they have twice.
std::vector<Stretch> Merged(std::vector<Stretch> stretches) {
    std::ranges::sort(stretches, {}, &Stretch::first);
    std::int64_t end = 0;
    for (Stretch& each : stretches) {
        each.first = std::max(each.first, end);
        each.end = std::max(each.first, each.end);
        end = each.end;
    }
    return stretches;
}

// In per cent, to two decimals; never rounded to all or nothing.
std::string ShareText(std::int64_t part, std::int64_t whole) {
    const std::int64_t least = part > 0 ? 1 : 0, most = part < whole ? 9999 : 10000;
    return NumberText(static_cast<double>(std::clamp(part * 10000 / whole, least, most)) / 100);
}

std::vector<std::size_t> WidthsOf(const ChainReport& report, const std::string& start) {
    std::size_t name = 0;
    for (const ChainMember& member : report.members)
        name = std::max(name, member.name.size());
    const auto number = std::to_string(report.count).size();
    return {std::string("measurement").size(), number, number, start.size(), start.size(), name};
}

}  // namespace

void Gaps(const GapsOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const auto instrument = ChooseInstrument(*store, options.instrument);
    const Chain chain = ReadChain(*store, instrument);
    const ChainReport& report = ChooseReport(chain, options.report);
    Table table(out, options.csv ? Table::Form::Csv : Table::Form::Aligned,
                {"Stretch", "First", "Last", "Start", "End", "Measurement", "Stored %"},
                WidthsOf(report, TimeText(chain.settings.StartAt)));
    const auto tell = [&](const char* kind, const Stretch& stretch, const std::string& name,
                          const std::string& share) {
        table.Row({kind, std::to_string(stretch.first), std::to_string(stretch.end - 1),
                   TimeText(TimeInChain(chain, report, stretch.first)),
                   TimeText(TimeInChain(chain, report, stretch.end)), name, share});
    };
    std::vector<Stretch> all;  // that have values
    std::int64_t covered = 0;  // up to here some measurement has the periods
    for (const ChainMember& member : report.members) {
        const std::int64_t end = member.first + member.count;
        const auto stored = ReadStored(*store, instrument, member);
        if (member.first > covered) tell("gap", {covered, member.first}, "", "");
        tell("measurement", {member.first, end}, member.name,
             ShareText(LengthOf(stored), member.count));
        if (member.first < covered)
            tell("overlap", {member.first, std::min(covered, end)}, member.name, "");
        std::int64_t seen = member.first;
        for (const Stretch& each : stored) {
            if (each.first > seen) tell("hole", {seen, each.first}, member.name, "");
            seen = each.end;
        }
        if (seen < end) tell("hole", {seen, end}, member.name, "");
        covered = std::max(covered, end);
        all.insert(all.end(), stored.begin(), stored.end());
    }
    tell("whole", {0, covered}, "", ShareText(LengthOf(Merged(std::move(all))), covered));
}

}  // namespace mersola::tool
