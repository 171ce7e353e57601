// mersola record.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/times.h>

#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

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

/// Adds the command to the command line.
void AddRecord(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
