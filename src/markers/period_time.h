// The times at which periods begin.
#pragma once

#include <cstdint>

#include <mersola/times.h>

namespace mersola {

/// The time `period` periods after `base`; an invalid time when there is none.
inline CTimeEx timeOfPeriod(const CTimeEx& base, const CTimeSpanEx& length, std::int64_t period) {
    std::int64_t offset = 0;
    CTimeEx time;
    if (__builtin_mul_overflow(length.GetTotalMilliseconds(), period, &offset)) {
        time.SetStatus(COleDateTime::invalid);
        return time;
    }
    return base + CTimeSpanEx(offset);
}

}  // namespace mersola
