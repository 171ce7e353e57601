// The commands and their options.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "database_argument.h"

namespace mersola::tool {

/// What the commands have in common: results go to `out`; Failure and _com_error are raised.

/// Lays out a new file, an existing file that is an empty database, or what a connection string
/// leads to, if none of the tables is there. On failure a file that was made is removed again, and
/// anything else is as before. What the server does not know of the layout's options is told on
/// `err`, a line each, and is no failure.
void Init(const DatabaseArgument& argument, std::ostream& out, std::ostream& err);

/// A marker is opened where a level exceeds the limit.
struct TriggerOptions {
    std::string function;  ///< its name
    std::string band;      ///< its name; empty for a function over all bands
    double limit = 0;      ///< in dB
};

struct RecordOptions {
    DatabaseArgument database;
    std::string file;
    std::string instrument;
    std::string measurement;
    CTimeSpanEx period{125};
    std::optional<CTimeEx> start;      ///< now, when none is given
    double sensitivity = 1;            ///< V/Pa; stored, the levels do not depend on it
    double fullscale = 1;              ///< peak pressure in Pa at the file's digital full scale
    std::optional<std::string> state;  ///< of the instrument; stays as it is when none is given
    /// In per cent; when none are given those of the measurement, of a new one 10, 50 and 90.
    std::optional<std::vector<float>> percentiles;
    std::optional<TriggerOptions> trigger;
    CTimeSpanEx hold{500};  ///< how long the level stays down before a marker is closed
};

/// Records a sound file. Nothing is registered before the first period can be stored with it.
/// `terminal`: where to show the progress, may be null.
void Record(const RecordOptions& options, std::ostream& out, std::ostream* terminal);

/// With `isContinuous` each instrument's measurements are read as one.
void List(const DatabaseArgument& database, bool isContinuous, std::ostream& out);

/// Whose values are meant.
struct SelectionOptions {
    std::string instrument;  ///< this and the next: a name or a number
    std::string measurement;
    bool isContinuous = false;  ///< all measurements as one, in place of one of them
    std::string report;  ///< a number, in the continuous view a type; the first report when empty
    std::string channel = "1";
};

struct ValuesOptions : SelectionOptions {
    DatabaseArgument database;
    std::string function = "Leq";      ///< a name or a number
    bool allFunctions = false;         ///< instead of the one
    std::optional<std::int64_t> from;  ///< the first stored period when not given
    std::optional<std::int64_t> count;
    bool csv = false;
};

void Values(const ValuesOptions& options, std::ostream& out);

/// What a picture is written as.
enum class PictureForm { Svg, Png, Html };

/// By the ending of a file's name, in any case; nothing for any other name.
std::optional<PictureForm> PictureFormOf(const std::string& path);

struct PlotOptions : SelectionOptions {
    DatabaseArgument database;
    std::vector<std::string> functions;  ///< names or numbers; LAeq and Leq when there are none
    std::optional<CTimeEx> from;         ///< the periods that overlap the time from then,
    std::optional<CTimeEx> to;           ///< and up to then
    int width = 1200;                    ///< this and the next: in pixels
    int height = 720;
    std::string file;  ///< where to put the picture; PictureFormOf tells its form
};

/// Draws levels over time and their spectra. A picture that is there is replaced; it appears whole
/// or not at all. `terminal`: where to show the progress, may be null.
void Plot(const PlotOptions& options, std::ostream& out, std::ostream* terminal);

struct GapsOptions {
    DatabaseArgument database;
    std::string instrument;  ///< a name or a number
    std::string report;      ///< its type; the first report when empty
    bool csv = false;
};

void Gaps(const GapsOptions& options, std::ostream& out);

struct MarkersOptions {
    struct Periods {
        std::int32_t first;
        std::int32_t last;
    };

    DatabaseArgument database;
    std::string instrument;  ///< this and the next: a name or a number
    std::string measurement;
    std::string report;              ///< whose periods; a number, the first report when empty
    std::optional<CTimeEx> from;     ///< those that start from then on,
    std::optional<CTimeEx> to;       ///< and before
    std::optional<Periods> periods;  ///< those that start in them; not along with a time
    std::string type;                ///< of the trigger condition; all when empty
    bool isOpen = false;             ///< those that were not closed, and no others
    bool csv = false;
};

void ShowMarkers(const MarkersOptions& options, std::ostream& out);

struct CopyOptions {
    DatabaseArgument from;
    DatabaseArgument to;
    std::string instrument;  ///< a name or a number; all when empty
    bool verify = false;     ///< read everything again afterwards, on both sides
};

/// Copies what the one database holds and the other does not. When it is interrupted or fails, what
/// arrived stays, and the next time it goes on from there. `terminal`: where to show the progress,
/// may be null.
void Copy(const CopyOptions& options, std::ostream& out, std::ostream* terminal);

/// Writes a line for each thing that must never be in a database, and a last one with their number.
/// True when there is none. Nothing is written into the database.
bool Check(const DatabaseArgument& argument, std::ostream& out);

struct ExportOptions {
    DatabaseArgument database;
    std::string instrument;  ///< this and the next: a name or a number; all when empty
    std::string measurement;
    std::string report;                   ///< a number; all when empty
    std::optional<std::int32_t> channel;  ///< all when none is given
    std::string function;                 ///< a name or a number; all when empty
    std::optional<std::int64_t> from;     ///< the first period
    std::optional<std::int64_t> count;
    bool isWide = false;   ///< a column for each band
    bool isPlain = false;  ///< without what else the database holds
    std::string file;      ///< the output when empty or "-"
};

void Export(const ExportOptions& options, std::ostream& out);

struct ImportOptions {
    DatabaseArgument database;
    std::string file;        ///< the input for "-"
    std::string instrument;  ///< this and what follows: where the file has no column for it
    std::string measurement;
    std::string report = "1";
    std::string channel = "1";
    std::string function;
    std::string band = "broadband";
    std::optional<CTimeSpanEx> period;  ///< length of one
    std::optional<CTimeEx> start;       ///< of a new measurement
    std::vector<std::string> columns;   ///< "value=Laeq": which header stands for what
    std::vector<std::string> bands;     ///< the headers of columns that hold a band each
    bool isWide = false;                ///< every column that is nothing else holds a band
};

/// Adds what a file holds to a database, all of it or nothing. `terminal`: where to show the
/// progress, may be null.
void Import(const ImportOptions& options, std::ostream& out, std::ostream* terminal);

struct VersionOptions {
    DatabaseArgument database;
    std::optional<std::string> added;  ///< a version to append to the history first
    std::string info;
};

/// Answers for any database, laid out or not.
void Version(const VersionOptions& options, std::ostream& out);

}  // namespace mersola::tool
