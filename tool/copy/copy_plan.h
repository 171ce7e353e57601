// Plans what a copy brings over: measurements with their reports, matched by name.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "copy_names.h"
#include "copy_side.h"
#include "copy_values.h"

namespace mersola::tool {

using FunctionAndChannel = std::pair<std::int32_t, std::int32_t>;

struct CopiedReport {
    Row row;                               ///< in the source
    bool isStored = false;                 ///< in the target
    Cell storedRealLength;                 ///< in the target
    std::optional<std::int32_t> fromKey;   ///< the key of the values in the source
    std::optional<std::int32_t> toKey;     ///< the key of the values in the target
    bool isKeyNew = false;                 ///< to the target
    std::optional<CopiedPeriods> periods;  ///< none when there are no values
    std::set<FunctionAndChannel> functions;
    std::set<FunctionAndChannel> missing;  ///< in the target

    std::int32_t Id() const { return NumberIn(row, "ReportId"); }
};

struct CopiedMeasurement {
    Row row;                    ///< in the source
    std::optional<Row> stored;  ///< in the target
    std::string title;          ///< for people: 'measurement' of 'instrument'
    std::int32_t fromGroup = 0, fromMeas = 0;
    std::int32_t toGroup = 0, toMeas = 0;  ///< once it is registered
    std::vector<CopiedReport> reports;
};

struct CopiedInstrument {
    Row row;  ///< in the source
    std::optional<std::int32_t> toGroup;
    std::vector<CopiedMeasurement> measurements;
};

/// Reads what there is to copy, of one instrument by name or number or of all when `asked` is
/// empty. Raises Failure when the target holds something else under one of the names; nothing is
/// written.
std::vector<CopiedInstrument> PlanCopy(Side& from, Side& to, const CopiedNames& names,
                                       const std::string& asked);

/// Adds an instrument to the target unless it is there. One that is there stays as it is.
void Register(Side& to, CopiedInstrument& instrument);

/// Adds to the target what is missing of a measurement, its reports and functions, and brings its
/// settings up to date: all of it or nothing. A new report counts no periods yet.
void Register(Side& to, const CopiedInstrument& instrument, CopiedMeasurement& measurement);

}  // namespace mersola::tool
