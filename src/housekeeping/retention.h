// What is older than a time.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <mersola/mersola.h>

namespace mersola {

/// Runs a statement. All that is here raises what it raises.
using Statements = std::function<_RecordsetPtr(const CString&)>;

/// What a retention deletes of each measurement that began before the time, in the order of their
/// starts.
std::vector<OldMeasurement> OldMeasurements(const Statements& run, std::optional<int> groupId,
                                            const CTimeEx& before);

/// What it deletes of one measurement, as that is now; nothing where it is gone or has no start.
std::optional<OldMeasurement> OldNow(const Statements& run, int groupId, int measId,
                                     const CTimeEx& before);

/// The condition, to be appended to others, for the markers that have ended by a time.
CString EndedBefore(const CTimeEx& before);

/// The periods of each report that begin from `from` on and before `to`. Raises _com_error where
/// the times cannot be read.
std::vector<OldPeriods> PeriodsBetween(const Statements& run, int groupId, int measId,
                                       const CTimeEx& from, const CTimeEx& to);

}  // namespace mersola
