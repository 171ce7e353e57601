-- Markers by name, with the times of their events; an event that goes on has no end yet.
CREATE VIEW EventView AS
SELECT Instrument, Measurement, MarkerId, MarkerType, StartMs / 1000.0 AS StartEpoch,
    strftime('%Y-%m-%dT%H:%M:%f', StartMs / 1000.0, 'unixepoch') AS StartTime,
    StopMs / 1000.0 AS StopEpoch,
    strftime('%Y-%m-%dT%H:%M:%f', StopMs / 1000.0, 'unixepoch') AS StopTime,
    FuncName, Band, TriggerCondition, Path
FROM (
    SELECT g.GroupName AS Instrument, m.MeasName AS Measurement, e.MarkerId, e.MarkerType,
        CASE
            WHEN e.Start GLOB
                    '[0-9][0-9][0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9][0-9]'
                AND date(replace(substr(e.Start, 1, 10), ',', '-'), '0 days') = replace(substr(e.Start, 1, 10), ',', '-')
            THEN strftime('%s', replace(substr(e.Start, 1, 10), ',', '-') || ' ' || replace(substr(e.Start, 12, 8), ',', ':'))
                * 1000 + substr(e.Start, 21)
        END AS StartMs,
        CASE WHEN COALESCE(e.inProgess, 0) = 0 THEN CASE
            WHEN e.Stop GLOB
                    '[0-9][0-9][0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9][0-9]'
                AND date(replace(substr(e.Stop, 1, 10), ',', '-'), '0 days') = replace(substr(e.Stop, 1, 10), ',', '-')
            THEN strftime('%s', replace(substr(e.Stop, 1, 10), ',', '-') || ' ' || replace(substr(e.Stop, 12, 8), ',', ':'))
                * 1000 + substr(e.Stop, 21)
        END END AS StopMs,
        f.FuncName, b.FrqName AS Band, e.TriggerCondition, e.Path
    FROM Markers e
    LEFT JOIN Measurements m ON m.GroupId = e.GroupId AND m.MeasId = e.MeasId
    LEFT JOIN Groups g ON g.GroupId = e.GroupId
    LEFT JOIN FuncNameMap f ON f.FuncId = e.funcId
    LEFT JOIN FrqNameMap b ON b.FrqId = e.frqId
) AS event;
