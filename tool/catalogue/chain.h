// An instrument's measurements one after another, as the continuous view numbers their periods.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <mersola/mersola.h>

#include "catalogue.h"

namespace mersola::tool {

struct ChainMember {
    std::int32_t measId;
    std::string name;
    std::int32_t reportId;
    std::int64_t first;  ///< its first period within the chain
    std::int64_t count;  ///< of its periods
};

/// What the reports of one type are in the chain.
struct ChainReport {
    std::int32_t type;
    CTimeSpanEx length;  ///< of a period
    std::int32_t count;  ///< of periods from the first measurement to the last, gaps included
    std::vector<MeasuredFunction> functions;
    std::vector<ChainMember> members;  ///< by start
};

struct Chain {
    MeasurementInfo settings;  ///< those of the first measurement
    std::vector<ChainReport> reports;
};

/// Reads an instrument's chain and selects the continuous view of it. Raises Failure when its
/// measurements cannot be read as one.
Chain ReadChain(Mersola& store, std::int32_t groupId);

/// The report of the asked type, the first one when none is asked for. Raises Failure.
const ChainReport& ChooseReport(const Chain& chain, const std::string& askedType);

/// The time at which a period of the chain begins.
CTimeEx TimeInChain(const Chain& chain, const ChainReport& report, std::int64_t period);

}  // namespace mersola::tool
