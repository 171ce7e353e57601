// The options of the commands that show what is stored.
#include "show.h"

#include <memory>

#include "basics/times_text.h"
#include "options/command_options.h"

namespace mersola::tool {
namespace {

// "3..7"
std::optional<MarkersOptions::Periods> ParsePeriods(const std::string& text) {
    const auto dots = text.find("..");
    if (dots == text.npos) return std::nullopt;
    const auto first = ParseCount<0>(text.substr(0, dots)),
               last = ParseCount<0>(text.substr(dots + 2));
    if (!first || !last || *first > *last) return std::nullopt;
    return MarkersOptions::Periods{*first, *last};
}

}  // namespace

void AddList(CLI::App& app, const Streams& streams) {
    Command command(app, "list", "Show what a database holds");
    struct Given {
        DatabaseArgument database;
        bool isContinuous = false;
    };
    const auto given = std::make_shared<Given>();
    AddDatabase(command, given->database);
    command.Flag("--continuous", given->isContinuous, "Each instrument's measurements read as one");
    command.Run([=] { List(given->database, given->isContinuous, streams.out); });
    command.Footer("Numbers in brackets select as well as names do.");
}

void AddValues(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ValuesOptions>();
    Command command(app, "values", "Show stored values, periods by bands");
    AddDatabase(command, given->database);
    const Option continuous = AddSelection(command, *given);
    const Option function =
        command.Text("--function", given->function, "Name or number of the function")
            .Default(given->function);
    command
        .Flag("--all-functions", given->allFunctions,
              "Every function of the channel, a row for each")
        .Excludes(function)
        .Excludes(continuous);
    AddPeriods(command, given->periods);
    command.Flag("--csv", given->csv, "Comma-separated values with all decimals");
    command.Footer("A value that is missing or invalid shows as --, and in CSV as an empty field.");
    command.Run([=] {
        RequireMeasurement(*given);
        RequireForward(given->periods);
        Values(*given, streams.out);
    });
}

void AddGaps(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<GapsOptions>();
    Command command(app, "gaps",
                    "Show where measurements meet or leave gaps, and where values are missing");
    AddDatabase(command, given->database);
    command.Text("--instrument", given->instrument, "Name or number of the instrument").Required();
    command.Text("--report", given->report, "Type of the report [the first]");
    command.Flag("--csv", given->csv, "Comma-separated values");
    command.Footer(
        "Periods are numbered across the measurements, as with values --continuous. Where two "
        "overlap,\n"
        "the values of the earlier one are shown. A hole is a stretch of a measurement without "
        "values; the\n"
        "last column says for how much of the time there are some, invalid ones included. A "
        "stretch ends\nwhere its last period does.");
    command.Run([=] { Gaps(*given, streams.out); });
}

void AddMarkers(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<MarkersOptions>();
    Command command(app, "markers", "Show the markers of a measurement");
    AddDatabase(command, given->database);
    command.Text("--instrument", given->instrument, "Name or number of the instrument").Required();
    command.Text("--measurement", given->measurement, "Name or number of the measurement")
        .Required();
    const Option from = command.Parsed("--from", given->from, ParseTimeOrDate, kTimeOrDateForm,
                                       "Only those that start at this time or later");
    const Option to = command.Parsed("--to", given->to, ParseTimeOrDate, kTimeOrDateForm,
                                     "Only those that start before this time");
    const Option periods =
        command
            .Parsed("--periods", given->periods, ParsePeriods, "a range of periods, as 0..99",
                    "Only those that start in periods A..B")
            .Excludes(from)
            .Excludes(to);
    command.Text("--report", given->report, "Number of the report of the periods [the first]")
        .Needs(periods);
    command.Text("--type", given->type, "Only those with this type in their condition");
    command.Flag("--open", given->isOpen, "Those that were never closed, as after a crash")
        .Excludes(from)
        .Excludes(to)
        .Excludes(periods);
    command.Flag("--csv", given->csv, "Comma-separated values");
    command.Footer("Open markers are shown with --open only.");
    command.Run([=] {
        RequireForward(given->from, given->to);
        ShowMarkers(*given, streams.out);
    });
}

}  // namespace mersola::tool
