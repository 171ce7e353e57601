-- Markers by name, with the times of their events; an event that goes on has no end yet.
CREATE OR ALTER VIEW EventView AS
SELECT Instrument, Measurement, MarkerId, MarkerType, StartMs / 1000e0 AS StartEpoch,
    CONVERT(varchar(23), DATEADD(ms, StartMs % 1000, DATEADD(s, StartMs % 86400000 / 1000, DATEADD(d, StartMs / 86400000, CONVERT(datetime2(3), '1970-01-01')))), 126) AS StartTime,
    StopMs / 1000e0 AS StopEpoch,
    CONVERT(varchar(23), DATEADD(ms, StopMs % 1000, DATEADD(s, StopMs % 86400000 / 1000, DATEADD(d, StopMs / 86400000, CONVERT(datetime2(3), '1970-01-01')))), 126) AS StopTime,
    FuncName, Band, TriggerCondition, Path
FROM (
    SELECT g.GroupName AS Instrument, m.MeasName AS Measurement, e.MarkerId, e.MarkerType,
        DATEDIFF_BIG(ms, '1970-01-01',
            TRY_CONVERT(datetime2(3), REPLACE(LEFT(e.Start, 10), ',', '-') + 'T' + REPLACE(SUBSTRING(e.Start, 12, 8), ',', ':')
                + '.' + SUBSTRING(e.Start, 21, 3), 126)) AS StartMs,
        CASE WHEN COALESCE(e.inProgess, 0) = 0 THEN DATEDIFF_BIG(ms, '1970-01-01',
            TRY_CONVERT(datetime2(3), REPLACE(LEFT(e.Stop, 10), ',', '-') + 'T' + REPLACE(SUBSTRING(e.Stop, 12, 8), ',', ':')
                + '.' + SUBSTRING(e.Stop, 21, 3), 126)) END AS StopMs,
        f.FuncName, b.FrqName AS Band, e.TriggerCondition, e.Path
    FROM Markers e
    LEFT JOIN Measurements m ON m.GroupId = e.GroupId AND m.MeasId = e.MeasId
    LEFT JOIN Groups g ON g.GroupId = e.GroupId
    LEFT JOIN FuncNameMap f ON f.FuncId = e.funcId
    LEFT JOIN FrqNameMap b ON b.FrqId = e.frqId
) AS event;
