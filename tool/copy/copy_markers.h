// The markers of a measurement, from one database to the other.
#pragma once

#include <cstdint>

#include "copy_names.h"
#include "copy_side.h"

namespace mersola::tool {

/// A measurement on both sides.
struct MeasurementEnds {
    Side& from;
    Side& to;
    const CopiedNames& names;
    std::int32_t fromGroup, fromMeas;
    std::int32_t toGroup, toMeas;
};

/// Adds the markers that the target lacks, as often as the source holds them, and closes those that
/// were open when they were copied. Markers that the target has for itself stay. Returns how many
/// were added or closed. Raises Failure.
std::int64_t CopyMarkers(const MeasurementEnds& ends);

/// Returns how many markers the source has; raises Failure when the target lacks one of them.
std::int64_t VerifyMarkers(const MeasurementEnds& ends);

}  // namespace mersola::tool
