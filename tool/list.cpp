// mersola list: what a database holds.
#include <ostream>

#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "measured.h"
#include "open_database.h"
#include "times_text.h"

namespace mersola::tool {
namespace {

std::string NameOf(const CString& name, int id) {
    return Printable(name.View()) + " (" + std::to_string(id) + ")";
}

void ListReport(const ReportInfo& report, const std::vector<MeasuredFunction>& functions,
                std::ostream& out) {
    out << "    report " << report.ReportId << ": " << Counted(report.noOfPeriods, "period")
        << " of " << PeriodText(report.PeriodLen);
    if (report.realPeriodLenSet) out << ", measured as " << PeriodText(report.RealPeriodLen);
    for (std::size_t i = 0; i < functions.size(); ++i) {
        if (i == 0 || functions[i].channel != functions[i - 1].channel)
            out << "\n      channel " << functions[i].channel << ": ";
        else
            out << ", ";
        out << Printable(functions[i].name);
    }
    out << '\n';
}

void ListMeasurement(const MeasurementInfo& measurement, std::ostream& out) {
    out << "  measurement " << NameOf(measurement.MeasName, measurement.MeasId) << ", started "
        << TimeText(measurement.StartAt) << "\n    "
        << (measurement.BandWidth == kThirdOctaves
                ? std::string("third octaves")
                : "bandwidth " + std::to_string(measurement.BandWidth))
        << " from " << NumberText(measurement.FrqLower) << " Hz to "
        << NumberText(measurement.FrqUpper) << " Hz, full scale "
        << NumberText(measurement.Fullscale) << ", sensitivity "
        << NumberText(measurement.Sensitivity) << '\n';
}

}  // namespace

void List(const std::string& path, std::ostream& out) {
    const auto store = OpenDatabase(path, Access::Read);
    const auto instruments = ReadInstruments(*store);
    if (instruments.IsEmpty())
        out << "The database holds no instruments yet. Fill it with: mersola record\n";
    for (const InstrumentInfo& instrument : instruments) {
        out << "instrument " << NameOf(instrument.GroupName, instrument.GroupId) << '\n';
        for (const MeasurementInfo& measurement : ReadMeasurements(*store, instrument.GroupId)) {
            ListMeasurement(measurement, out);
            for (const ReportInfo& report : ReadReports(*store, measurement.MeasId))
                ListReport(
                    report,
                    ReadFunctions(*store, instrument.GroupId, measurement.MeasId, report.ReportId),
                    out);
            RequireWritten(out);
        }
    }
}

}  // namespace mersola::tool
