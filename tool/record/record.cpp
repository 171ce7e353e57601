// mersola record: from a sound file into the database.
#include <algorithm>
#include <cmath>
#include <memory>
#include <ostream>
#include <sstream>
#include <utility>

#include "acoustics/analyser.h"
#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"
#include "database/open_database.h"
#include "record.h"
#include "recording.h"
#include "sound_file.h"

namespace mersola::tool {
namespace {

void RequireState(const std::string& state) {
    RequireText("state", state);
    if (!ListText().Parse(state.c_str()))
        throw Failure("the state cannot be " + Quoted(state) +
                      "; it is a list with commas, in which quotes and braces come in pairs");
}

std::string SecondsText(double seconds) {
    return NumberText(std::round(seconds * 1000) / 1000) + " s";
}

// The bands that can be measured in the file.
std::span<const acoustics::Band> CheckedBands(const SoundFile& sound, const CTimeSpanEx& period) {
    const std::string file = Quoted(sound.Path());
    const double rate = sound.Rate();
    const auto bands = rate >= 1 && rate <= 1e6 ? acoustics::CarriedBands(rate)
                                                : std::span<const acoustics::Band>();
    if (bands.empty())
        throw Failure(file + " has " + NumberText(rate) +
                      " samples a second, which carry no band from " +
                      std::string(acoustics::AllBands().front().name) +
                      " up; take a file with a higher rate");
    if (rate * static_cast<double>(period.GetTotalMilliseconds()) < 1000)
        throw Failure("a period of " + PeriodText(period) + " holds no sample of " + file +
                      "; give a longer --period");
    const double samples = rate * static_cast<double>(period.GetTotalMilliseconds()) / 1000;
    if (std::llround(samples) > sound.Frames())
        throw Failure(file + " holds " + SecondsText(static_cast<double>(sound.Frames()) / rate) +
                      " of sound, less than one period of " + PeriodText(period) +
                      "; give a shorter --period");
    return bands;
}

// The channels of a file, analysed in step.
class Analysis {
  public:
    using Periods = std::vector<std::vector<acoustics::PeriodLevels>>;  // by period and channel

    Analysis(const SoundFile& sound, const RecordOptions& options, std::span<const float> wanted)
        : pressure_(options.fullscale) {
        const auto periodMs = static_cast<double>(options.period.GetTotalMilliseconds());
        const std::vector<double> percentages(wanted.begin(), wanted.end());
        for (int channel = 0; channel < sound.Channels(); ++channel)
            analysers_.push_back(
                std::make_unique<acoustics::Analyser>(sound.Rate(), periodMs, percentages));
    }

    Periods Add(const std::vector<std::vector<double>>& samples) {
        return ByPeriod([&](std::size_t channel) {
            scaled_ = samples[channel];
            for (double& sample : scaled_)
                sample *= pressure_;
            return analysers_[channel]->Add(scaled_);
        });
    }

    Periods Finish() {
        return ByPeriod([&](std::size_t channel) { return analysers_[channel]->Finish(); });
    }

  private:
    template <class LevelsOf>
    Periods ByPeriod(LevelsOf levelsOf) {
        Periods periods;
        for (std::size_t channel = 0; channel < analysers_.size(); ++channel) {
            auto levels = levelsOf(channel);
            periods.resize(levels.size());
            for (std::size_t i = 0; i < levels.size(); ++i)
                periods[i].push_back(std::move(levels[i]));
        }
        return periods;
    }

    double pressure_;
    std::vector<std::unique_ptr<acoustics::Analyser>> analysers_;
    std::vector<double> scaled_;
};

// Behind what went wrong: what of the recording there is.
std::string WhatIsStored(const Recording& recording, const RecordOptions& options) {
    const int periods = recording.PeriodsStored();
    if (periods == 0) return "; nothing was stored, repeat the command once that is put right";
    return "; " + Counted(periods, "period") + " safely stored as " + Quoted(options.measurement) +
           ", the same command with --start " + Quoted(TimeText(recording.Start())) + " goes on";
}

void StoreAll(const Analysis::Periods& periods, Recording& recording,
              const RecordOptions& options) {
    for (const auto& levels : periods) {
        try {
            recording.Store(levels);
        } catch (const Deleted&) {
            throw;
        } catch (const Failure& failure) {
            throw Failure(failure.what() + WhatIsStored(recording, options));
        }
    }
}

void RecordAll(SoundFile& sound, Recording& recording, const RecordOptions& options,
               std::ostream* terminal) {
    Progress progress(terminal);
    const Interruption interruption;
    Analysis analysis(sound, options, recording.Percentages());
    while (true) {
        const auto& block = sound.ReadBlock();
        if (block.front().empty()) break;
        StoreAll(analysis.Add(block), recording, options);
        progress.Show(static_cast<double>(sound.FramesRead()) /
                      static_cast<double>(sound.Frames()));
        if (const int signal = interruption.Signal(); signal != 0) {
            if (recording.PeriodsStored() > 0) recording.Finish();
            throw Failure("stopped by a signal" + WhatIsStored(recording, options), 128 + signal);
        }
    }
    StoreAll(analysis.Finish(), recording, options);
    if (recording.PeriodsStored() > 0) recording.Finish();
    if (const std::string fault = sound.Fault(); !fault.empty() || recording.PeriodsStored() == 0)
        throw Failure(Quoted(sound.Path()) + " cannot be read beyond " +
                      SecondsText(static_cast<double>(sound.FramesRead()) / sound.Rate()) + " (" +
                      (fault.empty() ? "no more sound" : fault) + ")" +
                      WhatIsStored(recording, options));
}

void TellBands(const SoundFile& sound, std::span<const acoustics::Band> bands, std::ostream& out) {
    if (bands.size() == acoustics::AllBands().size()) return;
    out << NumberText(sound.Rate()) << " samples a second carry the bands up to "
        << bands.back().name << "; those above are left out.\n";
}

void TellResult(const SoundFile& sound, const Recording& recording, const RecordOptions& options,
                std::ostream& out) {
    const int periods = recording.PeriodsStored();
    out << "Recorded " << Counted(periods - recording.Kept().Count(), "period") << " of "
        << PeriodText(options.period) << ", " << Counted(sound.Channels(), "channel")
        << ", as the measurement " << Quoted(options.measurement) << " of "
        << Quoted(options.instrument) << ".\n";
    if (recording.IsResumed())
        out << "The measurement was there: this recording goes on from period "
            << recording.FirstPeriod() << ", at " << TimeText(recording.StartOfFirstPeriod())
            << "; " << Counted(recording.PeriodsMissed(), "period")
            << " in between went unrecorded.\n";
    if (const PeriodRanges& kept = recording.Kept(); kept.Count() > 0)
        out << "Stored before and left as they were: " << kept.Text() << ".\n";
    if (const PeriodRanges& completed = recording.Completed(); completed.Count() > 0)
        out << "Of " << completed.Text()
            << " some functions were stored before and left as they were; the others were added.\n";
    if (options.trigger) out << Counted(recording.Markers(), "marker") << " for the trigger.\n";
    const double rest = static_cast<double>(sound.FramesRead()) / sound.Rate() -
                        periods * static_cast<double>(options.period.GetTotalMilliseconds()) / 1000;
    if (rest * 1000 >= 1)
        out << "The last " << SecondsText(rest)
            << " of the file fill no period and are left out.\n";
}

}  // namespace

void Record(const RecordOptions& options, std::ostream& out, std::ostream* terminal) {
    RequireName("instrument", options.instrument);
    RequireName("measurement", options.measurement);
    RequireState(options.state.value_or(""));
    SoundFile sound(options.file);
    const auto bands = CheckedBands(sound, options.period);
    const auto store = OpenDatabase(options.database, Access::Write);
    Recording recording(*store, options, bands, sound.Channels());
    RecordAll(sound, recording, options, terminal);
    std::ostringstream result;
    TellBands(sound, bands, result);
    TellResult(sound, recording, options, result);
    TellDone(out, result.str());
}

}  // namespace mersola::tool
