// Times as messages show them.
#pragma once

#include <mersola/times.h>

#include "statement.h"

namespace mersola {

/// A time in the form "%02d/%02d/%02d%02d:%02d:%02d  %d". Date and hour stand together, as readers
/// of traces know it.
inline CString traceTime(const CTimeEx& t) {
    return formatted("%02d/%02d/%02d%02d:%02d:%02d  %d", t.GetYear() - 2000, t.GetMonth(),
                     t.GetDay(), t.GetHour(), t.GetMinute(), t.GetSecond(), t.GetMilliseconds());
}

}  // namespace mersola
