// mersola list, values, gaps and markers.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

#include <mersola/times.h>

#include "catalogue/asked_periods.h"
#include "catalogue/selection.h"
#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

/// With `isContinuous` each instrument's measurements are read as one.
void List(const DatabaseArgument& database, bool isContinuous, std::ostream& out);

struct ValuesOptions : SelectionOptions {
    DatabaseArgument database;
    std::string function = "Leq";  ///< a name or a number
    bool allFunctions = false;     ///< instead of the one
    AskedPeriods periods;
    bool csv = false;
};

void Values(const ValuesOptions& options, std::ostream& out);

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
    std::string report;  ///< the report of `periods`: a number; the first report when empty
    std::optional<CTimeEx> from;     ///< only markers that start at this time or later
    std::optional<CTimeEx> to;       ///< only markers that start before this time
    std::optional<Periods> periods;  ///< only markers that start in them; not along with a time
    std::string type;                ///< of the trigger condition; all when empty
    bool isOpen = false;             ///< only markers that were not closed
    bool csv = false;
};

void ShowMarkers(const MarkersOptions& options, std::ostream& out);

/// Add the commands to the command line.
void AddList(CLI::App& app, const Streams& streams);
void AddValues(CLI::App& app, const Streams& streams);
void AddGaps(CLI::App& app, const Streams& streams);
void AddMarkers(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
