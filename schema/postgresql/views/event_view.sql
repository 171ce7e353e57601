-- Markers by name, with the times of their events; an event that goes on has no end yet.
CREATE OR REPLACE VIEW EventView AS
SELECT Instrument, Measurement, MarkerId, MarkerType, StartMs / CAST(1000 AS double precision) AS StartEpoch,
    to_char(to_timestamp(StartMs / 1000.0) AT TIME ZONE 'UTC', 'YYYY-MM-DD"T"HH24:MI:SS.MS') AS StartTime,
    StopMs / CAST(1000 AS double precision) AS StopEpoch,
    to_char(to_timestamp(StopMs / 1000.0) AT TIME ZONE 'UTC', 'YYYY-MM-DD"T"HH24:MI:SS.MS') AS StopTime,
    FuncName, Band, TriggerCondition, Path
FROM (
    SELECT g.GroupName AS Instrument, m.MeasName AS Measurement, e.MarkerId, e.MarkerType,
        mersola_milliseconds(e.Start) AS StartMs,
        CASE WHEN COALESCE(e.inProgess, 0) = 0 THEN mersola_milliseconds(e.Stop) END AS StopMs,
        f.FuncName, b.FrqName AS Band, e.TriggerCondition, e.Path
    FROM Markers e
    LEFT JOIN Measurements m ON m.GroupId = e.GroupId AND m.MeasId = e.MeasId
    LEFT JOIN Groups g ON g.GroupId = e.GroupId
    LEFT JOIN FuncNameMap f ON f.FuncId = e.funcId
    LEFT JOIN FrqNameMap b ON b.FrqId = e.frqId
) AS event;
