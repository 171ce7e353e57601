// Looking at all the values first, and then moving them.
#include "moved_band.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/turns.h"

namespace mersola::tool {
namespace {

constexpr std::int64_t kPeriodsAtOnce = 100;
constexpr std::size_t kMostPeriods = 10000;

struct Report {
    std::int32_t groupId, measId, reportId, key;
    std::int64_t first, end;  // periods
};

std::string Scope(const BandMove& move) {
    std::string scope = " WHERE 1=1";
    if (move.instrument) scope += " AND GroupId=" + std::to_string(*move.instrument);
    if (move.measurement) scope += " AND MeasId=" + std::to_string(*move.measurement);
    return scope;
}

class Moving {
  public:
    Moving(Mersola& store, const BandMove& move, std::ostream* terminal)
        : store_(store), move_(move), bar_(terminal), turns_(store, 1, kMostPeriods) {
        for (_Recordset& row :
             Rows(store,
                  "SELECT k.GroupId,k.MeasId,k.ReportId,k.MeasValueId,(SELECT MIN(v.PeriodNo) FROM "
                  "MeasuredValues v WHERE v.MeasValueId=k.MeasValueId),(SELECT MAX(w.PeriodNo) "
                  "FROM MeasuredValues w WHERE w.MeasValueId=k.MeasValueId) FROM MeasValueMap k%s",
                  Scope(move).c_str())) {
            if (row.Fields(4).IsNull()) continue;
            reports_.push_back({row.Fields(0).Long(), row.Fields(1).Long(), row.Fields(2).Long(),
                                row.Fields(3).Long(), row.Fields(4).Long(),
                                std::int64_t{row.Fields(5).Long()} + 1});
            total_ += 2 * (reports_.back().end - reports_.back().first);
        }
    }

    void RequireApart() {
        for (const Report& report : reports_) {
            const auto size = [] { return kPeriodsAtOnce; };
            Walk(report, size, [&](std::int64_t first, std::int64_t end) {
                const auto both = Query(
                    store_,
                    "SELECT PeriodNo,Channel,FuncId FROM MeasuredValues WHERE %s AND FrqId IN "
                    "(%d,%d) GROUP BY PeriodNo,Channel,FuncId HAVING COUNT(*)>1",
                    Within(report, first, end).c_str(), move_.from, move_.to);
                if (!both->EndOfFile())
                    throw Failure(
                        "both bands have values, as in instrument " +
                        std::to_string(report.groupId) + ", measurement " +
                        std::to_string(report.measId) + ", report " +
                        std::to_string(report.reportId) + ", period " +
                        std::to_string(both->Fields(0).Long()) + ", channel " +
                        std::to_string(both->Fields(1).Long()) + ", function " +
                        std::to_string(both->Fields(2).Long()) +
                        "; delete what is wrong first, or name the --measurement that is meant");
            });
        }
    }

    std::int64_t Move() {
        for (const Report& report : reports_) {
            const auto size = [&] { return static_cast<std::int64_t>(turns_.Portion()); };
            Walk(report, size, [&](std::int64_t first, std::int64_t end) {
                turns_.Take([&] { MoveWithin(report, first, end); });
            });
        }
        turns_.Take([&] {
            Query(store_, "UPDATE Markers SET frqId=%d%s AND frqId=%d", move_.to,
                  Scope(move_).c_str(), move_.from);
        });
        return moved_;
    }

  private:
    static std::string Within(const Report& report, std::int64_t first, std::int64_t end) {
        return "MeasValueId=" + std::to_string(report.key) +
               " AND PeriodNo>=" + std::to_string(first) + " AND PeriodNo<" + std::to_string(end);
    }

    // Piece by piece; behind a gap it goes on where something is stored.
    void Walk(const Report& report, const std::function<std::int64_t()>& size,
              const std::function<void(std::int64_t first, std::int64_t end)>& take) {
        for (std::int64_t at = report.first; at < report.end;) {
            if (const int signal = interruption_.Signal(); signal != 0)
                throw Failure("stopped by a signal; the same command goes on", 128 + signal);
            const auto next = Query(store_, "SELECT MIN(PeriodNo) FROM MeasuredValues WHERE %s",
                                    Within(report, at, report.end).c_str());
            const std::int64_t first =
                next->Fields(0).IsNull() ? report.end : next->Fields(0).Long();
            const std::int64_t end = std::min(first + size(), report.end);
            if (first < end) take(first, end);
            done_ += end - at;
            at = end;
            bar_.Show(static_cast<double>(done_) / static_cast<double>(total_));
        }
    }

    void MoveWithin(const Report& report, std::int64_t first, std::int64_t end) {
        const std::string within =
            Within(report, first, end) + " AND FrqId=" + std::to_string(move_.from);
        const auto periods =
            Query(store_, "SELECT COUNT(DISTINCT PeriodNo) FROM MeasuredValues WHERE %s",
                  within.c_str())
                ->Fields(0)
                .Long();
        if (periods == 0) return;
        try {
            Query(store_, "UPDATE MeasuredValues SET FrqId=%d WHERE %s", move_.to, within.c_str());
        } catch (const _com_error& error) {
            if (!error.IsDuplicate()) throw;
            throw Failure(
                "a recorder has stored values under both bands meanwhile; stop it, and see what "
                "there is with: mersola values");
        }
        moved_ += periods;
    }

    Mersola& store_;
    const BandMove& move_;
    Interruption interruption_;
    Progress bar_;
    Turns turns_;
    std::vector<Report> reports_;
    std::int64_t total_ = 0, done_ = 0;  // periods that are looked at and moved
    std::int64_t moved_ = 0;
};

}  // namespace

std::int64_t MoveBand(Mersola& store, const BandMove& move, std::ostream* terminal) {
    Moving moving(store, move, terminal);
    moving.RequireApart();
    return moving.Move();
}

}  // namespace mersola::tool
