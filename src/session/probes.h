// The probes: statements that find no row, because no identifier is -1. An operation runs its probe
// in front of the statement that matters, in the same handle, and nobody reads the result: it makes
// a first round trip on the connection and raises what the connection or a missing table raises.
// They stay because whoever watches or replays the statements of a recorder knows them.
#pragma once

namespace mersola {

inline constexpr const char* kMeasurementsProbe = "SELECT * FROM Measurements where GroupId=-1";
inline constexpr const char* kReportsProbe =
    "SELECT * FROM Reports where MeasId=-1 and GroupId=-1 and ReportId=-1";
inline constexpr const char* kPeriodsProbe =
    "SELECT PeriodNo FROM MeasuredValues WHERE MeasValueId=-1";
inline constexpr const char* kValuesProbe =
    "SELECT * FROM MeasuredValues WHERE PeriodNo=-1 AND FuncId=-1 AND MeasValueId=-1 AND "
    "Channel=-1";

}  // namespace mersola
