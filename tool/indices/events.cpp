// The table of events: what markers mean in levels.
#include <algorithm>
#include <cmath>

#include "asked_function.h"
#include "basics/failure.h"
#include "basics/times_text.h"
#include "database/open_database.h"

namespace mersola::tool {
namespace {

using Style = SheetColumn::Style;

struct Event {
    std::int32_t number;
    CTimeEx start, stop;
    std::string path;
};

// The periods that an event touches, one at least.
struct Touched {
    CTimeEx from, to;
    double seconds;
};

Touched PeriodsOf(const Event& event, const PeriodClock& clock) {
    const std::int64_t length = clock.real.GetTotalMilliseconds();
    const auto period = [&](const CTimeEx& time, std::int64_t more) {
        const std::int64_t passed = (time - clock.origin).GetTotalMilliseconds() + more;
        return passed / length - (passed % length < 0 ? 1 : 0);
    };
    const std::int64_t first = period(event.start, 0);
    const std::int64_t end = std::max(first + 1, period(event.stop, length - 1));
    return {clock.At(first), clock.At(end), static_cast<double>((end - first) * length) / 1000};
}

std::vector<Event> ReadEvents(Mersola& store, const IndicesOptions& options) {
    CArray<MarkerInfo, MarkerInfo&> markers;
    if (store.GetMarkers(options.from.value_or(CTimeEx(100, 1, 1, 0, 0, 0)),
                         options.to.value_or(CTimeEx(9999, 12, 31, 23, 59, 59, 999)), markers,
                         options.type.c_str()) != 1)
        throw Failure("the markers could not be read" + WhyUnread(store));
    std::vector<Event> events;
    for (const MarkerInfo& marker : markers) {
        Event event{marker.MarkerId, {}, {}, std::string(marker.Path)};
        if (!CTimeEx::FromText(marker.Start, event.start) ||
            !CTimeEx::FromText(marker.Stop, event.stop))
            throw Failure("the times of marker " + std::to_string(marker.MarkerId) +
                          " cannot be read; check it with: mersola check");
        events.push_back(event);
    }
    std::ranges::stable_sort(events, {}, [](const Event& event) {
        return (event.start - CTimeEx()).GetTotalMilliseconds();
    });
    return events;
}

}  // namespace

void ShowEvents(Mersola& store, const AskedFunction& function, const IndicesOptions& options,
                Sheet::Form form, std::ostream& out) {
    IndexRequest request = RequestOf(function, options);
    request.step = IndexStep::Whole;
    const std::string above = options.threshold ? "s > " + NumberText(options.threshold->value) +
                                                      " " + options.threshold->unit
                                                : "";
    std::vector<SheetColumn> columns{{"Start", Style::Time},
                                     {"Stop", Style::Time},
                                     {"Number", Style::Number},
                                     {"Seconds", Style::Number},
                                     {function.name, Style::Level},
                                     {function.name + " %", Style::Percent},
                                     {function.IsWeightedA() ? "LAE" : "LE", Style::Level},
                                     {function.name + " max", Style::Level},
                                     {function.name + " max at", Style::Time}};
    for (const double percentage : options.percentages)
        columns.push_back({"L" + NumberText(percentage), Style::Level});
    if (options.threshold) columns.push_back({above, Style::Number});
    columns.push_back({"Path", Style::Text});
    const auto events = ReadEvents(store, options);
    Sheet sheet(out, form, columns, function.About(options));
    for (const Event& event : events) {
        const Touched touched = PeriodsOf(event, function.clock);
        request.from = touched.from;
        request.to = touched.to;
        const IndexRow row = ReadIndices(store, request).front();
        std::vector<SheetCell> cells{
            TimeText(event.start),
            TimeText(event.stop),
            static_cast<double>(event.number),
            static_cast<double>((event.stop - event.start).GetTotalMilliseconds()) / 1000,
            row.mean.value,
            row.mean.coverage * 100,
            SoundExposureLevel(row.mean.value, touched.seconds),
            row.greatest.value,
            row.greatestAt.IsValid() ? SheetCell(TimeText(row.greatestAt)) : SheetCell()};
        for (const Index& percentile : row.percentiles)
            cells.push_back(percentile.value);
        if (options.threshold) cells.push_back(row.secondsAbove.value);
        cells.push_back(event.path);
        sheet.Row(cells);
    }
    sheet.Finish();
}

}  // namespace mersola::tool
