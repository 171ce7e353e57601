// Choosing functions, and reading what summarises their values.
#include "series.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <set>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"

namespace mersola::tool {
namespace {

Clock ReadClock(Mersola& store, std::int64_t count) {
    Clock clock{};
    CTimeSpanEx length;
    store.GetTrigTime(clock.origin);
    store.GetRealPrdLength(length);
    clock.length = length.GetTotalMilliseconds();
    if (clock.length <= 0 || !clock.At(0).IsValid() || !clock.At(count).IsValid())
        throw Failure("the report has no valid times; check it with: mersola list");
    return clock;
}

// The periods that are asked for, as far as there are such.
Range AskedPeriods(Mersola& store, const Selection& chosen, const Clock& clock, std::int32_t count,
                   const SeriesOptions& options) {
    const auto offset = [&](const CTimeEx& time) {
        return (time - clock.origin).GetTotalMilliseconds();
    };
    std::int64_t first = FirstPeriod(store, chosen, count), end = count;
    if (options.from) first = std::max<std::int64_t>(offset(*options.from), 0) / clock.length;
    if (options.to) {
        const auto past = std::max<std::int64_t>(offset(*options.to), 0);
        end = std::min(end, (past + clock.length - 1) / clock.length);
    }
    if (first >= end)
        throw Failure("there are no periods then; the report has them from " +
                      TimeText(clock.At(0)) + " to " + TimeText(clock.At(count)));
    return {static_cast<std::int32_t>(first), static_cast<std::int32_t>(end - first)};
}

// Finds out which functions are lines and which one has the spectra.
class Chooser {
  public:
    Chooser(Mersola& store, Series& series, bool hasSpectra)
        : store_(store), series_(series), hasSpectra_(hasSpectra) {}

    void Choose(const std::vector<std::string>& asked) {
        for (const std::string& name : asked)
            Take(ChooseFunction(series_.chosen, name));
        if (series_.lines.empty() && (asked.empty() || hasSpectra_)) TakeFirst("LAeq", true);
        if (asked.empty() && hasSpectra_ && !series_.spectra) TakeFirst("Leq", false);
    }

  private:
    static constexpr std::int64_t kSamples = 64, kSample = 512;
    bool IsSampled() const { return series_.periods.count > kSamples * kSample; }

    // In the bands that have values in these periods, or else anywhere; the whole signal's first.
    // Of a long time it looks at samples: to ask each value for its band takes longer than the
    // picture.
    std::vector<std::int32_t> BandsOf(const MeasuredFunction& function) {
        const Range& all = series_.periods;
        std::set<std::int32_t> found;
        const auto look = [&](const std::optional<Range>& periods) {
            const auto bands = StoredBands(store_, {function}, periods);
            found.insert(bands.begin(), bands.end());
        };
        for (std::int64_t i = 0; IsSampled() && i < kSamples; ++i)
            look(Range{
                static_cast<std::int32_t>(all.first + (all.count - kSample) * i / (kSamples - 1)),
                kSample});
        if (found.empty()) look(all);
        if (found.empty()) look({});
        std::vector<std::int32_t> bands(found.begin(), found.end());
        std::stable_partition(bands.begin(), bands.end(),
                              [](auto band) { return band == kBroadband; });
        return bands;
    }

    void Take(const MeasuredFunction& function) {
        auto bands = BandsOf(function);
        const bool isLine = bands.empty() || bands.front() == kBroadband;
        if (isLine && !bands.empty()) bands.erase(bands.begin());
        if (isLine) {
            series_.lines.push_back(function);
        } else if (!hasSpectra_) {
            throw Failure(Quoted(function.name) +
                          " has frequency bands only, and this picture has no room for spectra");
        } else if (series_.spectra) {
            throw Failure(Quoted(series_.spectra->name) + " and " + Quoted(function.name) +
                          " both have spectra, and there is room for one; make two pictures");
        }
        if (!bands.empty() && hasSpectra_ && !series_.spectra) TakeSpectra(function, bands);
    }

    void TakeSpectra(const MeasuredFunction& function, const std::vector<std::int32_t>& bands) {
        series_.spectra = function;
        // Samples may have missed some; which have values shows when they are read.
        std::set<std::int32_t> all(bands.begin(), bands.end());
        for (const auto& [band, name] : ReadBandNames(store_)) {
            if (IsSampled() && band != kBroadband) all.insert(band);
        }
        series_.bands.assign(all.begin(), all.end());
    }

    // The preferred function, or else the first, that has a line or spectra.
    void TakeFirst(const char* preferred, bool isLine) {
        auto functions = series_.chosen.functions;
        std::stable_partition(functions.begin(), functions.end(),
                              [&](const auto& each) { return IsSameName(each.name, preferred); });
        for (const MeasuredFunction& function : functions) {
            auto bands = BandsOf(function);
            if (bands.empty() || (bands.front() == kBroadband) != isLine) continue;
            if (isLine)
                series_.lines.push_back(function);
            else
                TakeSpectra(function, bands);
            return;
        }
    }

    Mersola& store_;
    Series& series_;
    bool hasSpectra_;
};

// Those that follow one another, so that one read brings them all.
std::size_t RunLength(const std::vector<std::int32_t>& bands, std::size_t first) {
    std::size_t end = first + 1;
    while (end < bands.size() && bands[end] - 1 == bands[end - 1])
        ++end;
    return end - first;
}

}  // namespace

bool IsLevel(const MeasuredFunction& function) {
    const std::string& name = function.name;
    if (const auto kind = ValueKindOf(name.c_str()))
        return *kind != ValueKind::Arithmetic && *kind != ValueKind::RootMeanSquare;
    // As LAE, Lp and Lden, unlike Luminance.
    const auto index = name.find_first_not_of("abcdefghijklmnopqrstuvwxyz", 1);
    return name.starts_with('L') && (std::min(index, name.size()) <= 4 ||
                                     name.starts_with("Leve") || name.starts_with("Lnight"));
}

Series ChooseSeries(Mersola& store, const SelectionOptions& asked, const SeriesOptions& options) {
    Series series{};
    series.asked = asked;
    series.chosen = Select(store, asked);
    InstrumentInfo instrument;
    MeasurementInfo measurement;
    store._GetInstrument(series.chosen.instrument, instrument, nullptr);
    series.instrument = std::string(instrument.GroupName);
    if (!series.chosen.isContinuous) {
        store._GetMeasurement(series.chosen.measurement, measurement, nullptr);
        series.measurement = std::string(measurement.MeasName);
    }
    const auto count = CountPeriods(store);
    series.clock = ReadClock(store, count);
    series.periods = AskedPeriods(store, series.chosen, series.clock, count, options);
    Chooser(store, series, options.hasSpectra).Choose(options.functions);
    return series;
}

void SelectAgain(Mersola& store, const Series& series) {
    Select(store, series.asked);
}

std::vector<StepSummary> ReadSteps(Mersola& store, const MeasuredFunction& function,
                                   const std::vector<std::int32_t>& bands,
                                   const std::vector<std::int32_t>& edges, std::ostream* terminal) {
    constexpr std::int64_t kAtOnce = 1 << 20;  // values, so that the progress is seen
    store.SetFunction(function.id);
    std::vector<StepSummary> steps((edges.size() - 1) * bands.size());
    Progress progress(terminal);
    for (std::size_t first = 0, end = 0; first + 1 < edges.size(); first = end) {
        CArray<int, int> part;
        part.Add(edges[first]);
        do
            part.Add(edges[++end]);
        while (end + 1 < edges.size() &&
               std::int64_t{edges[end] - edges[first]} * std::ssize(bands) < kAtOnce);
        for (std::size_t band = 0, run = 0; band < bands.size(); band += run) {
            run = RunLength(bands, band);
            CArray<StepSummary, StepSummary&> read;
            if (store.GetOverview(read, part, bands[band], static_cast<int>(run)) != 1)
                RefuseRead(store);
            for (std::size_t i = 0; i < (end - first) * run; ++i)
                steps[(first + i / run) * bands.size() + band + i % run] =
                    read[static_cast<int>(i)];
        }
        progress.Show(static_cast<double>(end) / static_cast<double>(edges.size()));
    }
    constexpr double kMost = std::numeric_limits<float>::max();
    if (std::ranges::any_of(steps, [](const StepSummary& step) {
            return step.least < -kMost || step.greatest > kMost;
        }))
        throw Failure("values of " + Quoted(function.name) +
                      " are too large for a picture, which goes to 3e+38");
    return steps;
}

}  // namespace mersola::tool
