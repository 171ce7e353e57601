// The periods that are asked for, report by report.
#pragma once

#include <cstdint>

#include <mersola/mersola.h>

/// The periods from `first` up to `end` of one report, by its own numbers; its period 0 is the
/// period `offset` that the caller counts by.
struct Mersola::Stretch {
    std::int32_t measId;
    std::int64_t offset;
    std::int64_t first;
    std::int64_t end;
};
