// The options of mersola indices.
#include <array>
#include <charconv>
#include <cmath>
#include <memory>

#include "indices.h"
#include "options/command_options.h"

namespace mersola::tool {
namespace {

template <class Value, std::size_t kCount>
std::optional<Value> Named(const std::string& text,
                           const std::array<std::pair<const char*, Value>, kCount>& names) {
    for (const auto& [name, value] : names) {
        if (text == name) return value;
    }
    return std::nullopt;
}

std::optional<IndexStep> ParseStep(const std::string& text) {
    using enum IndexStep;
    return Named<IndexStep, 6>(text, {{{"hour", Hour},
                                       {"day", Day},
                                       {"week", Week},
                                       {"month", Month},
                                       {"year", Year},
                                       {"span", Whole}}});
}

std::optional<ValueKind> ParseKind(const std::string& text) {
    using enum ValueKind;
    return Named<ValueKind, 3>(
        text, {{{"level", Level}, {"arithmetic", Arithmetic}, {"rms", RootMeanSquare}}});
}

// The texts between separators.
std::vector<std::string> Fields(const std::string& text, char separator) {
    std::vector<std::string> fields(1);
    for (const char c : text) {
        if (c == separator) {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

// "07/19/23"
std::optional<DayParts> ParseHours(const std::string& text) {
    DayParts hours;
    const auto fields = Fields(text, '/');
    const std::array parts{&hours.day, &hours.evening, &hours.night};
    if (fields.size() != parts.size()) return std::nullopt;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto hour = ParseWithin(fields[i], 0, 23);
        if (!hour) return std::nullopt;
        *parts[i] = *hour;
    }
    return hours.IsValid() ? std::optional(hours) : std::nullopt;
}

// "65dB", "0.5 mm/s"
std::optional<Threshold> ParseThreshold(const std::string& text) {
    Threshold threshold{};
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, threshold.value);
    if (parsed.ec != std::errc() || !std::isfinite(threshold.value)) return std::nullopt;
    threshold.unit.assign(parsed.ptr, end);
    threshold.unit.erase(0, threshold.unit.find_first_not_of(' '));
    const auto isNumber = [](char c) { return (c >= '0' && c <= '9') || c == '.' || c == ','; };
    if (threshold.unit.empty() || isNumber(threshold.unit.front())) return std::nullopt;
    return threshold;
}

// "10,50,90"
std::optional<std::vector<double>> ParsePercentages(const std::string& text) {
    std::vector<double> percentages;
    for (const auto& field : Fields(text, ',')) {
        const auto number = ParseWithin(field, 0.0, 100.0);
        if (!number) return std::nullopt;
        percentages.push_back(*number + 0.0);
    }
    return percentages;
}

// In per cent.
std::optional<double> ParseCoverage(const std::string& text) {
    const auto number = ParseWithin(text, 0.0, 100.0);
    return number ? std::optional(*number / 100) : std::nullopt;
}

}  // namespace

void AddIndices(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<IndicesOptions>();
    Command command(app, "indices", "Compute levels of days and years, percentiles, events");
    AddDatabase(command, given->database);
    AddSelection(command, *given);
    command.Text("--function", given->function, "Name or number of the function")
        .Default(given->function);
    command.Text("--band", given->band, "Name or number of a band [the whole signal]");
    command.Parsed("--kind", given->kind, ParseKind, "one of level, arithmetic and rms",
                   "What is averaged: level (energies), arithmetic, rms [the name tells]");
    const Option step =
        command
            .Parsed("--per", given->step, ParseStep, "one of hour, day, week, month, year and span",
                    "What gets a row: hour, day, week, month, year, or span, all of the time")
            .Default("day");
    command.Parsed("--from", given->from, ParseTimeOrDate, kTimeOrDateForm,
                   "Where the first row begins [with the step of the first value]");
    command.Parsed("--to", given->to, ParseTimeOrDate, kTimeOrDateForm,
                   "Where the last one ends [with the step of the last value]");
    command
        .Parsed("--hours", given->hours, ParseHours,
                "three full hours that ascend within a day, as 07/19/23",
                "When day, evening and night begin")
        .Default("07/19/23");
    command.Parsed("--threshold", given->threshold, ParseThreshold,
                   "a number with its unit, as 65dB",
                   "Count how often and how long values are above it, as 65dB");
    command.Parsed("--percent", given->percentages, ParsePercentages,
                   "a list of numbers from 0 to 100, as 10,50,90",
                   "What was exceeded for these shares of the time: L10, L50, L90");
    command.Parsed("--coverage", given->leastCoverage, ParseCoverage, "a number from 0 to 100",
                   "Leave out figures with values for less per cent of their time [0]");
    const Option events =
        command
            .Flag("--events", given->events,
                  "A row for each closed marker that starts then, with its exposure level")
            .Excludes(step);
    command.Text("--type", given->type, "Only markers with this type in their condition")
        .Needs(events);
    const Option csv =
        command.Flag("--csv", given->csv, "Comma-separated values with more decimals");
    command.Flag("--json", given->json, "JSON, likewise").Excludes(csv);
    command.Footer(
        "Columns with % tell for how much of the time there were values. Days begin at midnight, "
        "weeks on\n"
        "Monday. Day, evening and night are those that begin in a row, to their ends. What is left "
        "out or\n"
        "missing shows as --, in CSV as an empty field and in JSON as null. docs/indices.md has "
        "the "
        "formulas.");
    command.Run([=] {
        RequireMeasurement(*given);
        RequireForward(given->from, given->to);
        Indices(*given, streams.out);
    });
}

}  // namespace mersola::tool
