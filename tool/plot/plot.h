// mersola plot.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "chart.h"
#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

struct PlotOptions {
    DatabaseArgument database;
    std::string instrument;  ///< this and the next: names or numbers
    std::vector<std::string> measurements;
    bool isContinuous = false;             ///< all measurements as one, in place of some of them
    std::string report;                    ///< a number, in the continuous view a type
    std::vector<std::string> channels;     ///< 1 when there are none
    std::vector<std::string> functions;    ///< names or numbers; LAeq and Leq when there are none
    std::optional<CTimeEx> from;           ///< only periods that end after this time
    std::optional<CTimeEx> to;             ///< only periods that begin before this time
    std::optional<std::string> by;         ///< "day": days by hours
    std::optional<std::string> title;      ///< in place of the names of what is shown
    std::optional<std::string> reference;  ///< of levels, as "20 µPa"
    std::optional<Limits> range;           ///< of the lines
    std::optional<Limits> colours;         ///< of what has colours
    int width = 1200;                      ///< this and the next: in pixels
    int height = 720;
    std::string file;  ///< where to put the picture; PictureFormOf tells its form
};

/// Draws levels over time and their spectra. A picture that is there is replaced; it appears whole
/// or not at all. `terminal`: where to show the progress, may be null.
void Plot(const PlotOptions& options, std::ostream& out, std::ostream* terminal);

/// Adds the command to the command line.
void AddPlot(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
