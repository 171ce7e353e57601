// Times as the C interface has them: milliseconds from 1970 on the local clock.
#pragma once

#include <cstdint>
#include <string>

#include <mersola/times.h>

namespace mersola::c {

/// MERSOLA_NO_TIME for an invalid time.
std::int64_t Milliseconds(const CTimeEx& time);
/// An invalid time for MERSOLA_NO_TIME and beyond the years.
CTimeEx TimeOf(std::int64_t milliseconds);
/// "2026-11-15T07:30:12.045"; empty for an invalid time.
std::string IsoText(const CTimeEx& time);
/// The time, or MERSOLA_MISUSE.
CTimeEx RequiredTime(std::int64_t milliseconds, const char* what);

}  // namespace mersola::c
