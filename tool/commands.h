// The commands and their options.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

namespace mersola::tool {

/// What the commands have in common: results go to `out`; Failure and _com_error are raised.

/// Lays out a new database, or one in an existing file that is an empty database. On failure a file
/// that was made is removed again.
void Init(const std::string& path, std::ostream& out);

/// A marker is opened where a level exceeds the limit.
struct TriggerOptions {
    std::string function;  ///< its name
    std::string band;      ///< its name; empty for a function over all bands
    double limit = 0;      ///< in dB
};

struct RecordOptions {
    std::string database;
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
void List(const std::string& path, bool isContinuous, std::ostream& out);

struct ValuesOptions {
    std::string database;
    std::string instrument;  ///< this and the next: a name or a number
    std::string measurement;
    bool isContinuous = false;  ///< all measurements as one, in place of one of them
    std::string report;  ///< a number, in the continuous view a type; the first report when empty
    std::string channel = "1";
    std::string function = "Leq";      ///< a name or a number
    bool allFunctions = false;         ///< instead of the one
    std::optional<std::int64_t> from;  ///< the first stored period when not given
    std::optional<std::int64_t> count;
    bool csv = false;
};

void Values(const ValuesOptions& options, std::ostream& out);

struct GapsOptions {
    std::string database;
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

    std::string database;
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

struct VersionOptions {
    std::string database;
    std::optional<std::string> added;  ///< a version to append to the history first
    std::string info;
};

/// Answers for any database, laid out or not.
void Version(const VersionOptions& options, std::ostream& out);

}  // namespace mersola::tool
