// mersola plot: a picture of levels, spectra and events over time.
#include <algorithm>
#include <ostream>

#include "bands/bands.h"
#include "basics/failure.h"
#include "basics/names.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "basics/whole_file.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"
#include "catalogue/selection.h"
#include "chart.h"
#include "database/open_database.h"
#include "plot.h"

namespace mersola::tool {
namespace {

// When the periods were.
struct Clock {
    CTimeEx origin;       // of period 0
    std::int64_t length;  // of a period, in milliseconds

    CTimeEx At(std::int64_t period) const { return origin + CTimeSpanEx(length * period); }
};

// What the picture is made of.
struct Content {
    std::vector<MeasuredFunction> lines;
    std::optional<MeasuredFunction> spectra;
    std::vector<std::int32_t> bands;  // of the spectra
};

// By their names; other functions may have any unit.
bool IsLevel(const MeasuredFunction& function) {
    return function.name.starts_with('L');
}

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
                   const PlotOptions& options) {
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
    Chooser(Mersola& store, const Selection& chosen, const Range& periods)
        : store_(store), chosen_(chosen), periods_(periods) {}

    Content Choose(const std::vector<std::string>& asked) {
        for (const std::string& name : asked)
            Take(ChooseFunction(chosen_, name));
        if (content_.lines.empty()) TakeFirst("LAeq", true);
        if (asked.empty() && !content_.spectra) TakeFirst("Leq", false);
        return content_;
    }

  private:
    // In the bands that have values in these periods, or else anywhere; the whole signal's first.
    std::vector<std::int32_t> BandsOf(const MeasuredFunction& function) {
        std::vector<std::int32_t> bands;
        if (!chosen_.isContinuous) bands = StoredBands(store_, {function}, periods_);
        if (bands.empty()) bands = StoredBands(store_, {function}, {});
        std::stable_partition(bands.begin(), bands.end(),
                              [](auto band) { return band == kBroadband; });
        return bands;
    }

    void Take(const MeasuredFunction& function) {
        auto bands = BandsOf(function);
        const bool isLine = bands.empty() || bands.front() == kBroadband;
        if (isLine && !bands.empty()) bands.erase(bands.begin());
        if (isLine) {
            content_.lines.push_back(function);
        } else if (content_.spectra) {
            throw Failure(Quoted(content_.spectra->name) + " and " + Quoted(function.name) +
                          " both have spectra, and there is room for one; make two pictures");
        }
        if (!bands.empty() && !content_.spectra) TakeSpectra(function, std::move(bands));
    }

    void TakeSpectra(const MeasuredFunction& function, std::vector<std::int32_t> bands) {
        content_.spectra = function;
        content_.bands = std::move(bands);
    }

    // The preferred function, or else the first, that has a line or spectra.
    void TakeFirst(const char* preferred, bool isLine) {
        auto functions = chosen_.functions;
        std::stable_partition(functions.begin(), functions.end(),
                              [&](const auto& each) { return IsSameName(each.name, preferred); });
        for (const MeasuredFunction& function : functions) {
            auto bands = BandsOf(function);
            if (bands.empty() || (bands.front() == kBroadband) != isLine) continue;
            if (isLine)
                content_.lines.push_back(function);
            else
                TakeSpectra(function, std::move(bands));
            return;
        }
    }

    Mersola& store_;
    const Selection& chosen_;
    Range periods_;
    Content content_;
};

// Reads a block, which begins `done` periods into the picture; `each`: periods in a column.
void ReadInto(Mersola& store, const Range& block, const MeasuredFunction& function,
              const std::vector<std::int32_t>& bands, std::int64_t done, std::int64_t each,
              std::vector<Thinned>& cells) {
    store.SetFunction(function.id);
    const auto values = ReadBands(store, block, bands);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto period = done + static_cast<std::int64_t>(i / bands.size());
        const auto column = static_cast<std::size_t>(period / each);
        cells[column * bands.size() + i % bands.size()].Add(values[i]);
    }
}

// Fills the chart; a panel without values goes.
void ReadValues(Mersola& store, const Content& content, const Range& periods, std::int64_t each,
                Chart& chart, std::ostream* terminal) {
    const auto columns = static_cast<std::size_t>((periods.count + each - 1) / each);
    for (const auto& function : content.lines)
        chart.lines.push_back(
            {function.name, IsLevel(function), std::vector(columns, Thinned(IsLevel(function)))});
    if (content.spectra)
        chart.spectra.cells.assign(columns * content.bands.size(), Thinned(chart.spectra.isLevel));
    constexpr std::int64_t kBlock = 8192;  // periods
    Progress progress(terminal);
    for (std::int64_t done = 0; done < periods.count; done += kBlock) {
        const Range block{static_cast<std::int32_t>(periods.first + done),
                          static_cast<std::int32_t>(std::min(kBlock, periods.count - done))};
        for (std::size_t i = 0; i < content.lines.size(); ++i)
            ReadInto(store, block, content.lines[i], {kBroadband}, done, each,
                     chart.lines[i].columns);
        if (content.spectra)
            ReadInto(store, block, *content.spectra, content.bands, done, each,
                     chart.spectra.cells);
        progress.Show(static_cast<double>(done) / periods.count);
    }
    const auto isEmpty = [](const std::vector<Thinned>& cells) {
        return std::ranges::all_of(cells, &Thinned::IsEmpty);
    };
    if (std::ranges::all_of(chart.lines, isEmpty, &ChartLine::columns)) chart.lines.clear();
    if (isEmpty(chart.spectra.cells)) chart.spectra = {};
}

// The recording without its folders, whichever system wrote the path, and without its ending.
std::string RecordingName(const MarkerInfo& marker) {
    const std::string path(marker.Path);
    const std::string name = path.substr(path.find_last_of("/\\") + 1);
    const auto dot = name.rfind('.');
    return name.empty() ? "#" + std::to_string(marker.MarkerId)
                        : name.substr(0, dot == 0 ? name.npos : dot);
}

std::vector<ChartEvent> ReadEvents(Mersola& store, const CTimeEx& start, const CTimeEx& end) {
    CArray<MarkerInfo, MarkerInfo&> markers;
    if (store.GetMarkers(markers) != 1)
        throw Failure("the markers could not be read" + WhyUnread(store));
    markers.Append(ReadOpenMarkers(store));
    const auto seconds = [&](const CTimeEx& time) {
        return static_cast<double>((time - start).GetTotalMilliseconds()) / 1000;
    };
    const double length = seconds(end);
    std::vector<ChartEvent> events;
    for (const MarkerInfo& marker : markers) {
        CTimeEx from, to;
        if (!CTimeEx::FromText(marker.Start, from)) continue;
        const bool isOpen = marker.inProgess != 0;
        if (isOpen || !CTimeEx::FromText(marker.Stop, to)) to = isOpen ? end : from;
        const ChartEvent event{std::max(seconds(from), 0.0), std::min(seconds(to), length),
                               RecordingName(marker) + (isOpen ? " (open)" : "")};
        const bool isBefore = seconds(to) < 0 || (seconds(to) == 0 && seconds(from) < 0);
        if (!isBefore && event.start < length) events.push_back(event);
    }
    std::ranges::stable_sort(events, {}, &ChartEvent::start);
    return events;
}

std::string TitleOf(Mersola& store, const Selection& chosen) {
    InstrumentInfo instrument;
    MeasurementInfo measurement;
    store._GetInstrument(chosen.instrument, instrument, nullptr);
    if (!chosen.isContinuous) store._GetMeasurement(chosen.measurement, measurement, nullptr);
    return std::string(instrument.GroupName) + " \u2013 " +
           (chosen.isContinuous ? "all measurements" : std::string(measurement.MeasName));
}

std::string SubtitleOf(const Selection& chosen, const Chart& chart, const Clock& clock) {
    std::string functions;
    for (const ChartLine& line : chart.lines)
        functions += (functions.empty() ? "" : ", ") + line.name;
    if (!chart.spectra.bands.empty())
        functions += (functions.empty() ? "spectra of " : ", spectra of ") + chart.spectra.name;
    return "Channel " + std::to_string(chosen.channel) + " \u00b7 " + functions +
           " \u00b7 periods of " + PeriodText(CTimeSpanEx(clock.length));
}

ChartSpectra DescribeSpectra(Mersola& store, const Content& content) {
    int bandwidth = 0;
    store.GetBandwidth(bandwidth);
    const bool isThirds = bandwidth == kThirdOctaves;
    ChartSpectra spectra{content.spectra->name,
                         IsLevel(*content.spectra),
                         isThirds ? "Third-octave band" : "Frequency band",
                         {},
                         {}};
    const auto names = ReadBandNames(store);
    for (const auto band : content.bands) {
        const std::string name = BandName(names, band);
        const auto* third = isThirds ? acoustics::FindBand(name) : nullptr;
        spectra.bands.push_back({name, third && third->number % 3 == 0});
    }
    return spectra;
}

}  // namespace

void Plot(const PlotOptions& options, std::ostream& out, std::ostream* terminal) {
    const auto form = PictureFormOf(options.file);
    if (!form) throw Failure(Quoted(options.file) + " does not end in .svg, .png or .html");
    const auto store = OpenDatabase(options.database, Access::Read);
    const Selection chosen = Select(*store, options);
    const auto count = CountPeriods(*store);
    const Clock clock = ReadClock(*store, count);
    const Range periods = AskedPeriods(*store, chosen, clock, count, options);
    const Content content = Chooser(*store, chosen, periods).Choose(options.functions);

    const std::int64_t most = ChartColumns(options.width);
    const std::int64_t each = (periods.count + most - 1) / most;
    Chart chart{};
    chart.start = clock.At(periods.first);
    chart.end = clock.At(std::int64_t{periods.first} + periods.count);
    chart.columnSeconds = static_cast<double>(each * clock.length) / 1000;
    if (content.spectra) chart.spectra = DescribeSpectra(*store, content);
    ReadValues(*store, content, periods, each, chart, terminal);
    const std::string when = " from " + TimeText(chart.start) + " to " + TimeText(chart.end);
    if (chart.lines.empty() && chart.spectra.bands.empty())
        throw Failure("there are no values" + when + "; see what there is with: mersola values");
    chart.events = ReadEvents(*store, chart.start, chart.end);
    chart.title = TitleOf(*store, chosen);
    chart.subtitle = SubtitleOf(chosen, chart, clock);
    if (each > 1)
        chart.note = "A column holds " + Counted(each, "period") +
                     ". Lines and colours show its mean (of levels, that of the energy), shades "
                     "its lowest to its highest value.";
    const std::string picture = DrawChart(chart, *form, options.width, options.height);
    WholeFile file(options.file);
    file.Write(picture);
    file.Finish();
    out << "The picture " << Quoted(options.file) << " shows " << Counted(periods.count, "period")
        << when << ".\n";
}

}  // namespace mersola::tool
