// mersola plot: a picture of levels, spectra and events over time.
#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>

#include "bands/bands.h"
#include "basics/failure.h"
#include "basics/times_text.h"
#include "basics/whole_file.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"
#include "columns.h"
#include "database/open_database.h"
#include "plot.h"
#include "series.h"

namespace mersola::tool {
namespace {

// Of the second picture of a page, for a telephone.
constexpr int kNarrowWidth = 360, kNarrowHeight = 600;

double Seconds(const CTimeSpanEx& span) {
    return static_cast<double>(span.GetTotalMilliseconds()) / 1000;
}

// Adds a text to a list of them, once.
void AddOnce(std::vector<std::string>& texts, const std::string& text) {
    if (std::ranges::find(texts, text) == texts.end()) texts.push_back(text);
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts)
        all += (all.empty() ? "" : ", ") + text;
    return all;
}

std::vector<Series> ChooseAll(Mersola& store, const PlotOptions& options) {
    const std::vector<std::string> none{""}, first{"1"};
    const auto& measurements = options.isContinuous ? none : options.measurements;
    const auto& channels = options.channels.empty() ? first : options.channels;
    const bool isOne = measurements.size() * channels.size() == 1;
    std::vector<Series> all;
    for (const std::string& measurement : measurements) {
        for (const std::string& channel : channels)
            all.push_back(ChooseSeries(
                store,
                {options.instrument, measurement, options.isContinuous, options.report, channel},
                {options.functions, options.from, options.to, isOne && !options.by}));
    }
    return all;
}

// Names the lines by what tells them apart.
std::string LineName(const std::vector<Series>& all, const Series& series,
                     const MeasuredFunction& function) {
    std::vector<std::string> words{function.name};
    const auto isShared = [&](auto part) {
        return std::ranges::all_of(all,
                                   [&](const Series& each) { return part(each) == part(series); });
    };
    if (!isShared([](const Series& each) { return each.chosen.channel; }))
        words.push_back("channel " + std::to_string(series.chosen.channel));
    if (!isShared([](const Series& each) { return each.chosen.measurement; }))
        words.push_back(series.measurement);
    return Joined(words);
}

ChartLine ReadLine(Mersola& store, const Chart& chart, const Series& series,
                   const MeasuredFunction& function, const ColumnLength& column,
                   std::ostream* terminal) {
    const auto edges = ColumnEdges(series.clock, series.periods, column);
    const auto steps = ReadSteps(store, function, {kBroadband}, edges, terminal);
    ChartLine line{function.name, IsLevel(function), {}};
    const double length = Seconds(chart.end - chart.start);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const auto at = [&](std::size_t edge) {
            return std::clamp(Seconds(series.clock.At(edges[edge]) - chart.start), 0.0, length);
        };
        line.columns.push_back({at(i), at(i + 1), steps[i].least, steps[i].greatest,
                                line.isLevel ? steps[i].energyMean : steps[i].mean,
                                steps[i].count < edges[i + 1] - edges[i]});
    }
    return line;
}

void AddCell(ChartRaster& raster, const StepSummary& step) {
    raster.cells.push_back(static_cast<float>(raster.isLevel ? step.energyMean : step.mean));
}

ChartRaster ReadSpectra(Mersola& store, const Chart& chart, const Series& series,
                        const ColumnLength& column, std::ostream* terminal) {
    int bandwidth = 0;
    store.GetBandwidth(bandwidth);
    const bool isThirds = bandwidth == kThirdOctaves;
    ChartRaster raster{};
    raster.name = series.spectra->name;
    raster.isLevel = IsLevel(*series.spectra);
    raster.kind = isThirds ? "Third-octave band" : "Frequency band";
    const auto edges = ColumnEdges(series.clock, series.periods, column);
    for (const auto edge : edges)
        raster.edges.push_back(Seconds(series.clock.At(edge) - chart.start));
    const auto& bands = series.bands;
    const auto steps = ReadSteps(store, *series.spectra, bands, edges, terminal);
    const auto hasValues = [&](std::size_t band) {
        for (std::size_t i = band; i < steps.size(); i += bands.size()) {
            if (steps[i].count > 0) return true;
        }
        return false;
    };
    const auto names = ReadBandNames(store);
    std::vector<std::size_t> shown;
    for (std::size_t band = 0; band < bands.size(); ++band) {
        if (!hasValues(band)) continue;
        const std::string name = BandName(names, bands[band]);
        const auto* third = isThirds ? acoustics::FindBand(name) : nullptr;
        raster.ticks.push_back(
            {static_cast<double>(shown.size()), name, third && third->number % 3 == 0});
        shown.push_back(band);
    }
    raster.rows = shown.size();
    for (std::size_t first = 0; first < steps.size(); first += bands.size()) {
        for (const auto band : shown)
            AddCell(raster, steps[first + band]);
    }
    return raster;
}

// Whether each day has a pixel.
bool IsRoomByDay(const Chart& chart, int width) {
    return Seconds(chart.end - chart.start) <= 86400.0 * ChartColumns(width, true);
}

// Each day from midnight to midnight, in slots of ten minutes or, for longer periods, more.
ChartRaster ReadDays(Mersola& store, Chart& chart, const Series& series, int width,
                     std::ostream* terminal) {
    if (series.lines.size() != 1)
        throw Failure(
            "a picture by day shows one function of one channel; name it with --function");
    constexpr std::int64_t kMinute = 60'000, kDay = 24 * 60 * kMinute;
    constexpr std::array kSlots{10, 15, 20, 30, 60, 120, 180, 240, 360, 480, 720, 1440};
    const auto slot = kMinute * *std::ranges::find_if(kSlots, [&](int minutes) {
                          return minutes * kMinute >= series.clock.length;
                      });
    const MeasuredFunction& function = series.lines.front();
    chart.start = MidnightBefore(series.Start());
    const auto days = ((series.End() - chart.start).GetTotalMilliseconds() + kDay - 1) / kDay;
    chart.end = chart.start + CTimeSpanEx(days * kDay);
    if (!IsRoomByDay(chart, width))
        throw Failure("the picture has no room for " + Counted(days, "day") +
                      "; choose some of them with --from and --to, or a greater --width");
    ChartRaster raster{};
    raster.name = function.name;
    raster.isLevel = IsLevel(function);
    raster.kind = "Hour of the day";
    raster.rows = static_cast<std::size_t>(kDay / slot);
    for (int hour = 0; hour <= 24; hour += 3)
        raster.ticks.push_back(
            {static_cast<double>(hour * 60 * kMinute) / static_cast<double>(slot) - 0.5,
             std::to_string(hour), hour % 6 == 0});
    std::vector<std::int32_t> edges;
    for (std::int64_t at = 0; at <= days * kDay; at += slot) {
        if (at % kDay == 0) raster.edges.push_back(static_cast<double>(at) / 1000);
        edges.push_back(series.clock.PeriodFrom(chart.start + CTimeSpanEx(at), series.periods.first,
                                                series.periods.first + series.periods.count));
    }
    for (const auto& step : ReadSteps(store, function, {kBroadband}, edges, terminal))
        AddCell(raster, step);
    chart.note = "A column holds a day, and a cell " + PeriodText(CTimeSpanEx(slot)) +
                 ". Colours show the mean" + (raster.isLevel ? " of the energy." : ".");
    return raster;
}

// Fills the chart with lines and spectra over time.
void ReadLines(Mersola& store, const std::vector<Series>& all, Chart& chart, int width,
               std::ostream* terminal) {
    const bool hasRaster = all.front().spectra.has_value();
    const std::int64_t most = ChartColumns(width, hasRaster);
    const auto pixel = ((chart.end - chart.start).GetTotalMilliseconds() + most - 1) / most;
    std::vector<std::string> columns;
    for (const Series& series : all) {
        SelectAgain(store, series);
        const ColumnLength column(pixel, series.clock.length);
        if (column.milliseconds > series.clock.length)
            AddOnce(columns, column.Text(series.clock.length));
        for (const MeasuredFunction& function : series.lines) {
            chart.lines.push_back(ReadLine(store, chart, series, function, column, terminal));
            chart.lines.back().name = LineName(all, series, function);
        }
        if (series.spectra) chart.raster = ReadSpectra(store, chart, series, column, terminal);
    }
    std::erase_if(chart.lines, [](const ChartLine& line) {
        return std::ranges::all_of(line.columns, &ChartColumn::IsEmpty);
    });
    if (!columns.empty())
        chart.note = "A column holds " + (columns.size() == 1 ? columns[0] : "several periods") +
                     ". Lines and colours show its mean (of levels, that of the energy), shades "
                     "its lowest to its highest value.";
}

// The recording without its folders, whichever system wrote the path, and without its ending.
std::string RecordingName(const MarkerInfo& marker) {
    const std::string path(marker.Path);
    const std::string name = path.substr(path.find_last_of("/\\") + 1);
    const auto dot = name.rfind('.');
    return name.empty() ? "#" + std::to_string(marker.MarkerId)
                        : name.substr(0, dot == 0 ? name.npos : dot);
}

// Adds the events of the measurement, or of the chain, that is selected.
void AddEvents(Mersola& store, Chart& chart) {
    CArray<MarkerInfo, MarkerInfo&> markers;
    if (store.GetMarkers(markers) != 1)
        throw Failure("the markers could not be read" + WhyUnread(store));
    markers.Append(ReadOpenMarkers(store));
    const auto seconds = [&](const CTimeEx& time) { return Seconds(time - chart.start); };
    const double length = seconds(chart.end);
    for (const MarkerInfo& marker : markers) {
        CTimeEx from, to;
        if (!CTimeEx::FromText(marker.Start, from)) continue;
        const bool isOpen = marker.inProgess != 0;
        if (isOpen || !CTimeEx::FromText(marker.Stop, to)) to = isOpen ? chart.end : from;
        const ChartEvent event{std::max(seconds(from), 0.0), std::min(seconds(to), length),
                               RecordingName(marker) + (isOpen ? " (open)" : "")};
        const bool isBefore = seconds(to) < 0 || (seconds(to) == 0 && seconds(from) < 0);
        if (!isBefore && event.start < length) chart.events.push_back(event);
    }
}

void ReadEvents(Mersola& store, const std::vector<Series>& all, Chart& chart) {
    std::vector<std::int32_t> done;
    for (const Series& series : all) {
        if (std::ranges::find(done, series.chosen.measurement) != done.end()) continue;
        done.push_back(series.chosen.measurement);
        SelectAgain(store, series);
        AddEvents(store, chart);
    }
    std::ranges::stable_sort(chart.events, {}, &ChartEvent::start);
}

void Describe(const std::vector<Series>& all, const PlotOptions& options, Chart& chart) {
    std::vector<std::string> measurements, channels, functions, lengths;
    for (const Series& series : all) {
        AddOnce(measurements, series.measurement);
        AddOnce(channels, std::to_string(series.chosen.channel));
        AddOnce(lengths, PeriodText(CTimeSpanEx(series.clock.length)));
        for (const MeasuredFunction& function : series.lines)
            AddOnce(functions, function.name);
    }
    if (chart.lines.empty()) functions.clear();
    if (chart.raster.rows > 0)
        functions.push_back((options.by ? "" : "spectra of ") + chart.raster.name);
    chart.title = options.title
                      ? *options.title
                      : all.front().instrument + " \u2013 " +
                            (options.isContinuous ? "all measurements" : Joined(measurements));
    chart.subtitle = (channels.size() == 1 ? "Channel " : "Channels ") + Joined(channels) +
                     " \u00b7 " + Joined(functions) + " \u00b7 periods of " + Joined(lengths);
}

std::string WhenOf(const Chart& chart) {
    return " from " + TimeText(chart.start) + " to " + TimeText(chart.end);
}

// `width`: in pixels.
Chart ReadChart(Mersola& store, const std::vector<Series>& all, const PlotOptions& options,
                int width, std::ostream* terminal) {
    Chart chart{};
    chart.reference = options.reference.value_or("");
    chart.range = options.range;
    chart.start = options.from.value_or(std::ranges::min(all, {}, &Series::Start).Start());
    chart.end = options.to.value_or(std::ranges::max(all, {}, &Series::End).End());
    if (options.by) {
        if (all.size() != 1) throw Failure("a picture by day shows one channel of one measurement");
        SelectAgain(store, all.front());
        chart.raster = ReadDays(store, chart, all.front(), width, terminal);
    } else {
        ReadLines(store, all, chart, width, terminal);
        ReadEvents(store, all, chart);
    }
    if (std::ranges::all_of(chart.raster.cells, [](float cell) { return std::isnan(cell); }))
        chart.raster = {};
    if (chart.lines.empty() && chart.raster.rows == 0)
        throw Failure("there are no values" + WhenOf(chart) +
                      "; see what there is with: mersola values");
    chart.raster.range = options.colours;
    Describe(all, options, chart);
    return chart;
}

}  // namespace

void Plot(const PlotOptions& options, std::ostream& out, std::ostream* terminal) {
    const auto form = PictureFormOf(options.file);
    if (!form) throw Failure(Quoted(options.file) + " does not end in .svg, .png or .html");
    const auto store = OpenDatabase(options.database, Access::Read);
    const std::vector<Series> all = ChooseAll(*store, options);

    const Chart chart = ReadChart(*store, all, options, options.width, terminal);
    std::string picture;
    if (form == PictureForm::Html) {
        std::string narrow;
        if (options.width > kNarrowWidth && (!options.by || IsRoomByDay(chart, kNarrowWidth)))
            narrow = ChartScript(ReadChart(*store, all, options, kNarrowWidth, nullptr), *form,
                                 kNarrowWidth, kNarrowHeight);
        picture = DrawPage(ChartScript(chart, *form, options.width, options.height), options.width,
                           narrow, chart.title);
    } else {
        picture = DrawPicture(ChartScript(chart, *form, options.width, options.height), *form,
                              chart.title);
    }
    WholeFile file(options.file);
    file.Write(picture);
    file.Finish();
    TellDone(out, "The picture " + Quoted(options.file) + " shows " +
                      (all.size() == 1 ? Counted(all.front().periods.count, "period")
                                       : Counted(std::ssize(chart.lines), "line")) +
                      WhenOf(chart) + ".\n");
}

}  // namespace mersola::tool
