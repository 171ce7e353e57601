// Checking, registering and storing a recording.
#include "recording.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"
#include "database/open_database.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

constexpr int kReport = 1;
constexpr const char* kOtherName = "; choose another name for the measurement";

// The database keeps six decimals.
bool IsStoredAs(double stored, double value) {
    return std::abs(stored - value) <= 1e-6;
}

}  // namespace

Recording::Recording(Mersola& store, const RecordOptions& options,
                     std::span<const acoustics::Band> bands, int channels)
    : store_(store),
      bands_(bands),
      channels_(channels),
      instrumentName_(options.instrument),
      state_(options.state),
      percentages_(options.percentiles.value_or(
          std::vector<float>(kPercentages.begin(), kPercentages.end()))),
      arePercentilesGiven_(options.percentiles.has_value()) {
    measurement_.MeasName = options.measurement;
    measurement_.StartAt = options.start.value_or(CTimeEx::GetCurrentTime());
    measurement_.BandWidth = kThirdOctaves;
    measurement_.Fullscale = options.fullscale;
    measurement_.Sensitivity = options.sensitivity;
    measurement_.FrqLower = bands.front().nominal;
    measurement_.FrqUpper = bands.back().nominal;
    report_.ReportId = kReport;
    report_.ReportType = 1;
    report_.PeriodLen = options.period;
    CheckStart();
    CheckResumable(options.start.has_value());
    for (const float percentage : percentages_)
        measurement_.textItems.Add(NumberText(percentage).c_str());
    if (options.trigger) trigger_.emplace(store, options, bands, percentages_);
}

void Recording::CheckStart() const {
    if (std::abs((CTimeEx::GetCurrentTime() - Start()).GetDays()) >= kMostDaysFromNow)
        throw Failure("the start " + TimeText(Start()) +
                      " is ten years or more from now; give another --start");
}

void Recording::CheckResumable(bool isStartGiven) {
    firstStart_ = Start();
    const long instrument = store_.locateInstrumentId(instrumentName_);
    if (instrument < 0) return;
    const long found = store_.locateMeasurementId(instrument, measurement_.MeasName);
    if (found < 0) return;
    isResumed_ = true;

    MeasurementInfo stored;
    ReportInfo report;
    const auto id = static_cast<int>(found);
    const std::string name = "the measurement " + Quoted(measurement_.MeasName.View());
    if (store_.SetInstrument(instrument) != 1 || store_._GetMeasurement(id, stored, nullptr) != 1)
        throw Failure(name + " could not be read" + WhyUnread(store_));
    if (stored.BandWidth != kThirdOctaves)
        throw Failure(name + " is there and was not measured in third octaves" + kOtherName);
    if (store_.SetMeasurement(found) != 1 || store_._GetReport(kReport, report, nullptr) != 1 ||
        report.ReportType != report_.ReportType)
        throw Failure(name + " is there and was recorded by another program" + kOtherName);
    if (!(report.PeriodLen == report_.PeriodLen))
        throw Failure(name + " is there with periods of " + PeriodText(report.PeriodLen) +
                      "; give that --period or another name for the measurement");
    if (!IsStoredAs(stored.Fullscale, measurement_.Fullscale) ||
        !IsStoredAs(stored.Sensitivity, measurement_.Sensitivity))
        throw Failure(name + " is there with --fullscale " + NumberText(stored.Fullscale) +
                      " --sensitivity " + NumberText(stored.Sensitivity) +
                      "; give these or another name for the measurement");
    TakePercentiles(stored, name);
    if ((Start() - stored.StartAt).GetTotalMilliseconds() < 0)
        throw Failure(name + " is there and starts at " + TimeText(stored.StartAt) +
                      "; give a --start that is not earlier, or another name for the measurement");
    const auto length = report.PeriodLen.GetTotalMilliseconds();
    const CTimeSpanEx recorded(length * report.noOfPeriods);
    // Values that are stored stay: a sound may meet them only where its start was meant to.
    if (!isStartGiven &&
        (Start() - stored.StartAt).GetTotalMilliseconds() / length < report.noOfPeriods)
        throw Failure(name + " is there with periods up to " + TimeText(stored.StartAt + recorded) +
                      "; give a --start from then on, or another name for the measurement");
    firstStart_ = stored.StartAt;
    storedBefore_ = report.noOfPeriods;
}

// A measurement keeps its percentiles: values of others would be missing from its other periods.
void Recording::TakePercentiles(const MeasurementInfo& stored, const std::string& name) {
    CArray<float, float> kept;
    if (!store_._GetPercentiles(kept, stored.MeasId, nullptr) || kept.IsEmpty()) return;
    const std::vector<float> percentages(kept.begin(), kept.end());
    if (!std::ranges::all_of(percentages, [](float each) { return each >= 0 && each <= 100; }))
        throw Failure(name + " is there and was recorded by another program" + kOtherName);
    std::string list;
    for (const float each : percentages)
        list += (list.empty() ? "" : ",") + NumberText(each);
    if (arePercentilesGiven_ && percentages != percentages_)
        throw Failure(name + " is there with --percentiles " + list +
                      "; give these or another name for the measurement");
    percentages_ = percentages;
}

void Recording::RegisterInstrument(InstrumentInfo& instrument) {
    instrument.GroupName = instrumentName_;
    instrument.Type = kPlainInstrument;
    Require(state_ ? store_.PutInstrumentState(nullptr, instrument, state_->c_str())
                   : store_.PutInstrument(nullptr, instrument),
            "the instrument could not be registered");
}

void Recording::Register() {
    InstrumentInfo instrument;
    RegisterInstrument(instrument);
    Require(store_.PutMeasurement(nullptr, instrument.GroupId, measurement_),
            "the measurement could not be registered");
    store_.PutPercentiles(nullptr, measurement_);
    Require(store_.PutReport(nullptr, report_), "the report could not be registered");
    percentiles_ = RegisterPercentiles(store_, percentages_);
    std::vector<int> functions{kLeq, kLaeq, kLmax, kLmin};
    for (const auto& each : percentiles_)
        functions.push_back(each.id);
    for (int channel = 1; channel <= channels_; ++channel) {
        for (const int function : functions)
            Require(store_.PutFunction(nullptr, function, channel),
                    "a function could not be registered");
    }
    long periods = 0;
    Require(store_.Get_nPrds(periods) == 1, "the number of periods could not be read");
    firstPeriod_ = static_cast<int>(periods);
    // A recording that begins inside the stored periods must not hide those behind its end.
    if (storedBefore_ > firstPeriod_)
        Require(store_.PutPeriodsRelative(nullptr, storedBefore_ - firstPeriod_),
                "the number of periods could not be kept");
    instrumentId_ = instrument.GroupId;
    key_ = Query(store_,
                 "SELECT MeasValueId FROM MeasValueMap WHERE GroupId=%d AND MeasId=%d AND "
                 "ReportId=%d",
                 instrumentId_, measurement_.MeasId, kReport)
               ->Fields(0)
               .Long();
    if (isResumed_) before_.emplace(store_, instrument.GroupId, measurement_.MeasId, kReport);
    const CTimeSpanEx storedLength(report_.PeriodLen.GetTotalMilliseconds() * storedBefore_);
    if (trigger_)
        trigger_->Begin({instrument.GroupId, measurement_.MeasId, StartOfFirstPeriod(),
                         firstStart_ + storedLength, isResumed_},
                        percentiles_);
}

void Recording::Finish() {
    if (!trigger_) return;
    try {
        trigger_->Finish(stored_);
    } catch (const _com_error& error) {
        throw Failure(std::string("a marker could not be closed (") + Printable(error.what()) +
                      ")");
    }
}

void Recording::Store(std::span<const acoustics::PeriodLevels> levels) {
    try {
        Transaction transaction(store_);
        if (stored_ == 0)
            Register();
        else
            HoldReport(store_, instrumentId_, measurement_.MeasId, kReport, key_);
        const int period = firstPeriod_ + stored_;
        const Functions kept = before_ ? before_->FunctionsIn(period) : Functions();
        const auto batch = store_.PutDataStart(nullptr);
        Require(batch != nullptr, "no values could be written");
        bool isNew = false;
        for (int channel = 1; const auto& each : levels)
            isNew |= PutValues(each, channel++, kept, batch);
        Require(store_.PutDataEnd(batch), "its values were refused");
        Require(store_.PutPeriodsRelative(nullptr, stored_ + 1),
                "the number of periods could not be raised");
        if (trigger_) Watch(levels, kept);
        transaction.Commit();
        if (!kept.empty()) (isNew ? completed_ : kept_).Add(period);
    } catch (const _com_error& error) {
        throw Failure("period " + std::to_string(stored_) + " could not be stored (" +
                      Printable(error.what()) + ")");
    }
    ++stored_;
}

bool Recording::PutValues(const acoustics::PeriodLevels& levels, int channel, const Functions& kept,
                          const _RecordsetPtr& batch) {
    const CString status = levels.valid ? "" : "A";
    bool isAny = false;
    const auto put = [&](int function, int band, double value) {
        if (kept.contains({channel, function})) return;
        isAny = true;
        long next = 0;
        Require(store_.PutDataRelative(value, status, stored_, function, channel, band, false, next,
                                       true, batch),
                "a value was refused");
    };
    for (std::size_t i = 0; i < bands_.size(); ++i) {
        put(kLeq, bands_[i].number, levels.leq[i]);
        put(kLmax, bands_[i].number, levels.lmax[i]);
        put(kLmin, bands_[i].number, levels.lmin[i]);
    }
    put(kLaeq, kBroadband, levels.laeq);
    for (std::size_t i = 0; i < percentiles_.size(); ++i)
        put(percentiles_[i].id, kBroadband, levels.exceeded[i]);
    return isAny;
}

// Markers tell of levels that are stored, not of another sound's.
void Recording::Watch(std::span<const acoustics::PeriodLevels> levels, const Functions& kept) {
    if (kept.empty()) return trigger_->Add(stored_, levels);
    std::vector<acoustics::PeriodLevels> stored;
    for (int channel = 1; const auto& each : levels) {
        const auto there = kept.contains({channel, trigger_->Function()})
                               ? before_->Value(firstPeriod_ + stored_, channel,
                                                trigger_->Function(), trigger_->Band())
                               : trigger_->LevelOf(each);
        if (there && IsStoredAs(*there, trigger_->LevelOf(each))) stored.push_back(each);
        ++channel;
    }
    trigger_->Add(stored_, stored);
}

int Recording::PeriodsMissed() const {
    return std::max(firstPeriod_ - storedBefore_, 0);
}

CTimeEx Recording::StartOfFirstPeriod() const {
    return firstStart_ + CTimeSpanEx(report_.PeriodLen.GetTotalMilliseconds() * firstPeriod_);
}

void Recording::Require(bool done, const char* what) const {
    if (done) return;
    throw Failure("period " + std::to_string(stored_) + " could not be stored: " + what +
                  LastError(store_));
}

}  // namespace mersola::tool
