// The ticks of an axis of time.
#pragma once

#include <string>
#include <vector>

#include <mersola/times.h>

namespace mersola::tool {

struct TimeTick {
    double at;           ///< in seconds from the beginning of the axis
    std::string clock;   ///< what changes from tick to tick
    std::string around;  ///< the date or year, where a new one begins; else empty
};

struct TimeAxis {
    std::vector<TimeTick> ticks;
    std::string name;  ///< with the date or the year, where there is only one
};

/// At most about `most` ticks at round times. Both times have to be valid.
TimeAxis MakeTimeAxis(const CTimeEx& start, const CTimeEx& end, int most);

}  // namespace mersola::tool
