// The picture of a recording: levels over time, with events, above their spectra; or days by hours.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "picture.h"

namespace mersola::tool {

/// Of an axis, or of colours.
struct Limits {
    double low;
    double high;
};

/// Values that share a column. Times are in seconds from the chart's start.
struct ChartColumn {
    double start;
    double stop;
    double lowest;  ///< this and the next two: NaN without values
    double highest;
    double mean;
    bool hasMissing;

    bool IsEmpty() const { return mean != mean; }
};

struct ChartLine {
    std::string name;
    bool isLevel;                      ///< in dB
    std::vector<ChartColumn> columns;  ///< ascending in time
};

/// A field of colours: columns of time by rows of bands, or of hours.
struct ChartRaster {
    std::string name;
    bool isLevel;
    std::string kind;  ///< of the rows
    struct Tick {
        double row;
        std::string name;
        bool isFirst;  ///< to be named first where there is no room for all names
    };
    std::vector<Tick> ticks;
    std::size_t rows;             ///< from the bottom up; 0 for a chart without colours
    std::vector<double> edges;    ///< of the columns, one more than there are; seconds, ascending
    std::vector<float> cells;     ///< by column and row; NaN where there is no value
    std::optional<Limits> range;  ///< of the colours
};

struct ChartEvent {
    double start;  ///< this and the next: in seconds from the chart's start
    double stop;
    std::string name;
};

struct Chart {
    std::string title;
    std::string subtitle;
    std::string note;       ///< at the bottom
    std::string reference;  ///< of levels, as "20 µPa"; may be empty
    CTimeEx start;
    CTimeEx end;
    std::vector<ChartLine> lines;
    std::optional<Limits> range;  ///< of the lines
    ChartRaster raster;
    std::vector<ChartEvent> events;  ///< by start, within the chart
};

/// The most columns that a picture of this width has room for.
int ChartColumns(int width, bool hasRaster);

/// The chart as a script for DrawPicture. Sizes are in pixels.
std::string ChartScript(const Chart& chart, PictureForm form, int width, int height);

}  // namespace mersola::tool
