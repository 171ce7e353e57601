// mersola list: what a database holds.
#include <map>
#include <optional>
#include <ostream>
#include <utility>
#include <vector>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "catalogue/chain.h"
#include "catalogue/measured.h"
#include "catalogue/room.h"
#include "database/format.h"
#include "database/open_database.h"
#include "database/query.h"
#include "show.h"

namespace mersola::tool {
namespace {

std::string NameAndNumber(const CString& name, int id) {
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

// What a database holds below its instruments. Each table is read once: on a server the statements
// cost more than the rows.
struct Catalogue {
    struct Report {
        ReportInfo info;
        std::optional<std::int32_t> first;  // period with values
    };
    using Instrument = std::int32_t;
    using Measurement = std::pair<Instrument, std::int32_t>;

    std::multimap<Instrument, MeasurementInfo> measurements;  // by start
    std::map<Measurement, std::string> percentiles;           // fit to be shown
    std::multimap<Measurement, Report> reports;               // by type
    std::map<Measurement, std::int64_t> bytes;                // in a file
    std::map<std::pair<Measurement, std::int32_t>, std::vector<MeasuredFunction>> functions;
};

// Nothing where a list holds anything but numbers.
std::string PercentilesIn(const CString& text) {
    ListText items;
    std::string list;
    if (!items.Parse(text)) return "";
    for (const CString& item : items) {
        const auto number = ParseNumber<float>(item.View());
        if (!number) return "";
        list += (list.empty() ? ", percentiles " : ", ") + NumberText(*number);
    }
    return list;
}

void ReadMeasurements(Mersola& store, Catalogue& catalogue) {
    for (_Recordset& row : Rows(store, "SELECT * FROM Measurements ORDER BY StartAt")) {
        MeasurementInfo measurement;
        const std::int32_t instrument = row.Fields("GroupId").Long();
        measurement.MeasId = row.Fields("MeasId").Long();
        measurement.MeasName = row.Fields("MeasName").Text();
        if (!CTimeEx::FromText(row.Fields("StartAt").Text(), measurement.StartAt))
            measurement.StartAt.SetStatus(COleDateTime::invalid);
        measurement.BandWidth = row.Fields("BandWidth").Long();
        measurement.FrqLower = row.Fields("FrqLower").Double();
        measurement.FrqUpper = row.Fields("FrqUpper").Double();
        measurement.Fullscale = row.Fields("Fullscale").Double();
        measurement.Sensitivity = row.Fields("Sensitivity").Double();
        if (const auto column = ColumnIn(row, "Percentiles"))
            catalogue.percentiles[{instrument, measurement.MeasId}] =
                PercentilesIn(row.Fields(*column).Text());
        catalogue.measurements.emplace(instrument, measurement);
    }
}

void ReadReports(Mersola& store, const Room& room, Catalogue& catalogue) {
    const auto bytes = room.BytesOfAll();
    // The first period that has values is found without a look at other values.
    for (_Recordset& row :
         Rows(store,
              "SELECT r.GroupId,r.MeasId,r.ReportId,r.noOfPeriods,r.PeriodLen,r.RealPeriodLen,"
              "(SELECT MIN(v.PeriodNo) FROM MeasuredValues v WHERE v.MeasValueId=k.MeasValueId),"
              "k.MeasValueId FROM Reports r LEFT JOIN MeasValueMap k ON k.GroupId=r.GroupId AND "
              "k.MeasId=r.MeasId AND k.ReportId=r.ReportId ORDER BY r.ReportType,r.ReportId")) {
        Catalogue::Report report;
        ReportInfo& info = report.info;
        info.ReportId = row.Fields(2).Long();
        info.noOfPeriods = row.Fields(3).Long();
        CTimeSpanEx::FromText(row.Fields(4).Text(), info.PeriodLen);
        const CString real = row.Fields(5).Text();
        info.realPeriodLenSet = !real.IsEmpty() && real != "NOT_SET";
        if (info.realPeriodLenSet) CTimeSpanEx::FromText(real, info.RealPeriodLen);
        if (!row.Fields(6).IsNull()) report.first = row.Fields(6).Long();
        const std::pair place(row.Fields(0).Long(), row.Fields(1).Long());
        if (const auto found = bytes.find(row.Fields(7).Long()); found != bytes.end())
            catalogue.bytes[place] += found->second;
        catalogue.reports.emplace(place, report);
    }
}

Catalogue ReadCatalogue(Mersola& store, const Room& room) {
    Catalogue catalogue;
    ReadMeasurements(store, catalogue);
    ReadReports(store, room, catalogue);
    for (_Recordset& row : Rows(store,
                                "SELECT f.GroupId,f.MeasId,f.ReportId,f.Channel,f.FuncId,"
                                "n.FuncName FROM MeasuredFunctions f LEFT JOIN FuncNameMap n ON "
                                "n.FuncId=f.FuncId ORDER BY f.Channel,f.FuncId")) {
        const std::int32_t id = row.Fields(4).Long();
        const CString name = row.Fields(5).Text();
        catalogue.functions[{{row.Fields(0).Long(), row.Fields(1).Long()}, row.Fields(2).Long()}]
            .push_back({row.Fields(3).Long(), id,
                        name.IsEmpty() ? std::to_string(id) : std::string(name)});
    }
    return catalogue;
}

// Where the values of a report begin.
std::string FirstStored(const Catalogue::Report& report, const CTimeEx& start) {
    if (!report.first) return ", no values";
    std::int64_t passed = 0;
    if (__builtin_mul_overflow(report.info.PeriodLen.GetTotalMilliseconds(),
                               std::int64_t{*report.first}, &passed))
        return ", stored from period " + std::to_string(*report.first);
    const CTimeEx time = start + CTimeSpanEx(passed);
    return ", stored from period " + std::to_string(*report.first) +
           (time.IsValid() ? " at " + TimeText(time) : "");
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

void ListMeasurements(const Catalogue& catalogue, std::int32_t instrument, std::ostream& out) {
    const auto [first, last] = catalogue.measurements.equal_range(instrument);
    for (auto each = first; each != last; ++each) {
        const MeasurementInfo& measurement = each->second;
        const std::pair place(instrument, measurement.MeasId);
        out << "  measurement " << NameAndNumber(measurement.MeasName, measurement.MeasId)
            << ", started " << TimeText(measurement.StartAt);
        if (const auto bytes = catalogue.bytes.find(place); bytes != catalogue.bytes.end())
            out << ", about " << SizeText(bytes->second);
        out << '\n';
        const auto percentiles = catalogue.percentiles.find(place);
        ListSettings(measurement,
                     percentiles == catalogue.percentiles.end() ? "" : percentiles->second, out);
        const auto [begin, end] = catalogue.reports.equal_range(place);
        for (auto report = begin; report != end; ++report) {
            const auto functions = catalogue.functions.find({place, report->second.info.ReportId});
            ListReport(report->second.info, FirstStored(report->second, measurement.StartAt),
                       functions == catalogue.functions.end() ? std::vector<MeasuredFunction>()
                                                              : functions->second,
                       out);
        }
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
                << ": " << NameAndNumber(member.name.c_str(), member.measId);
        ListFunctions(report.functions, out);
    }
    RequireWritten(out);
}

}  // namespace

void List(const DatabaseArgument& database, bool isContinuous, std::ostream& out) {
    const auto store = OpenDatabase(database, Access::Read);
    const Keeping keeping = KeepingOf(*store);
    const Room room(*store, keeping);
    out << "database of " << FormatText(*store, keeping) << '\n';
    if (const std::string file = room.FileText(); !file.empty()) out << file << '\n';
    const auto instruments = ReadInstruments(*store);
    if (instruments.IsEmpty())
        out << "The database holds no instruments yet. Fill it with: mersola record\n";
    const Catalogue catalogue = isContinuous ? Catalogue() : ReadCatalogue(*store, room);
    for (const InstrumentInfo& instrument : instruments) {
        out << "instrument " << NameAndNumber(instrument.GroupName, instrument.GroupId)
            << KindOf(instrument) << '\n';
        if (isContinuous)
            ListChain(*store, instrument, out);
        else
            ListMeasurements(catalogue, instrument.GroupId, out);
    }
}

}  // namespace mersola::tool
