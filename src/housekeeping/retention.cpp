// Comparing the times of periods with a time.
#include "retention.h"

#include <algorithm>
#include <map>

#include "catalogue/columns.h"
#include "session/statement.h"

namespace mersola {
namespace {

constexpr double kHour = 3600000;  // in milliseconds

std::optional<int> Answer(const Statements& run, const CString& sql) {
    const auto rows = run(sql);
    if (!atFirstRow(rows) || rows->Fields(0).IsNull()) return std::nullopt;
    return rows->Fields(0).Long();
}

CString Condition(int groupId, int measId) {
    return formatted("GroupId=%d AND MeasId=%d", groupId, measId);
}

// The periods of one report, and what their times say.
class Times {
  public:
    Times(const ReportInfo& report, std::optional<int> first, std::optional<int> last)
        : length_(report.PeriodLen.GetTotalMilliseconds()),
          counted_(report.noOfPeriods),
          first_(first),
          all_(std::max<std::int64_t>(counted_, last ? std::int64_t{*last} + 1 : 0)) {}

    bool HasEndedWithin(std::int64_t elapsed) const {
        return all_ <= 0 || (length_ > 0 && all_ <= elapsed / length_);
    }
    // `sinceStart` is where the clock is.
    bool IsRecorded(std::int64_t sinceStart) const {
        const auto length = static_cast<double>(length_);
        const double behind = static_cast<double>(sinceStart) -
                              static_cast<double>(std::max<std::int64_t>(all_, 0)) * length;
        return behind < std::max(kHour, 2 * length);
    }
    // What goes when all goes, and otherwise what has ended.
    void Fill(OldPeriods& periods) const {
        periods.first = first_.value_or(0);
        periods.end = first_ ? all_ : 0;
    }
    void Fill(OldPeriods& periods, std::int64_t elapsed) const {
        periods.end = length_ > 0 ? std::min(elapsed / length_, counted_) : first_.value_or(0);
        periods.first = std::min<std::int64_t>(first_.value_or(periods.end), periods.end);
    }

  private:
    std::int64_t length_, counted_;
    std::optional<std::int64_t> first_;
    std::int64_t all_;  // counted or stored
};

std::map<int, ReportInfo> ReportsOf(const Statements& run, int groupId, int measId) {
    std::map<int, ReportInfo> reports;
    const auto rows = run(
        formatted("SELECT * FROM Reports where MeasId=%d and GroupId=%d ORDER BY ReportType ASC",
                  measId, groupId));
    for (; !rows->EndOfFile(); rows->MoveNext())
        readReport(*rows, reports[rows->Fields("ReportId").Long()]);
    return reports;
}

std::map<int, int> KeysOf(const Statements& run, int groupId, int measId) {
    std::map<int, int> keys;
    const auto rows =
        run("SELECT ReportId,MeasValueId FROM MeasValueMap WHERE " + Condition(groupId, measId));
    for (; !rows->EndOfFile(); rows->MoveNext())
        keys[rows->Fields(0).Long()] = rows->Fields(1).Long();
    return keys;
}

OldMeasurement OldPart(const Statements& run, int groupId, int measId, const CTimeEx& start,
                       const CTimeEx& before) {
    const std::int64_t elapsed = std::max<std::int64_t>((before - start).GetTotalMilliseconds(), 0);
    const std::int64_t sinceStart = (CTimeEx::GetCurrentTime() - start).GetTotalMilliseconds();
    OldMeasurement old{.groupId = groupId, .measId = measId};
    old.isWhole = static_cast<double>(sinceStart) >= kHour;
    auto reports = ReportsOf(run, groupId, measId);
    const auto keys = KeysOf(run, groupId, measId);
    for (const auto& [reportId, key] : keys)
        reports.try_emplace(reportId);  // a key without its report, of which no times are known
    std::vector<Times> times;
    for (const auto& [reportId, report] : reports) {
        const auto key = keys.find(reportId);
        std::optional<int> first, last;
        if (key != keys.end()) {
            const auto end = [&](const char* which) {
                return Answer(
                    run, formatted("SELECT %s(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d",
                                   which, key->second));
            };
            first = end("MIN");
            last = end("MAX");
        }
        const Times& each = times.emplace_back(report, first, last);
        old.isWhole = old.isWhole && each.HasEndedWithin(elapsed) && !each.IsRecorded(sinceStart);
        old.periods.push_back({reportId, key == keys.end() ? kNone : key->second, 0, 0});
    }
    for (std::size_t i = 0; i < times.size(); ++i)
        old.isWhole ? times[i].Fill(old.periods[i]) : times[i].Fill(old.periods[i], elapsed);
    old.markers = Answer(run, "SELECT count(*) FROM Markers WHERE " + Condition(groupId, measId) +
                                  (old.isWhole ? CString() : EndedBefore(before)))
                      .value_or(0);
    return old;
}

}  // namespace

CString EndedBefore(const CTimeEx& before) {
    // An event without an end may have begun a moment ago.
    return formatted(" AND COALESCE(NULLIF(Stop,''),'9999')<%s AND COALESCE(inProgess,0)=0",
                     quoteText(before.ToText()).GetString());
}

std::vector<OldMeasurement> OldMeasurements(const Statements& run, std::optional<int> groupId,
                                            const CTimeEx& before) {
    struct Found {
        int groupId, measId;
        CTimeEx start;
    };
    std::vector<Found> found;
    const CString ofGroup = groupId ? formatted("GroupId=%d AND ", *groupId) : CString();
    const auto rows =
        run("SELECT GroupId,MeasId,StartAt FROM Measurements WHERE " + ofGroup +
            formatted("StartAt<%s ORDER BY StartAt ASC", quoteText(before.ToText()).GetString()));
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        const CTimeEx start = timeIn(rows->Fields(2));
        if (start.IsValid())
            found.push_back({rows->Fields(0).Long(), rows->Fields(1).Long(), start});
    }
    std::vector<OldMeasurement> old;
    for (const Found& each : found)
        old.push_back(OldPart(run, each.groupId, each.measId, each.start, before));
    return old;
}

std::optional<OldMeasurement> OldNow(const Statements& run, int groupId, int measId,
                                     const CTimeEx& before) {
    const auto rows = run("SELECT StartAt FROM Measurements WHERE " + Condition(groupId, measId));
    if (!atFirstRow(rows)) return std::nullopt;
    const CTimeEx start = timeIn(rows->Fields(0));
    if (!start.IsValid()) return std::nullopt;
    return OldPart(run, groupId, measId, start, before);
}

std::vector<OldPeriods> PeriodsBetween(const Statements& run, int groupId, int measId,
                                       const CTimeEx& from, const CTimeEx& to) {
    std::vector<OldPeriods> between;
    const auto rows = run("SELECT StartAt FROM Measurements WHERE " + Condition(groupId, measId));
    if (!atFirstRow(rows)) return between;
    const CTimeEx start = timeIn(rows->Fields(0));
    const auto reports = ReportsOf(run, groupId, measId);
    for (const auto& [reportId, key] : KeysOf(run, groupId, measId)) {
        const auto report = reports.find(reportId);
        const std::int64_t length =
            report == reports.end() ? 0 : report->second.PeriodLen.GetTotalMilliseconds();
        if (!start.IsValid() || length <= 0)
            throw _com_error(E_FAIL, "The times of the measurement cannot be read");
        const auto firstFrom = [&](const CTimeEx& time) {
            const std::int64_t elapsed = (time - start).GetTotalMilliseconds();
            return elapsed / length + (elapsed > 0 && elapsed % length != 0 ? 1 : 0);
        };
        const std::int64_t first = firstFrom(from);
        between.push_back({reportId, key, first, std::max(first, firstFrom(to))});
    }
    return between;
}

}  // namespace mersola
