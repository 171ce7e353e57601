// The options of each command, and what becomes of what the commands raise.
#include "cli.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <iostream>
#include <limits>
#include <optional>
#include <ranges>

#include <mersola/platform/com_error.h>

#include "commands.h"
#include "failure.h"
#include "times_text.h"
#include "trigger.h"

namespace mersola::tool {
namespace {

constexpr const char* kPurpose =
    "Stores what monitoring instruments measure, period by period, and reads it back.";

CLI::Option* AddDatabase(CLI::App& command, std::string& path) {
    return command.add_option("DB", path, "The database, a SQLite file")->required();
}

// The whole text as a number, whatever the locale, if it lies within the limits.
template <class Number>
std::optional<Number> ParseNumber(const std::string& text, Number least, Number most) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || !(number >= least && number <= most))
        return std::nullopt;
    return number;
}

// Six decimals are stored.
std::optional<double> ParsePositive(const std::string& text) {
    return ParseNumber(text, 1e-6, 1e9);
}

// Stored periods are counted with 32 bits.
template <std::int32_t kLeast>
std::optional<std::int32_t> ParseCount(const std::string& text) {
    return ParseNumber(text, kLeast, std::numeric_limits<std::int32_t>::max());
}

// Per cents between commas, each once.
std::optional<std::vector<float>> ParsePercentiles(const std::string& text) {
    std::vector<float> percentiles;
    for (const auto part : std::views::split(text, ',')) {
        const auto number = ParseNumber(std::string(part.begin(), part.end()), 0.0F, 100.0F);
        if (!number || std::ranges::count(percentiles, *number) != 0) return std::nullopt;
        percentiles.push_back(*number + 0.0F);  // not the zero that has a sign
    }
    if (percentiles.empty()) return std::nullopt;
    return percentiles;
}

// "3..7"
std::optional<MarkersOptions::Periods> ParsePeriods(const std::string& text) {
    const auto dots = text.find("..");
    if (dots == text.npos) return std::nullopt;
    const auto first = ParseCount<0>(text.substr(0, dots)),
               last = ParseCount<0>(text.substr(dots + 2));
    if (!first || !last || *first > *last) return std::nullopt;
    return MarkersOptions::Periods{*first, *last};
}

// An option whose text is parsed into `target`; `form`: what the text has to be.
template <class Target, class Parse>
CLI::Option* AddParsed(CLI::App& command, const char* name, Target& target, Parse parse,
                       const char* form, const char* description) {
    return command
        .add_option_function<std::string>(
            name, [&target, parse](const std::string& text) { target = *parse(text); }, description)
        ->check([=](const std::string& text) {
            return parse(text) ? std::string() : Quoted(text) + " is not " + form;
        });
}

void AddInit(CLI::App& app, std::ostream& out) {
    auto* command = app.add_subcommand("init", "Lay out a new database");
    auto path = std::make_shared<std::string>();
    AddDatabase(*command, *path);
    command->callback([=, &out] { Init(*path, out); });
    command->footer("A file that exists is refused, unless it is an empty database.");
}

void AddRecord(CLI::App& app, std::ostream& out, std::ostream* terminal) {
    constexpr const char* positive = "a number from 0.000001 to 1000000000";
    const auto given = std::make_shared<RecordOptions>();
    auto* command = app.add_subcommand("record", "Record a sound file as a measurement");
    AddDatabase(*command, given->database);
    command->add_option("FILE", given->file, "The sound file: WAV, FLAC and others")->required();
    command->add_option("--instrument", given->instrument, "Name of the instrument")->required();
    command
        ->add_option("--measurement", given->measurement,
                     "Name of the measurement; one that exists is continued")
        ->required();
    AddParsed(*command, "--period", given->period, ParsePeriod,
              "a period from 1ms to 24h, as 125ms or 15min",
              "Length of a period, as 125ms, 1s, 15min, 1h")
        ->default_str("125ms");
    AddParsed(*command, "--start", given->start, ParseTime, "a time, as '2026-11-15 07:30:12.045'",
              "When the sound began, as '2026-11-15 07:30:12.045' [now]");
    AddParsed(*command, "--sensitivity", given->sensitivity, ParsePositive, positive,
              "Of the sensor, in V/Pa; stored with the measurement")
        ->default_str("1");
    AddParsed(*command, "--fullscale", given->fullscale, ParsePositive, positive,
              "Peak pressure in Pa of the loudest sound that the file can hold")
        ->default_str("1");
    AddParsed(*command, "--percentiles", given->percentiles, ParsePercentiles,
              "a list of per cents from 0 to 100, as 10,50,90",
              "Levels to store that are exceeded for parts of the time, in per cent [10,50,90]");
    auto* trigger =
        AddParsed(*command, "--trigger", given->trigger, ParseTrigger,
                  "a trigger, as LAeq>65 or 'Leq[1 kHz]>60'",
                  "Mark where a level exceeds so many dB, as LAeq>65 or 'Leq[1 kHz]>60'");
    AddParsed(*command, "--hold", given->hold, ParsePeriod, "a time from 1ms to 24h, as 500ms",
              "How long the level must stay down before a marker ends")
        ->default_str("500ms")
        ->needs(trigger);
    command->add_option("--state", given->state, "State to give the instrument [as it is]");
    command->footer(
        "Per period and channel it stores Leq, Lmax and Lmin for each third-octave band from 25 Hz "
        "to\n"
        "20 kHz that the file's sample rate carries, and LAeq and the percentiles of the "
        "A-weighted whole.\n"
        "Levels are in dB re 20 uPa: a full-scale sine of --fullscale 1 reads 91.0 dB.");
    command->callback([=, &out] { Record(*given, out, terminal); });
}

void AddList(CLI::App& app, std::ostream& out) {
    auto* command = app.add_subcommand("list", "Show what a database holds");
    struct Given {
        std::string path;
        bool isContinuous = false;
    };
    const auto given = std::make_shared<Given>();
    AddDatabase(*command, given->path);
    command->add_flag("--continuous", given->isContinuous,
                      "Each instrument's measurements read as one");
    command->callback([=, &out] { List(given->path, given->isContinuous, out); });
    command->footer("Numbers in brackets select as well as names do.");
}

void AddValues(CLI::App& app, std::ostream& out) {
    const auto given = std::make_shared<ValuesOptions>();
    auto* command = app.add_subcommand("values", "Show stored values, periods by bands");
    AddDatabase(*command, given->database);
    command->add_option("--instrument", given->instrument, "Name or number of the instrument")
        ->required();
    auto* measurement = command->add_option("--measurement", given->measurement,
                                            "Name or number of the measurement");
    auto* continuous = command->add_flag("--continuous", given->isContinuous,
                                         "All measurements of the instrument, read as one");
    continuous->excludes(measurement);
    command->add_option("--report", given->report,
                        "Number of the report, with --continuous its type [the first]");
    command->add_option("--channel", given->channel, "Number of the channel")
        ->capture_default_str();
    auto* function =
        command->add_option("--function", given->function, "Name or number of the function")
            ->capture_default_str();
    command
        ->add_flag("--all-functions", given->allFunctions,
                   "Every function of the channel, a row for each")
        ->excludes(function)
        ->excludes(continuous);
    AddParsed(*command, "--from", given->from, ParseCount<0>, "a number from 0",
              "The first period to show [the first stored]");
    AddParsed(*command, "--count", given->count, ParseCount<1>, "a number from 1",
              "How many periods to show [all]");
    command->add_flag("--csv", given->csv, "Comma-separated values with all decimals");
    command->footer(
        "A value that is missing or invalid shows as --, and in CSV as an empty field.");
    command->callback([=, &out] {
        if (given->measurement.empty() && !given->isContinuous)
            throw CLI::RequiredError("--measurement or --continuous");
        Values(*given, out);
    });
}

void AddGaps(CLI::App& app, std::ostream& out) {
    const auto given = std::make_shared<GapsOptions>();
    auto* command =
        app.add_subcommand("gaps", "Show where an instrument's measurements meet or leave gaps");
    AddDatabase(*command, given->database);
    command->add_option("--instrument", given->instrument, "Name or number of the instrument")
        ->required();
    command->add_option("--report", given->report, "Type of the report [the first]");
    command->add_flag("--csv", given->csv, "Comma-separated values");
    command->footer(
        "Periods are numbered across the measurements, as with values --continuous. Where two "
        "overlap,\n"
        "the values of the earlier one are shown. A stretch ends where its last period does.");
    command->callback([=, &out] { Gaps(*given, out); });
}

void AddMarkers(CLI::App& app, std::ostream& out) {
    constexpr const char* time = "a time, as '2026-11-15 07:30:12.045'";
    const auto given = std::make_shared<MarkersOptions>();
    auto* command = app.add_subcommand("markers", "Show the markers of a measurement");
    AddDatabase(*command, given->database);
    command->add_option("--instrument", given->instrument, "Name or number of the instrument")
        ->required();
    command->add_option("--measurement", given->measurement, "Name or number of the measurement")
        ->required();
    auto* from = AddParsed(*command, "--from", given->from, ParseTime, time,
                           "Only those that start at this time or later");
    auto* to = AddParsed(*command, "--to", given->to, ParseTime, time,
                         "Only those that start before this time");
    auto* periods =
        AddParsed(*command, "--periods", given->periods, ParsePeriods,
                  "a range of periods, as 0..99", "Only those that start in periods A..B")
            ->excludes(from)
            ->excludes(to);
    command
        ->add_option("--report", given->report, "Number of the report of the periods [the first]")
        ->needs(periods);
    command->add_option("--type", given->type, "Only those with this type in their condition");
    command->add_flag("--open", given->isOpen, "Those that were never closed, as after a crash")
        ->excludes(from)
        ->excludes(to)
        ->excludes(periods);
    command->add_flag("--csv", given->csv, "Comma-separated values");
    command->footer("Open markers are shown with --open only.");
    command->callback([=, &out] { ShowMarkers(*given, out); });
}

void AddVersion(CLI::App& app, std::ostream& out) {
    const auto given = std::make_shared<VersionOptions>();
    auto* command =
        app.add_subcommand("version", "Show how the version history of a database begins");
    AddDatabase(*command, given->database);
    auto* added = command->add_option("--add", given->added, "A version to append to the history");
    command->add_option("--info", given->info, "What that version is")->needs(added);
    command->callback([=, &out] { Version(*given, out); });
}

// What the command line lacks, and where the help on it is.
std::string UsageLine(const CLI::App& app, const CLI::ParseError& error) {
    const auto commands = app.get_subcommands();
    if (!commands.empty())
        return std::string(error.what()) + "; see mersola " + commands.front()->get_name() +
               " --help";
    const auto others = app.remaining();
    return (others.empty() ? "no command is given"
                           : "there is no command " + Quoted(others.front())) +
           "; see mersola --help";
}

int Fail(std::ostream& err, const std::string& line, int status) {
    err << "mersola: " << Printable(line) << std::endl;
    return status;
}

}  // namespace

int RunTool(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    const bool isOnTerminal = &err == &std::cerr && isatty(STDERR_FILENO) == 1;
    CLI::App app(kPurpose, "mersola");
    app.set_version_flag("--version", "mersola " MERSOLA_VERSION, "Show the version");
    app.set_help_flag("-h,--help", "Show this help");
    app.require_subcommand(1);
    app.footer("Help on a command: mersola COMMAND --help");
    AddInit(app, out);
    AddRecord(app, out, isOnTerminal ? &err : nullptr);
    AddList(app, out);
    AddValues(app, out);
    AddGaps(app, out);
    AddMarkers(app, out);
    AddVersion(app, out);
    try {
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) return Fail(err, UsageLine(app, error), 2);
            app.exit(error, out, err);  // prints the help or the version
        }
        out.flush();
        RequireWritten(out);
        return 0;
    } catch (const Failure& failure) {
        return Fail(err, failure.what(), failure.Status());
    } catch (const _com_error& error) {
        return Fail(err,
                    "the database refused (" + std::string(error.what()) +
                        "); check that it is whole and try again",
                    1);
    } catch (const std::exception& error) {
        return Fail(err, std::string("unexpected: ") + error.what() + "; please report this", 1);
    }
}

}  // namespace mersola::tool
