// Names for the numbers that mean something of their own where operations take or return them.
#pragma once

#include <cstdint>

namespace mersola {

/// No identifier: what an operation returns that finds none, and what nothing is selected under.
inline constexpr std::int32_t kNone = -1;

/// The selected instrument, measurement, report or channel, where an operation takes it for an
/// argument.
inline constexpr std::int32_t kSelected = -1;

/// All measurements of an instrument, where an operation takes it for one.
inline constexpr std::int32_t kAllMeasurements = -2;

/// The measurement that SetMeasurement selects the continuous view by.
inline constexpr std::int32_t kContinuousView = -3;

/// The view of one measurement, where kContinuousView is the other one.
inline constexpr std::int32_t kNormalView = -2;

/// What a missing value reads as. Exact as a float, too.
inline constexpr double kMissingValue = -100.0;

/// A time-out that leaves the defaults in force.
inline constexpr std::int32_t kDefaultTimeout = -1;

/// A recording starts less than this many days from now.
inline constexpr int kMostDaysFromNow = 3650;

/// What GetVersion returns beside 1 and 0.
inline constexpr int kNoVersionHistory = -1;  ///< the database has no version history
inline constexpr int kNoInstruments = -2;     ///< it has no instruments either: it is not laid out
inline constexpr int kNoAnswer = -3;          ///< no connection, or a statement failed

}  // namespace mersola
