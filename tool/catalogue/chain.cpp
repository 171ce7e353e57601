// Numbering the periods of a chain, and reading its catalogue.
#include "chain.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "basics/failure.h"
#include "database/open_database.h"

namespace mersola::tool {
namespace {

struct Recorded {
    MeasurementInfo measurement;
    std::vector<ReportInfo> reports;
};

// The measurements that have periods, and their reports that have.
std::vector<Recorded> ReadRecorded(Mersola& store, std::int32_t groupId) {
    std::vector<Recorded> recorded;
    for (const MeasurementInfo& measurement : ReadMeasurements(store, groupId)) {
        CArray<ReportInfo, ReportInfo&> stored;
        if (store._GetReports(stored, measurement.MeasId, nullptr) != 1)
            throw Failure("the reports could not be read" + WhyUnread(store));
        Recorded each{measurement, {}};
        std::ranges::copy_if(stored, std::back_inserter(each.reports),
                             [](const ReportInfo& report) { return report.noOfPeriods > 0; });
        if (!each.reports.empty()) recorded.push_back(std::move(each));
    }
    return recorded;
}

std::vector<ChainMember> NumberPeriods(const std::vector<Recorded>& recorded, std::size_t index) {
    std::vector<ChainMember> members;
    std::int64_t first = 0;
    for (std::size_t i = 0; i < recorded.size(); ++i) {
        const auto& [measurement, reports] = recorded[i];
        // From one measurement to the next in whole periods, as the view itself goes.
        if (i > 0)
            first +=
                (measurement.StartAt - recorded[i - 1].measurement.StartAt).GetTotalMilliseconds() /
                reports[index].PeriodLen.GetTotalMilliseconds();
        members.push_back({measurement.MeasId, std::string(measurement.MeasName),
                           reports[index].ReportId, first, reports[index].noOfPeriods});
    }
    return members;
}

std::vector<MeasuredFunction> FunctionsOf(Mersola& store, const ReportInfo& report) {
    std::vector<MeasuredFunction> functions;
    for (const FuncInfo& each : report.functions) {
        const CString name = store.GetFunctionName(each.FuncId);
        functions.push_back({each.Channel, each.FuncId,
                             name.IsEmpty() ? std::to_string(each.FuncId) : std::string(name)});
    }
    std::ranges::sort(functions, {},
                      [](const auto& each) { return std::tuple(each.channel, each.id); });
    return functions;
}

}  // namespace

Chain ReadChain(Mersola& store, std::int32_t groupId) {
    store.SetInstrument(groupId);
    store.SetMeasurement(-1);  // the view would answer in place of the measurements
    const auto recorded = ReadRecorded(store, groupId);
    if (recorded.empty())
        throw Failure("no measurement has periods yet; record some with: mersola record");
    CArray<ReportInfo, ReportInfo&> reports;
    if (store.SetMeasurement(-3) != 1 || store.GetReports(reports) != 1)
        throw Failure("the measurements cannot be read as one" + LastError(store) +
                      "; starts must be readable, and bandwidths, report types and lengths of "
                      "periods the same");
    const auto isComplete = [&](const Recorded& each) {
        return each.reports.size() == static_cast<std::size_t>(reports.GetSize());
    };
    if (!std::ranges::all_of(recorded, isComplete))
        throw Failure("the measurements changed while they were read; try again");
    Chain chain{recorded.front().measurement, {}};
    for (int i = 0; i < reports.GetSize(); ++i)
        chain.reports.push_back({reports[i].ReportType, reports[i].PeriodLen,
                                 reports[i].noOfPeriods, FunctionsOf(store, reports[i]),
                                 NumberPeriods(recorded, static_cast<std::size_t>(i))});
    return chain;
}

const ChainReport& ChooseReport(const Chain& chain, const std::string& askedType) {
    if (askedType.empty()) return chain.reports.front();
    std::vector<Choice> choices;
    for (const auto& each : chain.reports)
        choices.push_back({each.type, ""});
    return *std::ranges::find(chain.reports, Choose("report type", askedType, choices),
                              &ChainReport::type);
}

CTimeEx TimeInChain(const Chain& chain, const ChainReport& report, std::int64_t period) {
    return chain.settings.StartAt + CTimeSpanEx(report.length.GetTotalMilliseconds() * period);
}

}  // namespace mersola::tool
