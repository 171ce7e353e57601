// The picture of a recording: levels over time, with events, above their spectra.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "picture.h"
#include "thinned.h"

namespace mersola::tool {

struct ChartLine {
    std::string name;
    bool isLevel;                  ///< in dB
    std::vector<Thinned> columns;  ///< over time
};

struct ChartSpectra {
    std::string name;
    bool isLevel;
    std::string kind;  ///< of the bands
    struct Band {
        std::string name;
        bool isOctave;  ///< to be named first where there is no room for all names
    };
    std::vector<Band> bands;     ///< ascending; none for a chart without spectra
    std::vector<Thinned> cells;  ///< by column and band
};

struct ChartEvent {
    double start;  ///< this and the next: in seconds from the chart's start
    double stop;
    std::string name;
};

struct Chart {
    std::string title;
    std::string subtitle;
    std::string note;  ///< small, at the bottom
    CTimeEx start;
    CTimeEx end;
    double columnSeconds;  ///< the last column may reach beyond the end
    std::vector<ChartLine> lines;
    ChartSpectra spectra;
    std::vector<ChartEvent> events;  ///< by start, within the chart
};

/// The most columns that a picture of this width has room for.
int ChartColumns(int width);

/// Draws the chart. Sizes are in pixels. Raises Failure.
std::string DrawChart(const Chart& chart, PictureForm form, int width, int height);

}  // namespace mersola::tool
