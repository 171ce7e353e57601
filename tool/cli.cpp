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

// Where the commands write.
struct Streams {
    std::ostream& out;
    std::ostream& err;
    std::ostream* terminal;  // null when there is none
};

constexpr const char* kDatabase = "a SQLite file, or a connection string 'Provider=...'";

CLI::Option* AddUser(CLI::App& command, const std::string& prefix, std::string& user,
                     const std::string& whose) {
    return command.add_option("--" + prefix + "user", user, "Who logs in to a server" + whose);
}

CLI::Option* AddPasswordFile(CLI::App& command, const std::string& prefix, std::string& path,
                             const std::string& whose) {
    return command.add_option("--" + prefix + "password-file", path,
                              "File with the password in its first line" + whose + " [ask for it]");
}

void AddDatabase(CLI::App& command, DatabaseArgument& argument) {
    command.add_option("DB", argument.text, std::string("The database: ") + kDatabase)->required();
    AddUser(command, "", argument.user, "");
    AddPasswordFile(command, "", argument.passwordFile, "");
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

// In pixels.
template <int kLeast>
std::optional<int> ParseSize(const std::string& text) {
    return ParseNumber(text, kLeast, 10000);
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

void AddInit(CLI::App& app, const Streams& streams) {
    auto* command = app.add_subcommand("init", "Lay out a new database");
    auto database = std::make_shared<DatabaseArgument>();
    AddDatabase(*command, *database);
    command->callback([=] { Init(*database, streams.out, streams.err); });
    command->footer(
        "A file that exists is refused, unless it is an empty database, and a server's database "
        "that has\n"
        "one of the tables.");
}

void AddRecord(CLI::App& app, const Streams& streams) {
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
    command->callback([=] { Record(*given, streams.out, streams.terminal); });
}

void AddList(CLI::App& app, const Streams& streams) {
    auto* command = app.add_subcommand("list", "Show what a database holds");
    struct Given {
        DatabaseArgument database;
        bool isContinuous = false;
    };
    const auto given = std::make_shared<Given>();
    AddDatabase(*command, given->database);
    command->add_flag("--continuous", given->isContinuous,
                      "Each instrument's measurements read as one");
    command->callback([=] { List(given->database, given->isContinuous, streams.out); });
    command->footer("Numbers in brackets select as well as names do.");
}

// Whose values are meant; returns the option for the continuous view.
CLI::Option* AddSelection(CLI::App& command, SelectionOptions& given) {
    command.add_option("--instrument", given.instrument, "Name or number of the instrument")
        ->required();
    auto* measurement =
        command.add_option("--measurement", given.measurement, "Name or number of the measurement");
    auto* continuous = command.add_flag("--continuous", given.isContinuous,
                                        "All measurements of the instrument, read as one");
    continuous->excludes(measurement);
    command.add_option("--report", given.report,
                       "Number of the report, with --continuous its type [the first]");
    command.add_option("--channel", given.channel, "Number of the channel")->capture_default_str();
    return continuous;
}

void RequireMeasurement(const SelectionOptions& given) {
    if (given.measurement.empty() && !given.isContinuous)
        throw CLI::RequiredError("--measurement or --continuous");
}

void AddValues(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ValuesOptions>();
    auto* command = app.add_subcommand("values", "Show stored values, periods by bands");
    AddDatabase(*command, given->database);
    auto* continuous = AddSelection(*command, *given);
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
    command->callback([=] {
        RequireMeasurement(*given);
        Values(*given, streams.out);
    });
}

void AddPlot(CLI::App& app, const Streams& streams) {
    constexpr const char* time = "a time, as '2026-11-15 07:30:12.045'";
    const auto given = std::make_shared<PlotOptions>();
    auto* command = app.add_subcommand("plot", "Draw levels, spectra and markers over time");
    AddDatabase(*command, given->database);
    AddSelection(*command, *given);
    command
        ->add_option("--function", given->functions,
                     "Name or number of a function to draw; can be given several times [LAeq, Leq]")
        ->allow_extra_args(false);
    AddParsed(*command, "--from", given->from, ParseTime, time,
              "When the picture begins [with the first period stored]");
    AddParsed(*command, "--to", given->to, ParseTime, time, "When it ends [with the last period]");
    command->add_option("-o,--output", given->file, "The picture to make: .svg, .png or .html")
        ->required()
        ->check([](const std::string& path) {
            return PictureFormOf(path) ? std::string()
                                       : Quoted(path) + " does not end in .svg, .png or .html";
        });
    AddParsed(*command, "--width", given->width, ParseSize<600>, "a number from 600 to 10000",
              "In pixels")
        ->default_str(std::to_string(given->width));
    AddParsed(*command, "--height", given->height, ParseSize<400>, "a number from 400 to 10000",
              "In pixels")
        ->default_str(std::to_string(given->height));
    command->footer(
        "Functions of the whole signal are drawn as lines, one with frequency bands as a "
        "spectrogram below.\n"
        "Where nothing is stored, the line breaks and the ground is grey. Of a long time each "
        "column of\n"
        "pixels shows the mean, of levels that of the energy, and lines their extremes as a shade. "
        "gnuplot\n"
        "does the drawing.");
    command->callback([=] {
        RequireMeasurement(*given);
        Plot(*given, streams.out, streams.terminal);
    });
}

void AddGaps(CLI::App& app, const Streams& streams) {
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
    command->callback([=] { Gaps(*given, streams.out); });
}

void AddMarkers(CLI::App& app, const Streams& streams) {
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
    command->callback([=] { ShowMarkers(*given, streams.out); });
}

void AddCopy(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<CopyOptions>();
    auto* command = app.add_subcommand("copy", "Copy measurements into another database");
    command->add_option("FROM", given->from.text, std::string("The source: ") + kDatabase)
        ->required();
    command->add_option("TO", given->to.text, "The target, likewise; it must be laid out")
        ->required();
    command->add_option("--instrument", given->instrument,
                        "Name or number of the only instrument to copy [all]");
    command->add_flag("--verify", given->verify,
                      "Then read all of it again, and compare value by value");
    AddUser(*command, "", given->from.user, "");
    AddPasswordFile(*command, "", given->from.passwordFile, "");
    auto* user = AddUser(*command, "to-", given->to.user, ", where that of TO is another one");
    auto* file = AddPasswordFile(*command, "to-", given->to.passwordFile, ", likewise");
    command->callback([=] {
        if (user->count() == 0 && file->count() == 0) {
            given->to.user = given->from.user;
            given->to.passwordFile = given->from.passwordFile;
        }
        Copy(*given, streams.out, streams.terminal);
    });
    command->footer(
        "Only what TO lacks is copied, a source that is still being recorded up to now: the same "
        "command\n"
        "goes on after an interruption, and brings what is new another time. Instruments and "
        "measurements\n"
        "are the same when their names are. An instrument and a name that TO has stay as they are "
        "there;\n"
        "the settings of a measurement follow the source. The version history is not copied.");
}

void AddCheck(CLI::App& app, const Streams& streams, int& status) {
    const auto given = std::make_shared<DatabaseArgument>();
    auto* command = app.add_subcommand("check", "Find what must never be in a database");
    AddDatabase(*command, *given);
    command->callback([=, &status] { status = Check(*given, streams.out) ? 0 : 1; });
    command->footer(
        "A line for each finding, and a last one with their number; the exit status is 1 if there "
        "is any.\n"
        "Nothing is written. While something is recorded, an event that goes on shows as an open "
        "marker.\n"
        "Measurements that overlap are none of it: mersola gaps shows them.");
}

void AddExport(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ExportOptions>();
    auto* command = app.add_subcommand("export", "Write what a database holds as CSV");
    AddDatabase(*command, given->database);
    auto* instrument = command->add_option("--instrument", given->instrument,
                                           "Name or number of the only instrument [all]");
    auto* measurement = command->add_option("--measurement", given->measurement,
                                            "Name or number of the only measurement [all]");
    measurement->needs(instrument);
    command->add_option("--report", given->report, "Number of the only report [all]")
        ->needs(measurement);
    AddParsed(*command, "--channel", given->channel, ParseCount<0>, "a number from 0",
              "Number of the only channel [all]");
    command->add_option("--function", given->function, "Name or number of the only function [all]");
    AddParsed(*command, "--from", given->from, ParseCount<0>, "a number from 0",
              "The first period [the first stored]");
    AddParsed(*command, "--count", given->count, ParseCount<1>, "a number from 1",
              "How many periods from then on [all]");
    command->add_flag("--wide", given->isWide, "A column for each band [a row for each value]");
    command->add_flag("--plain", given->isPlain, "Begin with the line of column names");
    command->add_option("-o,--output", given->file, "File to write, - for the output")
        ->default_str("-");
    command->callback([=] { Export(*given, streams.out); });
    command->footer(
        "Rows go by report, channel, function and period. In front of the column names stand lines "
        "that\n"
        "begin with #: names, settings and markers, with which mersola import makes the same "
        "database.\n"
        "Without them (--plain) it stores the values alone. The status is A where a value is "
        "invalid; a\n"
        "value without a number shows as null, an infinite one as inf or -inf, and a function, "
        "band or\n"
        "instrument without a name of its own as its number, like #12.");
}

void AddImport(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ImportOptions>();
    auto* command = app.add_subcommand("import", "Store what a CSV file holds");
    AddDatabase(*command, given->database);
    command->add_option("FILE", given->file, "The file, in UTF-8; - for the input")->required();
    command->add_option("--instrument", given->instrument, "Instrument, if no column names it");
    command->add_option("--measurement", given->measurement, "Measurement, likewise");
    command->add_option("--report", given->report, "Number of the report, likewise")
        ->capture_default_str();
    command->add_option("--channel", given->channel, "Number of the channel, likewise")
        ->capture_default_str();
    command->add_option("--function", given->function, "Function, likewise");
    command->add_option("--band", given->band, "Band, likewise")->capture_default_str();
    AddParsed(*command, "--period", given->period, ParsePeriod,
              "a period from 1ms to 24h, as 125ms or 15min",
              "Length of a period, as 125ms, 1s, 15min, 1h; likewise");
    AddParsed(*command, "--start", given->start, ParseTime, "a time, as '2026-11-15 07:30:12.045'",
              "When a new measurement began [the time of its first row]");
    const auto isMapping = [](const std::string& text) {
        const auto equals = text.find('=');
        return equals == 0 || equals == text.npos
                   ? Quoted(text) + " is not a column and its name in the file, as value=Laeq"
                   : std::string();
    };
    command
        ->add_option("--column", given->columns,
                     "COLUMN=NAME: the file calls a column, or that of a band, otherwise")
        ->allow_extra_args(false)
        ->check(isMapping);
    command->add_option("--bands", given->bands, "Columns that hold a band each, between commas")
        ->delimiter(',')
        ->allow_extra_args(false);
    command->add_flag("--wide", given->isWide, "Every column without another meaning is a band");
    command->callback([=] { Import(*given, streams.out, streams.terminal); });
    command->footer(
        "Columns: Instrument, Measurement, Report, Length (of a period), Period or Time, Channel, "
        "Function,\n"
        "Band, Value, Status; in any order and case, others are passed over. A file without Value "
        "has a\n"
        "column for each band. A day of levels that a meter wrote as Date,Laeq:\n"
        "  mersola import my.db day.csv --column time=Date --column value=Laeq --function LAeq \\\n"
        "      --instrument 'Pier 4' --measurement Monday --period 1s\n"
        "and its spectra as Date,31.5 Hz,63 Hz,125 Hz:\n"
        "  mersola import my.db spectra.csv --column time=Date --wide --function Leq \\\n"
        "      --instrument 'Pier 4' --measurement Monday --period 1s\n"
        "What is new is registered, what is there is added to. A value that is stored already is "
        "passed\n"
        "over; one that differs from what is stored ends the import, as every error does: then "
        "nothing of\n"
        "the file is stored. All of it is one transaction, so that recorders wait until it is "
        "done.");
}

void AddVersion(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<VersionOptions>();
    auto* command =
        app.add_subcommand("version", "Show how the version history of a database begins");
    AddDatabase(*command, given->database);
    auto* added = command->add_option("--add", given->added, "A version to append to the history");
    command->add_option("--info", given->info, "What that version is")->needs(added);
    command->callback([=] { Version(*given, streams.out); });
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

// The connection strings on the command line that hold a password, which others can see there.
std::vector<std::string> RevealingArguments(int argc, const char* const* argv) {
    std::vector<std::string> found;
    std::copy_if(argv, argv + argc, std::back_inserter(found),
                 [](const char* argument) { return WithoutPassword(argument) != argument; });
    return found;
}

// The parser quotes what it cannot make sense of.
std::string Hidden(std::string line, const std::vector<std::string>& revealing) {
    for (const std::string& argument : revealing) {
        const std::string shown = WithoutPassword(argument);
        for (auto at = line.find(argument); at != line.npos; at = line.find(argument, at)) {
            line.replace(at, argument.size(), shown);
            at += shown.size();
        }
    }
    return line;
}

}  // namespace

int RunTool(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    const auto revealing = RevealingArguments(argc, argv);
    if (!revealing.empty())
        err << "mersola: warning: others can see a password on the command line; leave it out to "
               "be "
               "asked for it, or give a --password-file\n";
    const auto fail = [&](const std::string& line, int status) {
        err << "mersola: " << Printable(Hidden(line, revealing)) << std::endl;
        return status;
    };
    const bool isOnTerminal = &err == &std::cerr && isatty(STDERR_FILENO) == 1;
    CLI::App app(kPurpose, "mersola");
    app.set_version_flag("--version", "mersola " MERSOLA_VERSION, "Show the version");
    app.set_help_flag("-h,--help", "Show this help");
    app.require_subcommand(1);
    app.footer(
        "Help on a command: mersola COMMAND --help\n\n"
        "DB is a SQLite file, or the connection string of a server, which begins with Provider=, "
        "Driver=,\n"
        "DSN= or the like: 'Provider=MSOLEDBSQL;Data Source=HOST;Initial Catalog=NAME'. A file of "
        "such a\n"
        "name can be given as ./NAME. The password of --user is asked for on the terminal, or "
        "read with\n"
        "--password-file; what stands on a command line, others can see.");
    const Streams streams{out, err, isOnTerminal ? &err : nullptr};
    AddInit(app, streams);
    AddRecord(app, streams);
    AddList(app, streams);
    AddValues(app, streams);
    AddPlot(app, streams);
    AddGaps(app, streams);
    AddMarkers(app, streams);
    AddCopy(app, streams);
    AddExport(app, streams);
    AddImport(app, streams);
    int status = 0;  // of a command that did its work
    AddCheck(app, streams, status);
    AddVersion(app, streams);
    try {
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            if (error.get_exit_code() != 0) return fail(UsageLine(app, error), 2);
            app.exit(error, out, err);  // prints the help or the version
        }
        out.flush();
        RequireWritten(out);
        return status;
    } catch (const Failure& failure) {
        return fail(failure.what(), failure.Status());
    } catch (const _com_error& error) {
        return fail("the database refused (" + std::string(error.what()) +
                        "); check that it is whole and try again",
                    1);
    } catch (const std::exception& error) {
        return fail(std::string("unexpected: ") + error.what() + "; please report this", 1);
    }
}

}  // namespace mersola::tool
