// Reading the catalogue, and choosing from it.
#include "catalogue.h"

#include <algorithm>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/utf8.h"
#include "database/open_database.h"
#include "database/query.h"

namespace mersola::tool {
namespace {

void RequireRead(int result, const char* what, const Mersola& store) {
    if (result != 1)
        throw Failure(std::string("the ") + what + " could not be read" + WhyUnread(store));
}

// "demo (1), pier (2)", cut short when there are many.
std::string Listed(const std::vector<Choice>& choices) {
    constexpr std::size_t kMost = 10;
    std::string list;
    for (std::size_t i = 0; i < std::min(choices.size(), kMost); ++i) {
        const std::string number = std::to_string(choices[i].id);
        const std::string name = Printable(choices[i].name);
        list += i == 0 ? "" : ", ";
        list += name.empty() || name == number ? number : name + " (" + number + ")";
    }
    return choices.size() > kMost
               ? list + " and " + std::to_string(choices.size() - kMost) + " more"
               : list;
}

}  // namespace

CArray<InstrumentInfo, InstrumentInfo&> ReadInstruments(Mersola& store) {
    CArray<InstrumentInfo, InstrumentInfo&> instruments;
    RequireRead(store.GetInstrumentsAndAlarms(instruments), "instruments", store);
    return instruments;
}

CArray<MeasurementInfo, MeasurementInfo&> ReadMeasurements(Mersola& store, std::int32_t groupId) {
    CArray<MeasurementInfo, MeasurementInfo&> measurements;
    store.SetInstrument(groupId);
    RequireRead(store.GetMeasurements(measurements), "measurements", store);
    return measurements;
}

CArray<ReportInfo, ReportInfo&> ReadReports(Mersola& store, std::int32_t groupId,
                                            std::int32_t measId) {
    CArray<ReportInfo, ReportInfo&> reports;
    RequireRead(store.SetMeasurement(measId), "measurement", store);
    for (_Recordset& row : Rows(store,
                                "SELECT ReportId FROM Reports WHERE GroupId=%d AND MeasId=%d "
                                "ORDER BY ReportType,ReportId",
                                groupId, measId)) {
        ReportInfo report;
        RequireRead(store._GetReport(row.Fields(0).Long(), report, nullptr), "reports", store);
        reports.Add(report);
    }
    return reports;
}

std::vector<MeasuredFunction> ReadFunctions(Mersola& store, std::int32_t groupId,
                                            std::int32_t measId, std::int32_t reportId) {
    std::vector<MeasuredFunction> functions;
    for (_Recordset& row :
         Rows(store,
              "SELECT f.Channel,f.FuncId,n.FuncName FROM MeasuredFunctions f LEFT JOIN FuncNameMap "
              "n "
              "ON n.FuncId=f.FuncId WHERE f.GroupId=%d AND f.MeasId=%d AND f.ReportId=%d "
              "ORDER BY f.Channel,f.FuncId",
              groupId, measId, reportId)) {
        MeasuredFunction function{row.Fields(0).Long(), row.Fields(1).Long(),
                                  std::string(row.Fields(2).Text())};
        if (function.name.empty()) function.name = std::to_string(function.id);
        functions.push_back(std::move(function));
    }
    return functions;
}

std::map<std::int32_t, std::string> ReadBandNames(Mersola& store) {
    std::map<std::int32_t, std::string> names;
    for (_Recordset& row : Rows(store, "SELECT FrqId,FrqName FROM FrqNameMap"))
        names[row.Fields(0).Long()] = std::string(row.Fields(1).Text());
    return names;
}

CArray<MarkerInfo, MarkerInfo&> ReadOpenMarkers(Mersola& store) {
    CArray<MarkerInfo, MarkerInfo&> markers;
    RequireRead(store.GetOpenMarkers(markers), "markers", store);
    return markers;
}

namespace {

constexpr std::string_view kTypographicApostrophe = "\u2019";

// Why a text cannot be stored; empty when it can. Texts stand between single quotes in statements.
std::string FaultOf(const std::string& text) {
    if (!IsUtf8(text)) return "it is no text in UTF-8";
    if (text.find('\'') != text.npos) {
        std::string other;
        for (const char c : text)
            other += c == '\'' ? std::string(kTypographicApostrophe) : std::string(1, c);
        return "it holds an apostrophe ('), the quote of statements; take the typographic one: " +
               Printable(Excerpt(other));
    }
    return Printable(text) == text ? "" : "it holds a line break or another control character";
}

void Refuse(const char* what, const char* how, const std::string& text, const std::string& fault) {
    throw Failure(std::string("the ") + what + " cannot be " + how + Quoted(Excerpt(text)) + "; " +
                  fault);
}

}  // namespace

void RequireName(const char* what, const std::string& name) {
    const std::string fault = name.empty() ? "a name holds at least one character" : FaultOf(name);
    if (!fault.empty()) Refuse(what, "named ", name, fault);
}

void RequireText(const char* what, const std::string& text) {
    if (const std::string fault = FaultOf(text); !fault.empty()) Refuse(what, "", text, fault);
}

std::int32_t Choose(const char* what, const std::string& asked,
                    const std::vector<Choice>& choices) {
    auto found = std::ranges::find_if(
        choices, [&](const Choice& choice) { return IsSameName(choice.name, asked); });
    if (found == choices.end())
        found = std::ranges::find_if(
            choices, [&](const Choice& choice) { return std::to_string(choice.id) == asked; });
    if (found != choices.end()) return found->id;
    const std::string none = std::string("there is no ") + what + " " + Quoted(asked);
    throw Failure(choices.empty() ? none + ", nor any other; see what there is with: mersola list"
                                  : none + "; choose one of: " + Listed(choices));
}

std::int32_t ChooseInstrument(Mersola& store, const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : ReadInstruments(store))
        choices.push_back({each.GroupId, std::string(each.GroupName)});
    const auto chosen = Choose("instrument", asked, choices);
    store.SetInstrument(chosen);
    return chosen;
}

std::int32_t ChooseMeasurement(Mersola& store, std::int32_t groupId, const std::string& asked) {
    std::vector<Choice> choices;
    for (const auto& each : ReadMeasurements(store, groupId))
        choices.push_back({each.MeasId, std::string(each.MeasName)});
    return Choose("measurement", asked, choices);
}

Deleted::Deleted()
    : Failure(
          "the measurement was deleted meanwhile, with what was stored of it; the same command "
          "begins anew") {}

void HoldReport(Mersola& store, std::int32_t groupId, std::int32_t measId, std::int32_t reportId,
                std::int32_t key) {
    const std::string where =
        Statement("GroupId=%d AND MeasId=%d AND ReportId=%d", groupId, measId, reportId);
    // Where a transaction does not keep all others from writing, the row is locked, as whoever
    // deletes it does before looking for values.
    if (!EngineOf(store).hasOneWriter)
        Query(store, "UPDATE Reports SET noOfPeriods=noOfPeriods WHERE %s", where.c_str());
    const auto stored =
        Query(store, "SELECT MeasValueId FROM MeasValueMap WHERE %s", where.c_str());
    if (stored->EndOfFile() || stored->Fields(0).Long() != key) throw Deleted();
}

}  // namespace mersola::tool
