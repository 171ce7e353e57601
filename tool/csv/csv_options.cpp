// The options of mersola export and mersola import.
#include "csv_commands.h"

#include <memory>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "csv_dialect.h"
#include "csv_lines.h"
#include "options/command_options.h"

namespace mersola::tool {
namespace {

std::optional<Align> ParseAlign(const std::string& text) {
    if (text == "nearest") return Align::Nearest;
    if (text == "floor") return Align::Floor;
    return std::nullopt;
}

std::optional<bool> ParseDecimal(const std::string& text) {
    if (text == "comma") return true;
    if (text == "point") return false;
    return std::nullopt;
}

std::optional<std::size_t> ParseLine(const std::string& text) {
    return ParseWithin<std::size_t>(text, 1, std::numeric_limits<std::size_t>::max());
}

}  // namespace

void AddExport(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<ExportOptions>();
    Command command(app, "export", "Write what a database holds as CSV");
    AddDatabase(command, given->database);
    const Option instrument = command.Text("--instrument", given->instrument,
                                           "Name or number of the only instrument [all]");
    const Option measurement = command.Text("--measurement", given->measurement,
                                            "Name or number of the only measurement [all]");
    measurement.Needs(instrument);
    command.Text("--report", given->report, "Number of the only report [all]").Needs(measurement);
    command.Parsed("--channel", given->channel, ParseCount<0>, "a number from 0",
                   "Number of the only channel [all]");
    command.Text("--function", given->function, "Name or number of the only function [all]");
    AddPeriods(command, given->periods);
    command.Flag("--wide", given->isWide, "A column for each band [a row for each value]");
    command.Flag("--plain", given->isPlain, "Begin with the line of column names");
    command.Text("-o,--output", given->file, "File to write, - for the output").Default("-");
    command.Run([=] {
        RequireForward(given->periods);
        Export(*given, streams.out);
    });
    command.Footer(
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
    Command command(app, "import", "Store what a CSV file holds");
    AddDatabase(command, given->database);
    AddTimeout(command, given->database);
    command.Text("FILE", given->file, "The file; - for the input").Required();
    command.Text("--instrument", given->instrument, "Instrument, if no column names it");
    command.Text("--measurement", given->measurement, "Measurement, likewise");
    command.Text("--report", given->report, "Number of the report, likewise")
        .Default(given->report);
    command.Text("--channel", given->channel, "Number of the channel, likewise")
        .Default(given->channel);
    const Option function = command.Text("--function", given->function, "Function, likewise");
    command.Text("--band", given->band, "Band, likewise").Default(given->band);
    command.Parsed("--period", given->period, ParsePeriod, kPeriodForm,
                   "Length of a period, as 125ms, 1s, 15min, 1h; likewise");
    command.Parsed("--start", given->start, ParseTime, kTimeForm,
                   "When a new measurement began [the time of its first row]");
    command
        .Parsed("--align", given->align, ParseAlign, "nearest or floor",
                "nearest or floor: a time belongs to the period that begins nearest to it, or "
                "to the\none that it lies in")
        .Default("nearest");
    command.Text(
        "--zone", given->zone,
        "Store times of UTC, or with a distance to it, as local ones of this time zone, as\n"
        "Europe/Berlin");
    const auto isMapping = [](const std::string& text) {
        const auto equals = text.find('=');
        return equals == 0 || equals >= text.size() - 1
                   ? Quoted(text) + " is not a column and its name in the file, as value=Laeq"
                   : std::string();
    };
    command
        .Texts("--column", given->columns,
               "COLUMN=NAME: the file calls a column, or that of a band, otherwise")
        .Check(isMapping);
    const Option functions = command.List(
        "--functions", given->functions,
        "Columns that hold a function each, between commas; NAME=HEADING for another name");
    const Option bands =
        command.List("--bands", given->bands, "Columns that hold a band each, between commas");
    const Option wide =
        command.Flag("--wide", given->isWide, "Every column without another meaning is a band");
    functions.Excludes(function).Excludes(bands).Excludes(wide);
    command.Flag("--band-numbers", given->areBandNumbers,
                 "A bare number is that of a band [its frequency in Hz]");
    command.Parsed("--separator", given->separator, ParseSeparator, "comma, semicolon or tab",
                   "comma, semicolon or tab: what stands between fields [seen in the file]");
    command.Parsed("--decimal", given->hasDecimalComma, ParseDecimal, "comma or point",
                   "comma or point: what stands before decimals [seen in the file]");
    command.Parsed("--times", given->times, ParseTimeForm, "ymd, dmy, mdy or epoch",
                   "ymd, dmy, mdy or epoch: the order in dates, or seconds since 1970 "
                   "[seen in the file]");
    command.Parsed("--heading", given->heading, ParseLine, "the number of a line, from 1",
                   "Line of the column names [the first that has those needed]");
    command.Texts("--missing", given->missing,
                  "What stands where there is no value [nothing, or dashes]");
    command.Text("--encoding", given->encoding, "Encoding of the file, as latin1")
        .Default(given->encoding)
        .Check([](const std::string& text) {
            return LineReader::IsReadable(text)
                       ? std::string()
                       : Quoted(text) +
                             " is no encoding that can be read, as utf-8, latin1 or windows-1252";
        });
    command.Run([=] { Import(*given, streams.out, streams.terminal); });
    command.Footer(
        "Columns: Instrument, Measurement, Report, Length (of a period), Period or Date and Time, "
        "Channel,\n"
        "Function, Band, Value, Status; in any order and case, others are passed over. A file "
        "without Value\n"
        "has a column for each band or function. A day of levels that a meter wrote as "
        "Date;Time;Laeq;Lmax:\n"
        "  mersola import my.db day.csv --functions LAeq=Laeq,Lmax \\\n"
        "      --instrument 'Pier 4' --measurement Monday --period 1s\n"
        "and its spectra as Stamp,31.5,63Hz,1k:\n"
        "  mersola import my.db spectra.csv --column time=Stamp --wide --function Leq \\\n"
        "      --instrument 'Pier 4' --measurement Monday --period 1s\n"
        "What is new is registered, what is there is added to. A value that is stored already is "
        "passed\n"
        "over; one that differs from what is stored ends the import, as every error does. A file "
        "goes in\n"
        "piece by piece, so that recorders get in between: the pieces before the error are stored, "
        "and the\n"
        "same command goes on behind them, as it does after any interruption.");
}

}  // namespace mersola::tool
