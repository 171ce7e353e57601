// mersola indices.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <mersola/indices.h>

#include "catalogue/selection.h"
#include "database/database_argument.h"
#include "options/streams.h"

namespace mersola::tool {

/// A number with its unit.
struct Threshold {
    double value;
    std::string unit;
};

struct IndicesOptions : SelectionOptions {
    DatabaseArgument database;
    std::string function = "LAeq";    ///< a name or a number
    std::string band;                 ///< likewise; the whole signal when empty
    std::optional<ValueKind> kind;    ///< what the function's values are; its name tells
    IndexStep step = IndexStep::Day;  ///< what gets a row
    std::optional<CTimeEx> from;      ///< as far as there are values
    std::optional<CTimeEx> to;        ///< likewise
    DayParts hours;
    std::optional<Threshold> threshold;
    std::vector<double> percentages;
    double leastCoverage = 0;  ///< from 0 to 1
    bool events = false;       ///< a row for each closed marker, in place of steps
    std::string type;          ///< of the markers; all when empty
    bool csv = false;
    bool json = false;
};

void Indices(const IndicesOptions& options, std::ostream& out);

/// Adds the command to the command line.
void AddIndices(CLI::App& app, const Streams& streams);

}  // namespace mersola::tool
