// Writing a recording into the database, period by period.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <mersola/mersola.h>

#include "acoustics/analyser.h"
#include "catalogue/measured.h"
#include "record.h"
#include "stored_periods.h"
#include "trigger.h"

namespace mersola::tool {

/// One recording of a measurement: new, or the continuation of one that is stored. Every operation
/// raises Failure or _com_error; what was stored before stays.
class Recording {
  public:
    /// Checks that the measurement can be recorded as asked, and writes nothing. `bands` are those
    /// that are measured, at least one.
    Recording(Mersola& store, const RecordOptions& options, std::span<const acoustics::Band> bands,
              int channels);

    /// Stores the next period, all of it or nothing. `levels` has one item for each channel. Values
    /// that a function has in the period already stay, and nothing is put beside them. The first
    /// period registers the measurement with it.
    void Store(std::span<const acoustics::PeriodLevels> levels);

    /// Closes the marker that is open. Call it once a period is stored.
    void Finish();

    int PeriodsStored() const { return stored_; }
    /// The periods in which all was stored before; it was kept.
    const PeriodRanges& Kept() const { return kept_; }
    /// The periods in which some functions were stored before; these were kept, and others were
    /// added.
    const PeriodRanges& Completed() const { return completed_; }

    /// Whether the measurement was there before this recording. If it was, and once a period is
    /// stored, the other two give the number of this recording's first period and its time in the
    /// measurement.
    bool IsResumed() const { return isResumed_; }
    int FirstPeriod() const { return firstPeriod_; }
    CTimeEx StartOfFirstPeriod() const;
    /// How many periods passed unrecorded between the stored ones and the first of this recording.
    int PeriodsMissed() const;
    int Markers() const { return trigger_ ? trigger_->Markers() : 0; }
    /// The percentiles that are to be measured, in per cent.
    std::span<const float> Percentages() const { return percentages_; }
    const CTimeEx& Start() const { return measurement_.StartAt; }

  private:
    void CheckStart() const;
    void CheckResumable(bool isStartGiven);
    void TakePercentiles(const MeasurementInfo& stored, const std::string& name);
    void RegisterInstrument(InstrumentInfo& instrument);
    void Register();
    using Functions = std::set<std::pair<int, int>>;  // channel and function

    /// Returns whether there were any but those of functions that are kept.
    bool PutValues(const acoustics::PeriodLevels& levels, int channel, const Functions& kept,
                   const _RecordsetPtr& batch);
    void Watch(std::span<const acoustics::PeriodLevels> levels, const Functions& kept);
    void Require(bool done, const char* what) const;

    Mersola& store_;
    std::span<const acoustics::Band> bands_;
    int channels_;
    std::string instrumentName_;
    std::optional<std::string> state_;
    std::vector<float> percentages_;
    bool arePercentilesGiven_;
    std::vector<PercentileFunction> percentiles_;
    std::optional<Trigger> trigger_;
    MeasurementInfo measurement_;
    ReportInfo report_;
    std::int32_t instrumentId_ = kNone, key_ = kNone;  // once the first period is stored
    bool isResumed_ = false;
    CTimeEx firstStart_;    // of the measurement
    int storedBefore_ = 0;  // periods
    std::optional<StoredPeriods> before_;
    PeriodRanges kept_, completed_;
    int firstPeriod_ = 0;
    int stored_ = 0;
};

}  // namespace mersola::tool
