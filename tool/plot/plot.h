// mersola plot.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "catalogue/selection.h"
#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

struct PlotOptions : SelectionOptions {
    DatabaseArgument database;
    std::vector<std::string> functions;  ///< names or numbers; LAeq and Leq when there are none
    std::optional<CTimeEx> from;         ///< only periods that end after this time
    std::optional<CTimeEx> to;           ///< only periods that begin before this time
    int width = 1200;                    ///< this and the next: in pixels
    int height = 720;
    std::string file;  ///< where to put the picture; PictureFormOf tells its form
};

/// Draws levels over time and their spectra. A picture that is there is replaced; it appears whole
/// or not at all. `terminal`: where to show the progress, may be null.
void Plot(const PlotOptions& options, std::ostream& out, std::ostream* terminal);

/// Adds the command to the command line.
void AddPlot(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
