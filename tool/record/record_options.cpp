// The options of mersola record.
#include "record.h"

#include <algorithm>
#include <memory>

#include "basics/times_text.h"
#include "options/command_options.h"
#include "trigger.h"

namespace mersola::tool {
namespace {

// Six decimals are stored.
std::optional<double> ParsePositive(const std::string& text) {
    return ParseWithin(text, 1e-6, 1e9);
}

// Per cents between commas, each once.
std::optional<std::vector<float>> ParsePercentiles(const std::string& text) {
    std::vector<float> percentiles;
    for (std::size_t begin = 0, end = 0; end < text.size(); begin = end + 1) {
        end = std::min(text.find(',', begin), text.size());
        const auto number = ParseWithin(text.substr(begin, end - begin), 0.0F, 100.0F);
        if (!number || std::ranges::count(percentiles, *number) != 0) return std::nullopt;
        percentiles.push_back(*number + 0.0F);  // not the zero that has a sign
    }
    if (percentiles.empty()) return std::nullopt;
    return percentiles;
}

}  // namespace

void AddRecord(CLI::App& app, const Streams& streams) {
    constexpr const char* positive = "a number from 0.000001 to 1000000000";
    const auto given = std::make_shared<RecordOptions>();
    Command command(app, "record", "Record a sound file as a measurement");
    AddDatabase(command, given->database);
    AddTimeout(command, given->database);
    command.Text("FILE", given->file, "The sound file: WAV, FLAC and others").Required();
    command.Text("--instrument", given->instrument, "Name of the instrument").Required();
    command
        .Text("--measurement", given->measurement,
              "Name of the measurement; one that exists is continued")
        .Required();
    command
        .Parsed("--period", given->period, ParsePeriod, kPeriodForm,
                "Length of a period, as 125ms, 1s, 15min, 1h")
        .Default("125ms");
    command.Parsed("--start", given->start, ParseTime, kTimeForm,
                   "When the sound began, as '2026-11-15 07:30:12.045' [now]");
    command
        .Parsed("--sensitivity", given->sensitivity, ParsePositive, positive,
                "Of the sensor, in V/Pa; stored with the measurement")
        .Default("1");
    command
        .Parsed("--fullscale", given->fullscale, ParsePositive, positive,
                "Peak pressure in Pa of the loudest sound that the file can hold")
        .Default("1");
    command.Parsed(
        "--percentiles", given->percentiles, ParsePercentiles,
        "a list of per cents from 0 to 100, as 10,50,90",
        "Levels to store that are exceeded for parts of the time, in per cent [10,50,90]");
    const Option trigger = command.Parsed(
        "--trigger", given->trigger, ParseTrigger, "a trigger, as LAeq>65 or 'Leq[1 kHz]>60'",
        "Mark where a level exceeds so many dB, as LAeq>65 or 'Leq[1 kHz]>60'");
    command
        .Parsed("--hold", given->hold, ParsePeriod, "a time from 1ms to 24h, as 500ms",
                "How long the level must stay down before a marker ends")
        .Default("500ms")
        .Needs(trigger);
    command.Text("--state", given->state, "State to give the instrument [as it is]");
    command.Footer(
        "Per period and channel it stores Leq, Lmax and Lmin for each third-octave band from 25 Hz "
        "to\n"
        "20 kHz that the file's sample rate carries, and LAeq and the percentiles of the "
        "A-weighted whole.\n"
        "Levels are in dB re 20 uPa: a full-scale sine of --fullscale 1 reads 91.0 dB.");
    command.Run([=] { Record(*given, streams.out, streams.terminal); });
}

}  // namespace mersola::tool
