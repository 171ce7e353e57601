// Reading the catalogue of a chain.
#include "chain.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "basics/failure.h"
#include "database/open_database.h"

namespace mersola::tool {
namespace {

bool HavePeriods(Mersola& store, std::int32_t groupId) {
    store.SetMeasurement(kNone);  // the view would answer in place of the measurements
    for (const MeasurementInfo& measurement : ReadMeasurements(store, groupId)) {
        CArray<ReportInfo, ReportInfo&> reports;
        if (store._GetReports(reports, measurement.MeasId, nullptr) != 1)
            throw Failure("the reports could not be read" + WhyUnread(store));
        if (std::ranges::any_of(reports,
                                [](const ReportInfo& each) { return each.noOfPeriods > 0; }))
            return true;
    }
    return false;
}

// The members of the chain, by the place of one of their reports.
std::vector<ChainMember> MembersOf(const CArray<MeasurementInfo, MeasurementInfo&>& measurements,
                                   int index) {
    std::vector<ChainMember> members;
    for (const MeasurementInfo& each : measurements) {
        const ReportInfo& report = each.reports[index];
        members.push_back({each.MeasId, std::string(each.MeasName), report.ReportId,
                           report.periodOffset, report.noOfPeriods});
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
    CArray<MeasurementInfo, MeasurementInfo&> measurements;
    CArray<ReportInfo, ReportInfo&> reports;
    if (store.SetMeasurement(kContinuousView) != 1 ||
        store.GetContinuousMeasurements(measurements) != 1 || store.GetReports(reports) != 1) {
        const std::string why = LastError(store);
        if (!HavePeriods(store, groupId))
            throw Failure("no measurement has periods yet; record some with: mersola record");
        throw Failure("the measurements cannot be read as one" + why +
                      "; starts must be readable, and bandwidths, report types and lengths of "
                      "periods the same");
    }
    Chain chain{measurements[0], {}};
    for (int i = 0; i < reports.GetSize(); ++i)
        chain.reports.push_back({reports[i].ReportType, reports[i].PeriodLen,
                                 reports[i].noOfPeriods, FunctionsOf(store, reports[i]),
                                 MembersOf(measurements, i)});
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
