// mersola markers: the events of a measurement.
#include <algorithm>
#include <ostream>

#include "basics/failure.h"
#include "basics/table.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/open_database.h"
#include "show.h"

namespace mersola::tool {
namespace {

using MarkerArray = CArray<MarkerInfo, MarkerInfo&>;

// As it is stored, when it is no time.
std::string StoredTime(const CString& text) {
    CTimeEx time;
    return CTimeEx::FromText(text, time) ? TimeText(time) : std::string(text);
}

bool HasType(const MarkerInfo& marker, CString asked) {
    ListText condition;
    CString type;
    asked.MakeLower();
    return asked.IsEmpty() || (condition.Parse(marker.TriggerCondition) &&
                               condition.Find("type", type) && type == asked);
}

void SelectReport(Mersola& store, std::int32_t instrument, std::int32_t measurement,
                  const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : ReadReports(store, instrument, measurement))
        choices.push_back({each.ReportId, ""});
    const auto report =
        asked.empty() && !choices.empty() ? choices.front().id : Choose("report", asked, choices);
    if (store.SetReport(report) != 1)
        throw Failure("the report could not be read" + LastError(store) +
                      "; it may have no values yet");
}

MarkerArray ReadMarkers(Mersola& store, std::int32_t instrument, std::int32_t measurement,
                        const MarkersOptions& options) {
    MarkerArray markers;
    int result = store.SetMeasurement(measurement);
    if (result == 1 && options.isOpen) return ReadOpenMarkers(store);
    if (result == 1 && options.periods) {
        SelectReport(store, instrument, measurement, options.report);
        result = store.GetMarkers(options.periods->first, long{options.periods->last} + 1, markers);
    } else if (result == 1 && (options.from || options.to)) {
        const CTimeEx from = options.from.value_or(CTimeEx(100, 1, 1, 0, 0, 0));
        const CTimeEx to = options.to.value_or(CTimeEx(9999, 12, 31, 23, 59, 59, 999));
        result = store.GetMarkers(from, to, markers, options.type.c_str());
    } else if (result == 1) {
        result = store.GetMarkers(markers, options.type.c_str());
    }
    if (result != 1) throw Failure("the markers could not be read" + WhyUnread(store));
    return markers;
}

}  // namespace

void ShowMarkers(const MarkersOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const auto instrument = ChooseInstrument(*store, options.instrument);
    const auto measurement = ChooseMeasurement(*store, instrument, options.measurement);
    MarkerArray markers = ReadMarkers(*store, instrument, measurement, options);
    std::vector<const MarkerInfo*> shown;
    for (const MarkerInfo& each : markers) {
        if (HasType(each, options.type.c_str())) shown.push_back(&each);
    }
    // Texts of times are in the order of the times.
    std::ranges::stable_sort(shown, {}, [](const MarkerInfo* each) { return each->Start.View(); });

    const auto bands = ReadBandNames(*store);
    const std::size_t width = TimeText(CTimeEx(2000, 1, 1, 0, 0, 0)).size();
    Table table(out, options.csv ? Table::Form::Csv : Table::Form::Aligned,
                {"Start", "Stop", "Number", "Function", "Band", "Condition", "Path"},
                {width, width, 0, 0, std::string("broadband").size()});
    for (const MarkerInfo* each : shown) {
        const CString function = store->GetFunctionName(each->funcId);
        table.Row(
            {StoredTime(each->Start), each->inProgess != 0 ? "open" : StoredTime(each->Stop),
             std::to_string(each->MarkerId),
             function.IsEmpty() ? std::to_string(each->funcId) : std::string(function),
             bands.contains(each->frqId) ? bands.at(each->frqId) : std::to_string(each->frqId),
             std::string(each->TriggerCondition), std::string(each->Path)});
    }
}

}  // namespace mersola::tool
