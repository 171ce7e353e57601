// The options of mersola plot.
#include "plot.h"

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

}  // namespace

void AddPlot(CLI::App& app, const Streams& streams) {
    const auto given = std::make_shared<PlotOptions>();
    Command command(app, "plot", "Draw levels, spectra and markers over time");
    AddDatabase(command, given->database);
    AddSelection(command, *given);
    command.Texts("--function", given->functions,
                  "Name or number of a function to draw; can be given several times [LAeq, Leq]");
    command.Parsed("--from", given->from, ParseTimeOrDate, kTimeOrDateForm,
                   "When the picture begins [with the first period stored]");
    command.Parsed("--to", given->to, ParseTimeOrDate, kTimeOrDateForm,
                   "When it ends [with the last period]");
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
        "spectrogram below.\n"
        "Where nothing is stored, the line breaks and the ground is grey. Of a long time each "
        "column of\n"
        "pixels shows the mean, of levels that of the energy, and lines their extremes as a shade. "
        "gnuplot\n"
        "does the drawing.");
    command.Run([=] {
        RequireMeasurement(*given);
        RequireForward(given->from, given->to);
        Plot(*given, streams.out, streams.terminal);
    });
}

}  // namespace mersola::tool
