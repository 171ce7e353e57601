// Asking for single periods, and telling which they were.
#include "stored_periods.h"

#include "basics/times_text.h"
#include "database/query.h"

namespace mersola::tool {

StoredPeriods::StoredPeriods(Mersola& store, std::int32_t group, std::int32_t measurement,
                             std::int32_t report)
    : store_(store),
      key_(Query(store,
                 "SELECT MeasValueId FROM MeasValueMap WHERE GroupId=%d AND MeasId=%d AND "
                 "ReportId=%d",
                 group, measurement, report)
               ->Fields(0)
               .Long()) {
    const auto last =
        Query(store, "SELECT MAX(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d", key_);
    if (!last->Fields(0).IsNull()) last_ = last->Fields(0).Long();
}

std::set<std::pair<int, int>> StoredPeriods::FunctionsIn(int period) const {
    std::set<std::pair<int, int>> functions;
    if (!last_ || period > *last_) return functions;
    for (_Recordset& row : Rows(store_,
                                "SELECT DISTINCT Channel,FuncId FROM MeasuredValues WHERE "
                                "MeasValueId=%d AND PeriodNo=%d",
                                key_, period))
        functions.emplace(row.Fields(0).Long(), row.Fields(1).Long());
    return functions;
}

std::optional<double> StoredPeriods::Value(int period, int channel, int function, int band) const {
    const auto row = Query(store_,
                           "SELECT Value FROM MeasuredValues WHERE MeasValueId=%d AND PeriodNo=%d "
                           "AND Channel=%d AND FuncId=%d AND FrqId=%d",
                           key_, period, channel, function, band);
    if (row->EndOfFile() || row->Fields(0).IsNull()) return std::nullopt;
    return row->Fields(0).Double();
}

void PeriodRanges::Add(int period) {
    if (!ranges_.empty() && ranges_.back().second + 1 == period)
        ranges_.back().second = period;
    else
        ranges_.emplace_back(period, period);
}

int PeriodRanges::Count() const {
    int count = 0;
    for (const auto& [first, last] : ranges_)
        count += last - first + 1;
    return count;
}

std::string PeriodRanges::Text() const {
    constexpr std::size_t kTold = 5;
    if (ranges_.size() > kTold)
        return Counted(Count(), "period") + " from " + std::to_string(ranges_.front().first) +
               " to " + std::to_string(ranges_.back().second);
    std::string text = Count() == 1 ? "period " : "periods ";
    for (const auto& range : ranges_) {
        const auto& [first, last] = range;
        if (&range != &ranges_.front()) text += &range == &ranges_.back() ? " and " : ", ";
        text += std::to_string(first);
        if (last > first) text += " to " + std::to_string(last);
    }
    return text;
}

}  // namespace mersola::tool
