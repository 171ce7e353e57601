// mersola list: what a database holds.
#include <optional>
#include <ostream>

#include "catalogue.h"
#include "chain.h"
#include "failure.h"
#include "measured.h"
#include "open_database.h"
#include "show.h"
#include "times_text.h"

namespace mersola::tool {
namespace {

std::string NameOf(const CString& name, int id) {
    return Printable(name.View()) + " (" + std::to_string(id) + ")";
}

// Type and state, where they say something.
std::string KindOf(const InstrumentInfo& instrument) {
    std::string kind;
    if (!instrument.Type.IsEmpty() && instrument.Type != kPlainInstrument)
        kind += ", type " + Printable(instrument.Type.View());
    if (!instrument.State.IsEmpty()) kind += ", state " + Printable(instrument.State.View());
    return kind;
}

// Where the values of a report of the selected measurement begin.
std::string FirstStored(Mersola& store, const ReportInfo& report) {
    long period = -1;
    CTimeEx start;
    if (store.SetReport(report.ReportId) != 1 || store.GetFirstPeriod(period) != 1)
        return ", no values";
    const bool hasTime = store.GetStartOfFirstPeriod(start) == 1;
    return ", stored from period " + std::to_string(period) +
           (hasTime ? " at " + TimeText(start) : "");
}

std::string PercentilesOf(Mersola& store) {
    CArray<float, float> percentiles;
    store.GetPercentiles(percentiles);
    std::string list;
    for (const float each : percentiles)
        list += (list.empty() ? ", percentiles " : ", ") + NumberText(each);
    return list;
}

void ListFunctions(const std::vector<MeasuredFunction>& functions, std::ostream& out) {
    if (functions.empty()) out << ", no functions";
    for (std::size_t i = 0; i < functions.size(); ++i) {
        if (i == 0 || functions[i].channel != functions[i - 1].channel)
            out << "\n      channel " << functions[i].channel << ": ";
        else
            out << ", ";
        out << Printable(functions[i].name);
    }
    out << '\n';
}

void ListReport(const ReportInfo& report, const std::string& first,
                const std::vector<MeasuredFunction>& functions, std::ostream& out) {
    out << "    report " << report.ReportId << ": " << Counted(report.noOfPeriods, "period")
        << " of " << PeriodText(report.PeriodLen);
    if (report.realPeriodLenSet) out << ", measured as " << PeriodText(report.RealPeriodLen);
    out << first;
    ListFunctions(functions, out);
}

void ListSettings(const MeasurementInfo& measurement, const std::string& percentiles,
                  std::ostream& out) {
    out << "    "
        << (measurement.BandWidth == kThirdOctaves
                ? std::string("third octaves")
                : "bandwidth " + std::to_string(measurement.BandWidth))
        << " from " << NumberText(measurement.FrqLower) << " Hz to "
        << NumberText(measurement.FrqUpper) << " Hz, full scale "
        << NumberText(measurement.Fullscale) << ", sensitivity "
        << NumberText(measurement.Sensitivity) << percentiles << '\n';
}

void ListMeasurements(Mersola& store, const InstrumentInfo& instrument, std::ostream& out) {
    for (const MeasurementInfo& measurement : ReadMeasurements(store, instrument.GroupId)) {
        const auto reports = ReadReports(store, instrument.GroupId, measurement.MeasId);
        out << "  measurement " << NameOf(measurement.MeasName, measurement.MeasId) << ", started "
            << TimeText(measurement.StartAt) << '\n';
        ListSettings(measurement, PercentilesOf(store), out);
        for (const ReportInfo& report : reports)
            ListReport(
                report, FirstStored(store, report),
                ReadFunctions(store, instrument.GroupId, measurement.MeasId, report.ReportId), out);
        RequireWritten(out);
    }
}

void ListChain(Mersola& store, const InstrumentInfo& instrument, std::ostream& out) {
    std::optional<Chain> chain;
    try {
        chain = ReadChain(store, instrument.GroupId);
    } catch (const Failure& failure) {  // the other instruments may have theirs
        out << "  not continuous: " << failure.what() << '\n';
        return;
    }
    out << "  continuous, started " << TimeText(chain->settings.StartAt) << '\n';
    ListSettings(chain->settings, "", out);
    for (const ChainReport& report : chain->reports) {
        out << "    report type " << report.type << ": " << Counted(report.count, "period")
            << " of " << PeriodText(report.length);
        for (const ChainMember& member : report.members)
            out << "\n      periods " << member.first << " to " << member.first + member.count - 1
                << ": " << NameOf(member.name.c_str(), member.measId);
        ListFunctions(report.functions, out);
    }
    RequireWritten(out);
}

}  // namespace

void List(const DatabaseArgument& database, bool isContinuous, std::ostream& out) {
    const auto store = OpenDatabase(database, Access::Read);
    const auto instruments = ReadInstruments(*store);
    if (instruments.IsEmpty())
        out << "The database holds no instruments yet. Fill it with: mersola record\n";
    for (const InstrumentInfo& instrument : instruments) {
        out << "instrument " << NameOf(instrument.GroupName, instrument.GroupId)
            << KindOf(instrument) << '\n';
        (isContinuous ? ListChain : ListMeasurements)(*store, instrument, out);
    }
}

}  // namespace mersola::tool
