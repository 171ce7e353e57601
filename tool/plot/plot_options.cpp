// The options of mersola plot.
#include "plot.h"

#include <cmath>
#include <memory>

#include "basics/failure.h"
#include "basics/times_text.h"
#include "options/command_options.h"
#include "picture.h"

namespace mersola::tool {
namespace {

// In pixels.
template <int kLeast>
std::optional<int> ParseSize(const std::string& text) {
    return ParseWithin(text, kLeast, 10000);
}

// "30:90".
std::optional<Limits> ParseLimits(const std::string& text) {
    const auto colon = text.find(':');
    if (colon == text.npos) return std::nullopt;
    const auto low = ParseNumber<double>(std::string_view(text).substr(0, colon)),
               high = ParseNumber<double>(std::string_view(text).substr(colon + 1));
    // A picture has no use for more, and no way to draw it.
    constexpr double kMost = 1e9, kLeast = 1e-6;
    const bool isRange = low && high && std::abs(*low) <= kMost && std::abs(*high) <= kMost &&
                         *high - *low >= kLeast;
    return isRange ? std::optional(Limits{*low, *high}) : std::nullopt;
}
constexpr const char* kLimitsForm = "two numbers, the lower one first, as 30:90";

}  // namespace

void AddPlot(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<PlotOptions>();
    Command command(app, "plot", "Draw levels, spectra and markers over time");
    AddDatabase(command, given->database);
    command.Text("--instrument", given->instrument, "Name or number of the instrument").Required();
    const Option measurement =
        command.Texts("--measurement", given->measurements,
                      "Name or number of a measurement; can be given several times");
    command
        .Flag("--continuous", given->isContinuous,
              "All measurements of the instrument, read as one")
        .Excludes(measurement);
    command.Text("--report", given->report,
                 "Number of the report, with --continuous its type [the first]");
    command.Texts("--channel", given->channels, "Number of a channel; can be given several times")
        .Default("1");
    command.Texts("--function", given->functions,
                  "Name or number of a function to draw; can be given several times [LAeq, Leq]");
    command.Parsed("--from", given->from, ParseTimeOrDate, kTimeOrDateForm,
                   "When the picture begins [with the first period stored]");
    command.Parsed("--to", given->to, ParseTimeOrDate, kTimeOrDateForm,
                   "When it ends [with the last period]");
    command.Text("--by", given->by, "day: days side by side with their hours upwards, as colours")
        .Check([](const std::string& text) {
            return text == "day" ? std::string() : Quoted(text) + " is not day";
        });
    command.Text("--title", given->title, "What is written above [the names of what is shown]");
    command.Text("--reference", given->reference, "What levels refer to, as '20 \u00b5Pa'");
    command.Parsed("--range", given->range, ParseLimits, kLimitsForm,
                   "Limits of the axis of lines, as 30:90 [what there is]");
    command.Parsed("--colours", given->colours, ParseLimits, kLimitsForm,
                   "Limits of the colours [what there is]");
    command.Text("-o,--output", given->file, "The picture to make: .svg, .png or .html")
        .Required()
        .Check([](const std::string& path) {
            return PictureFormOf(path) ? std::string()
                                       : Quoted(path) + " does not end in .svg, .png or .html";
        });
    command
        .Parsed("--width", given->width, ParseSize<600>, "a number from 600 to 10000", "In pixels")
        .Default(std::to_string(given->width));
    command
        .Parsed("--height", given->height, ParseSize<400>, "a number from 400 to 10000",
                "In pixels")
        .Default(std::to_string(given->height));
    command.Footer(
        "Functions of the whole signal are drawn as lines, one with frequency bands as a "
        "spectrogram below,\n"
        "unless there are several measurements or channels. Where nothing is stored, the line "
        "breaks and the\n"
        "ground is grey. Of a long time each column shows the mean, of levels that of the energy, "
        "and lines\n"
        "their extremes as a shade; of months a column is a day. gnuplot does the drawing.");
    command.Run([=] {
        SelectionOptions asked;
        asked.isContinuous = given->isContinuous;
        if (!given->measurements.empty()) asked.measurement = given->measurements.front();
        RequireMeasurement(asked);
        RequireForward(given->from, given->to);
        Plot(*given, streams.out, streams.terminal);
    });
}

}  // namespace mersola::tool
