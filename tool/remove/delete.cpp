// mersola delete: an instrument, measurements, or some of their values.
#include <algorithm>
#include <ostream>
#include <set>
#include <vector>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/stored_row.h"
#include "removal.h"

namespace mersola::tool {
namespace {

struct ListedFunction {
    std::int32_t measId, reportId, channel, id;
    std::string name;
};

// A report, and its periods from which values go.
struct Stretch {
    std::int32_t reportId, key;
    std::int64_t first = 0, end = 0;
    bool isFromStart = false;  // nothing is stored before them
};

struct Chosen {
    std::int32_t measId;
    bool isWhole = false;
    CTimeEx from = {}, to = {};
    std::vector<Stretch> stretches = {};
    std::vector<ListedFunction> functions = {};  // all of whose values go
};

// The number of the first period that begins at a time or later.
std::int64_t PeriodFrom(const CTimeEx& time, const CTimeEx& start, std::int64_t length) {
    const std::int64_t passed = (time - start).GetTotalMilliseconds();
    return passed / length + (passed > 0 && passed % length != 0 ? 1 : 0);
}

CTimeEx BeginOf(std::int64_t period, const CTimeEx& start, std::int64_t length) {
    std::int64_t passed = 0;
    CTimeEx time;
    if (__builtin_mul_overflow(period, length, &passed))
        time.SetStatus(COleDateTime::invalid);
    else
        time = start + CTimeSpanEx(passed);
    return time;
}

class Deleting {
  public:
    Deleting(const DeleteOptions& options, std::ostream& out, std::ostream* terminal)
        : options_(options), removal_(options, out, terminal), store_(removal_.Store()) {
        group_ = ChooseInstrument(store_, options.instrument);
        const auto measurements = ReadMeasurements(store_, group_);
        std::optional<std::int32_t> only;
        if (!options.measurement.empty())
            only = ChooseMeasurement(store_, group_, options.measurement);
        ReadFunctions(only);
        ChoosePart();
        for (const MeasurementInfo& each : measurements) {
            if (!only || each.MeasId == *only) Choose(each);
        }
        isInstrument_ = !only && !HasTimes() && !HasPart();
    }

    void Work(std::ostream& out) {
        if (chosen_.empty() && !isInstrument_) {
            out << "There is nothing to delete in " << removal_.Name() << ".\n";
            return;
        }
        Show(out);
        if (!removal_.IsWanted()) return;
        if (isInstrument_) {
            removal_.Run([&](const DeletionOptions& how) {
                return store_.deleteInstrument(nullptr, group_, how);
            });
        } else {
            for (const Chosen& each : chosen_)
                DeleteChosen(each);
        }
        removal_.Tell();
    }

  private:
    bool HasTimes() const { return options_.from || options_.to; }
    bool HasPart() const { return part_.channel || part_.function; }
    bool IsOfPart(const ListedFunction& function) const {
        return (!part_.channel || function.channel == *part_.channel) &&
               (!part_.function || function.id == *part_.function);
    }

    void ReadFunctions(const std::optional<std::int32_t>& only) {
        const std::string scope = only ? " AND f.MeasId=" + std::to_string(*only) : "";
        for (_Recordset& row :
             Rows(store_,
                  "SELECT f.MeasId,f.ReportId,f.Channel,f.FuncId,n.FuncName FROM "
                  "MeasuredFunctions f LEFT JOIN FuncNameMap n ON n.FuncId=f.FuncId WHERE "
                  "f.GroupId=%d%s ORDER BY f.Channel,f.FuncId",
                  group_, scope.c_str()))
            functions_.push_back({row.Fields(0).Long(), row.Fields(1).Long(), row.Fields(2).Long(),
                                  row.Fields(3).Long(), std::string(row.Fields(4).Text())});
    }

    void ChoosePart() {
        std::vector<Choice> channels, functions;
        for (const ListedFunction& each : functions_) {
            if (channels.empty() || channels.back().id != each.channel)
                channels.push_back({each.channel, ""});
            if (std::ranges::find(functions, each.id, &Choice::id) == functions.end())
                functions.push_back({each.id, each.name});
        }
        if (!options_.channel.empty())
            part_.channel = mersola::tool::Choose("channel", options_.channel, channels);
        if (!options_.function.empty())
            part_.function = mersola::tool::Choose("function", options_.function, functions);
    }

    void Choose(const MeasurementInfo& measurement) {
        Chosen chosen{.measId = measurement.MeasId};
        std::int64_t others = 0;
        for (const ListedFunction& each : functions_) {
            if (each.measId != measurement.MeasId) continue;
            if (!IsOfPart(each))
                ++others;
            else if (!HasTimes())
                chosen.functions.push_back(each);
        }
        chosen.isWhole = !HasTimes() && (!HasPart() || (others == 0 && !chosen.functions.empty()));
        if (!chosen.isWhole && !HasTimes() && chosen.functions.empty()) return;
        ReadStretches(measurement, chosen);
        const auto isThere = [](const Stretch& each) { return each.first < each.end; };
        if (chosen.isWhole || !chosen.functions.empty() ||
            std::ranges::any_of(chosen.stretches, isThere))
            chosen_.push_back(std::move(chosen));
    }

    void ReadStretches(const MeasurementInfo& measurement, Chosen& chosen) {
        CTimeEx begin, end;
        begin.SetStatus(COleDateTime::null), end.SetStatus(COleDateTime::null);
        for (_Recordset& row :
             Rows(store_,
                  "SELECT k.ReportId,k.MeasValueId,r.PeriodLen,(SELECT MIN(v.PeriodNo) FROM "
                  "MeasuredValues v WHERE v.MeasValueId=k.MeasValueId),(SELECT MAX(w.PeriodNo) "
                  "FROM MeasuredValues w WHERE w.MeasValueId=k.MeasValueId) FROM MeasValueMap k "
                  "LEFT JOIN Reports r ON r.GroupId=k.GroupId AND r.MeasId=k.MeasId AND "
                  "r.ReportId=k.ReportId WHERE k.GroupId=%d AND k.MeasId=%d",
                  group_, measurement.MeasId)) {
            if (row.Fields(3).IsNull()) continue;
            Stretch stretch{row.Fields(0).Long(), row.Fields(1).Long()};
            const std::int64_t first = row.Fields(3).Long();
            const std::int64_t behind = std::int64_t{row.Fields(4).Long()} + 1;
            stretch.first = first, stretch.end = behind;
            if (!chosen.isWhole) {
                const auto length = StoredLength(row.Fields(2).Text());
                const CTimeEx& start = measurement.StartAt;
                if (!length || !start.IsValid())
                    throw Failure(removal_.Place(group_, measurement.MeasId) + ", report " +
                                  std::to_string(stretch.reportId) +
                                  ": its times cannot be read; delete the whole measurement, or "
                                  "repair what mersola check says of it");
                if (options_.from)
                    stretch.first =
                        std::clamp(PeriodFrom(*options_.from, start, *length), first, behind);
                if (options_.to)
                    stretch.end =
                        std::clamp(PeriodFrom(*options_.to, start, *length), stretch.first, behind);
                const CTimeEx from = BeginOf(first, start, *length);
                const CTimeEx to = BeginOf(behind, start, *length);
                if (!from.IsValid() || !to.IsValid())
                    throw Failure(removal_.Place(group_, measurement.MeasId) + ", report " +
                                  std::to_string(stretch.reportId) +
                                  ": its periods reach beyond all calendars; delete the whole "
                                  "measurement, or repair what mersola check says of it");
                if (begin.GetStatus() == COleDateTime::null || from < begin) begin = from;
                if (end.GetStatus() == COleDateTime::null || to > end) end = to;
            }
            stretch.isFromStart = stretch.first == first;
            chosen.stretches.push_back(stretch);
        }
        chosen.from = options_.from.value_or(begin);
        chosen.to = options_.to.value_or(end);
    }

    void Show(std::ostream& out) {
        out << "This goes from " << removal_.Name() << ":\n";
        const Room room(store_);
        for (const Chosen& each : chosen_) {
            Going going{.measurements = each.isWhole ? 1 : 0};
            for (const Stretch& stretch : each.stretches) {
                going.periods += stretch.end - stretch.first;
                going.amount += room.Of({stretch.key, stretch.first, stretch.end}, part_);
            }
            if (each.isWhole) removal_.AddMarkers(group_, each.measId, nullptr, going);
            removal_.Show(group_, each.measId, going);
        }
        if (isInstrument_) out << "  and the instrument itself\n";
    }

    void DeleteChosen(const Chosen& chosen) {
        if (chosen.isWhole) {
            removal_.Run([&](const DeletionOptions& how) {
                return store_.deleteMeasurement(nullptr, group_, chosen.measId, how);
            });
            return;
        }
        if (!chosen.stretches.empty()) {
            removal_.Run([&](const DeletionOptions& how) {
                return store_.deleteValues(nullptr, group_, chosen.measId, chosen.from, chosen.to,
                                           part_.channel.value_or(kNone),
                                           part_.function.value_or(kNone), how);
            });
        }
        Transaction transaction(store_);
        DeleteFunctions(chosen);
        if (!HasPart()) RaiseFirstPeriods(chosen);
        transaction.Commit();
    }

    std::string OfReport(std::int32_t measId, std::int32_t reportId) const {
        return Statement("GroupId=%d AND MeasId=%d AND ReportId=%d", group_, measId, reportId);
    }

    // With them go the reports that have no others and no values, as under functions that they do
    // not list.
    void DeleteFunctions(const Chosen& chosen) {
        std::set<std::int32_t> reports;
        for (const ListedFunction& each : chosen.functions) {
            Query(store_, "DELETE FROM MeasuredFunctions WHERE %s AND Channel=%d AND FuncId=%d",
                  OfReport(each.measId, each.reportId).c_str(), each.channel, each.id);
            reports.insert(each.reportId);
        }
        for (const std::int32_t id : reports) {
            const std::string report = OfReport(chosen.measId, id);
            const auto functions =
                Query(store_, "SELECT FuncId FROM MeasuredFunctions WHERE %s", report.c_str());
            const auto key =
                Query(store_, "SELECT MeasValueId FROM MeasValueMap WHERE %s", report.c_str());
            if (!functions->EndOfFile()) continue;
            if (!key->EndOfFile() &&
                !Query(store_, "SELECT MIN(PeriodNo) FROM MeasuredValues WHERE MeasValueId=%d",
                       key->Fields(0).Long())
                     ->Fields(0)
                     .IsNull())
                continue;
            Query(store_, "DELETE FROM MeasValueMap WHERE %s", report.c_str());
            Query(store_, "DELETE FROM Reports WHERE %s", report.c_str());
        }
    }

    void RaiseFirstPeriods(const Chosen& chosen) {
        if (!ColumnIn(*Query(store_, "SELECT * FROM Reports WHERE 1=0"), "MinPeriod")) return;
        for (const Stretch& each : chosen.stretches) {
            if (!each.isFromStart || each.first >= each.end) continue;
            const auto end = static_cast<std::int32_t>(each.end);
            Query(store_, "UPDATE Reports SET MinPeriod=%d WHERE %s AND COALESCE(MinPeriod,0)<%d",
                  end, OfReport(chosen.measId, each.reportId).c_str(), end);
        }
    }

    const DeleteOptions& options_;
    Removal removal_;
    Mersola& store_;
    std::int32_t group_ = kNone;
    std::vector<ListedFunction> functions_;  // of the measurements that are asked for
    PartOfValues part_;
    std::vector<Chosen> chosen_;
    bool isInstrument_ = false;
};

}  // namespace

void Delete(const DeleteOptions& options, std::ostream& out, std::ostream* terminal) {
    Deleting(options, out, terminal).Work(out);
}

}  // namespace mersola::tool
