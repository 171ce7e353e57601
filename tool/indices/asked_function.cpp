#include "asked_function.h"

#include <algorithm>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "catalogue/measured.h"
#include "database/open_database.h"

namespace mersola::tool {
namespace {

void RequireEquivalent(const AskedFunction& function, bool isAsked, const char* what) {
    if (isAsked && function.kind == ValueKind::ExtremeLevel)
        throw Failure(std::string(what) + " cannot be made of " + Quoted(function.name) +
                      ", which holds extremes of its periods; choose equivalent levels, as LAeq");
}

ValueKind KindOf(const std::string& name, const IndicesOptions& options) {
    const auto told = ValueKindOf(name.c_str());
    if (told == ValueKind::Percentile) {
        const std::string holds =
            Quoted(name) + " holds what was exceeded for a share of each period, ";
        if (!options.percentages.empty())
            throw Failure(holds +
                          "and no percentile of a longer time can be made of that; choose the "
                          "levels of short periods, as LAeq");
        if (!options.kind)
            throw Failure(holds +
                          "and no index can be made of that; choose equivalent levels, as LAeq, or "
                          "say with --kind how to average it all the same");
    }
    if (options.kind) return *options.kind;
    if (!told)
        throw Failure("the name " + Quoted(name) +
                      " does not tell what its values are; say it with --kind level, arithmetic or "
                      "rms");
    return *told;
}

std::int32_t ChooseBand(Mersola& store, const std::string& asked) {
    if (asked.empty()) return kBroadband;
    std::vector<Choice> choices;
    for (const auto& [id, name] : ReadBandNames(store))
        choices.push_back({id, name});
    const auto number = ParseNumber<std::int32_t>(asked);  // that of a band without a name
    if (number && std::ranges::find(choices, *number, &Choice::id) == choices.end()) return *number;
    return Choose("band", asked, choices);
}

void RequireUnit(const AskedFunction& function, const Threshold& threshold) {
    if (function.IsLevel() == (threshold.unit == "dB")) return;
    throw Failure("the threshold is in " + threshold.unit + ", and " + Quoted(function.name) +
                  (function.IsLevel() ? " in dB" : " is no level in dB"));
}

}  // namespace

bool AskedFunction::IsWeightedA() const {
    return name.size() > 1 && (name[1] == 'A' || name[1] == 'a') && IsLevel();
}

std::string AskedFunction::MeanName() const {
    if (kind == ValueKind::Arithmetic) return name + " mean";
    return kind == ValueKind::RootMeanSquare && !name.ends_with("rms") ? name + " rms" : name;
}

std::vector<std::pair<std::string, std::string>> AskedFunction::About(
    const IndicesOptions& options) const {
    std::vector<std::pair<std::string, std::string>> about{
        {"instrument", instrument},   {"measurement", measurement},
        {"channel", options.channel}, {"function", name},
        {"band", bandName},           {"period", PeriodText(clock.real)}};
    if (IsLevel()) about.emplace_back("unit", "dB");
    if (options.threshold)
        about.emplace_back("threshold",
                           NumberText(options.threshold->value) + " " + options.threshold->unit);
    if (kind == ValueKind::Level) {
        const auto& hours = options.hours;
        about.emplace_back("hours", std::to_string(hours.day) + "/" +
                                        std::to_string(hours.evening) + "/" +
                                        std::to_string(hours.night));
    }
    return about;
}

AskedFunction ChooseAskedFunction(Mersola& store, const IndicesOptions& options) {
    const Selection chosen = Select(store, options);
    const MeasuredFunction& measured = ChooseFunction(chosen, options.function);
    AskedFunction function;
    function.name = measured.name;
    function.kind = KindOf(measured.name, options);
    function.band = ChooseBand(store, options.band);
    function.bandName = BandName(ReadBandNames(store), function.band);
    RequireEquivalent(function, options.events, "exposure levels");
    RequireEquivalent(function, !options.percentages.empty(), "percentiles");
    if (options.events && !function.IsLevel())
        throw Failure("exposure levels cannot be made of " + Quoted(function.name) +
                      ", which holds no levels");
    if (options.threshold) RequireUnit(function, *options.threshold);
    InstrumentInfo instrument;
    MeasurementInfo measurement;
    store._GetInstrument(chosen.instrument, instrument, nullptr);
    if (!chosen.isContinuous) store._GetMeasurement(chosen.measurement, measurement, nullptr);
    function.instrument = std::string(instrument.GroupName);
    function.measurement =
        chosen.isContinuous ? "all measurements" : std::string(measurement.MeasName);
    store.SetFunction(measured.id);
    store.GetTrigTime(function.clock.origin);
    store.GetRealPrdLength(function.clock.real);
    if (!function.clock.origin.IsValid() || function.clock.real.GetTotalMilliseconds() <= 0)
        throw Failure("the report has no valid times; check it with: mersola list");
    return function;
}

std::vector<IndexRow> ReadIndices(Mersola& store, const IndexRequest& request) {
    std::vector<IndexRow> rows;
    if (store.GetIndices(rows, request) != 1) RefuseRead(store);
    return rows;
}

IndexRequest RequestOf(const AskedFunction& function, const IndicesOptions& options) {
    IndexRequest request;
    request.step = options.step;
    request.band = function.band;
    request.kind = function.kind;
    request.hours = options.hours;
    if (options.threshold) request.threshold = options.threshold->value;
    request.percentages = options.percentages;
    request.leastCoverage = options.leastCoverage;
    return request;
}

}  // namespace mersola::tool
