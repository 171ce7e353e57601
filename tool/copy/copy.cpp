// mersola copy: history from one database into another.
#include <algorithm>
#include <filesystem>
#include <ostream>

#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "copy.h"
#include "copy_markers.h"
#include "copy_plan.h"
#include "copy_values.h"

namespace mersola::tool {
namespace {

class Copying {
  public:
    Copying(const Database& from, const Database& to, const CopyOptions& options, std::ostream& out,
            std::ostream* terminal)
        : from_(from, Access::Read),
          to_(to, Access::Write),
          names_(from_, to_),
          plan_(PlanCopy(from_, to_, names_, options.instrument)),
          out_(out),
          progress_(terminal) {
        for (const auto& instrument : plan_) {
            for (const auto& measurement : instrument.measurements) {
                for (const auto& report : measurement.reports)
                    total_ += PeriodsIn(report) * (options.verify ? 2 : 1);
            }
        }
    }

    void CopyAll() {
        try {
            names_.Store(to_);
            for (CopiedInstrument& instrument : plan_)
                Register(to_, instrument);
            for (CopiedInstrument& instrument : plan_) {
                for (CopiedMeasurement& measurement : instrument.measurements)
                    CopyMeasurement(instrument, measurement);
                TellMarkersLeft(instrument);
            }
        } catch (const Deleted&) {
            throw;
        } catch (const Unplaceable& failure) {
            throw Failure(failure.what() + CopiedSafely());
        } catch (const Failure& failure) {
            throw Failure(failure.what() + CopiedSafely() + ", the same command goes on from there",
                          failure.Status());
        }
        for (const std::string& difference : names_.Differences())
            Tell("In " + to_.Name() + " " + difference + ".");
        if (plan_.empty()) Tell("There are no instruments to copy.");
    }

    void VerifyAll() {
        for (CopiedInstrument& instrument : plan_) {
            for (CopiedMeasurement& measurement : instrument.measurements)
                VerifyMeasurement(measurement);
        }
    }

    // What was told as it came may be lost.
    void RequireTold(bool isVerified) const {
        if (!out_)
            TellDone(out_, Counted(copied_, "value") + " copied safely" +
                               (isVerified ? ", and all verified" : ""));
    }

  private:
    std::string CopiedSafely() const { return "; " + Counted(copied_, "value") + " copied safely"; }

    static std::int64_t PeriodsIn(const CopiedReport& report) {
        return report.periods ? std::int64_t{report.periods->last} - report.periods->first + 1 : 0;
    }

    ReportEnds EndsOf(const CopiedMeasurement& measurement, const CopiedReport& report) {
        return {from_,
                to_,
                names_,
                report.fromKey.value(),
                report.toKey.value(),
                {measurement.toGroup, measurement.toMeas, report.Id()},
                NumberIn(report.row, "noOfPeriods")};
    }
    MeasurementEnds EndsOf(const CopiedMeasurement& measurement) {
        return {from_,
                to_,
                names_,
                measurement.fromGroup,
                measurement.fromMeas,
                measurement.toGroup,
                measurement.toMeas};
    }

    // Counts values in `sum`, shows the progress, and ends the command when it is interrupted.
    Advanced Counting(const CopiedReport& report, std::int64_t& sum) {
        return [&, first = report.periods->first](std::int32_t period, std::int64_t values) {
            sum += values;
            ShowDone(std::int64_t{period} - first + 1);
            RequireGoingOn();
        };
    }

    void ShowDone(std::int64_t periods) {
        progress_.Show(static_cast<double>(done_ + periods) / static_cast<double>(total_));
    }

    void RequireGoingOn() const {
        if (const int signal = interruption_.Signal(); signal != 0)
            throw Failure("stopped by a signal", 128 + signal);
    }

    void Tell(const std::string& line) {
        progress_.Clear();
        out_ << line << std::endl;
    }

    void CopyReport(const CopiedMeasurement& measurement, const CopiedReport& report) try {
        if (report.periods)
            CopyValues(EndsOf(measurement, report), *report.periods, Counting(report, copied_));
    } catch (const Unplaceable& failure) {
        throw Unplaceable(measurement.title + ": " + failure.what());
    }

    void CopyMeasurement(const CopiedInstrument& instrument, CopiedMeasurement& measurement) {
        RequireGoingOn();
        Register(to_, instrument, measurement);
        const std::int64_t before = copied_;
        for (const CopiedReport& report : measurement.reports) {
            CopyReport(measurement, report);
            done_ += PeriodsIn(report);
            // There may be periods without values behind the last one that has some.
            to_.Run(RaisedPeriods({measurement.toGroup, measurement.toMeas, report.Id()},
                                  NumberIn(report.row, "noOfPeriods")));
        }
        const std::int64_t markers = CopyMarkers(EndsOf(measurement));
        const std::int64_t values = copied_ - before;
        Tell(measurement.title + ": " +
             (values + markers == 0
                  ? (measurement.stored ? "nothing new" : "copied, without values")
                  : "copied " + Counted(values, "value") + " and " + Counted(markers, "marker")));
    }

    void VerifyMeasurement(const CopiedMeasurement& measurement) {
        std::int64_t values = 0, periods = 0;
        try {
            for (const CopiedReport& report : measurement.reports) {
                if (!report.periods) continue;
                VerifyValues(EndsOf(measurement, report), *report.periods,
                             Counting(report, values));
                periods += PeriodsIn(report);
                done_ += PeriodsIn(report);
            }
            const std::int64_t markers = VerifyMarkers(EndsOf(measurement));
            const std::string step = ResolutionOf(to_);
            Tell(measurement.title + ": verified " + Counted(values, "value") + " in " +
                 Counted(std::ssize(measurement.reports), "report") + " and " +
                 Counted(periods, "period") + ", and " + Counted(markers, "marker") +
                 (step.empty() ? "" : ", with values rounded to steps of " + step));
        } catch (const Failure& failure) {
            throw Failure("verifying " + measurement.title + ": " + failure.what(),
                          failure.Status());
        }
    }

    void TellMarkersLeft(const CopiedInstrument& instrument) {
        const auto count = [&](const std::string& condition) {
            return from_.Number("SELECT COUNT(*) FROM Markers WHERE GroupId=" + condition)
                .value_or(0);
        };
        const std::string group = std::to_string(NumberIn(instrument.row, "GroupId"));
        std::int64_t left = count(group);
        for (const auto& measurement : instrument.measurements)
            left -= count(group + " AND MeasId=" + std::to_string(measurement.fromMeas));
        if (left > 0)
            Tell(Quoted(TextIn(instrument.row, "GroupName")) + ": left out " +
                 Counted(left, "marker") + " of no measurement");
    }

    Side from_;
    Side to_;
    CopiedNames names_;
    std::vector<CopiedInstrument> plan_;
    std::ostream& out_;
    Interruption interruption_;
    Progress progress_;
    std::int64_t total_ = 0, done_ = 0;  // periods
    std::int64_t copied_ = 0;            // values
};

void RequireTwo(const Database& from, const Database& to) {
    std::error_code none;
    if (from.IsFile() && to.IsFile() && std::filesystem::equivalent(from.File(), to.File(), none))
        throw Failure(from.Name() + " and " + to.Name() + " are the same file");
}

}  // namespace

void Copy(const CopyOptions& options, std::ostream& out, std::ostream* terminal) {
    const Database from(options.from), to(options.to);
    RequireTwo(from, to);
    Copying copying(from, to, options, out, terminal);
    copying.CopyAll();
    if (options.verify) copying.VerifyAll();
    copying.RequireTold(options.verify);
}

}  // namespace mersola::tool
