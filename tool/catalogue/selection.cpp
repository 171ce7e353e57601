// Choosing among what is measured, and reading it band by band.
#include "selection.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "basics/failure.h"
#include "chain.h"
#include "database/open_database.h"

namespace mersola::tool {
namespace {

// Bands that follow one another, so that one read brings them all.
struct Run {
    std::int32_t first;
    std::int32_t count;
};

std::vector<Run> Runs(const std::vector<std::int32_t>& bands) {
    std::vector<Run> runs;
    for (const auto band : bands) {
        if (!runs.empty() && std::int64_t{runs.back().first} + runs.back().count == band)
            ++runs.back().count;
        else
            runs.push_back({band, 1});
    }
    return runs;
}

std::int32_t ChooseReport(Mersola& store, const Selection& chosen, const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : ReadReports(store, chosen.instrument, chosen.measurement))
        choices.push_back({each.ReportId, ""});
    CArray<ReportInfo, ReportInfo&> filled;
    store.GetReports(filled);
    return asked.empty() && !filled.IsEmpty() ? filled[0].ReportId
                                              : Choose("report", asked, choices);
}

void ChooseChannel(Selection& chosen, const std::vector<MeasuredFunction>& measured,
                   const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : measured) {
        if (choices.empty() || choices.back().id != each.channel)
            choices.push_back({each.channel, ""});
    }
    chosen.channel = Choose("channel", asked, choices);
    std::ranges::copy_if(measured, std::back_inserter(chosen.functions),
                         [&](const auto& each) { return each.channel == chosen.channel; });
}

}  // namespace

Selection Select(Mersola& store, const SelectionOptions& options) {
    Selection chosen{};
    chosen.isContinuous = options.isContinuous;
    chosen.instrument = ChooseInstrument(store, options.instrument);
    if (options.isContinuous) {
        const Chain chain = ReadChain(store, chosen.instrument);
        const ChainReport& report = ChooseReport(chain, options.report);
        chosen.measurement = kContinuousView;
        chosen.report = report.type;
        ChooseChannel(chosen, report.functions, options.channel);
    } else {
        chosen.measurement = ChooseMeasurement(store, chosen.instrument, options.measurement);
        chosen.report = ChooseReport(store, chosen, options.report);
        ChooseChannel(chosen,
                      ReadFunctions(store, chosen.instrument, chosen.measurement, chosen.report),
                      options.channel);
    }
    if (store.SetReport(chosen.report) != 1)
        throw Failure("the report could not be read" + WhyUnread(store));
    store.SetChannel(chosen.channel);
    return chosen;
}

const MeasuredFunction& ChooseFunction(const Selection& chosen, const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : chosen.functions)
        choices.push_back({each.id, each.name});
    return *std::ranges::find(chosen.functions, Choose("function", asked, choices),
                              &MeasuredFunction::id);
}

std::int32_t CountPeriods(Mersola& store) {
    long count = 0;
    if (store.Get_nPrds(count) != 1)
        throw Failure("the number of periods could not be read" + WhyUnread(store));
    if (count <= 0)
        throw Failure("the report has no periods yet; record some with: mersola record");
    return static_cast<std::int32_t>(count);
}

std::int32_t FirstPeriod(Mersola& store, const Selection& chosen, std::int32_t count) {
    std::int64_t first = count;
    const auto faults = store.getConnection()->GetErrors().size();
    for (const MeasuredFunction& each : chosen.functions) {
        long begin = 0, last = 0;
        store.SetFunction(each.id);
        if (store.GetStoredPeriods(begin, last) == 1) first = std::min<std::int64_t>(first, begin);
    }
    // What could not be read looks like what is not there.
    if (store.getConnection()->GetErrors().size() != faults) RefuseRead(store);
    return first >= count ? 0 : static_cast<std::int32_t>(std::max<std::int64_t>(first, 0));
}

std::vector<std::int32_t> StoredBands(Mersola& store,
                                      const std::vector<MeasuredFunction>& functions,
                                      const std::optional<Range>& periods) {
    std::set<std::int32_t> bands;
    for (const MeasuredFunction& each : functions) {
        CArray<int, int> stored;
        store.SetFunction(each.id);
        if ((periods ? store.GetBands(stored, periods->first, periods->count)
                     : store.GetBands(stored)) != 1)
            RefuseRead(store);
        bands.insert(stored.begin(), stored.end());
    }
    return {bands.begin(), bands.end()};
}

std::vector<float> ReadBands(Mersola& store, const Range& block,
                             const std::vector<std::int32_t>& bands) {
    const auto periods = static_cast<std::size_t>(block.count);
    std::vector<float> grid(periods * bands.size(), kMissing);
    std::vector<float> read;
    std::size_t band = 0;
    for (const Run& run : Runs(bands)) {
        const auto width = static_cast<std::size_t>(run.count);
        read.resize(periods * width);
        if (store.GetData(read.data(), block.first, block.count, run.first, run.count) !=
            block.count)
            RefuseRead(store);
        for (std::size_t i = 0; i < periods; ++i)
            std::copy_n(&read[i * width], width, &grid[i * bands.size() + band]);
        band += width;
    }
    return grid;
}

std::string BandName(const std::map<std::int32_t, std::string>& names, std::int32_t band) {
    const auto found = names.find(band);
    return found != names.end() ? found->second : "band " + std::to_string(band);
}

void RefuseRead(const Mersola& store) {
    throw Failure("the values could not be read" + WhyUnread(store));
}

}  // namespace mersola::tool
