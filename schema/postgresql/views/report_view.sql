-- Reports by name, for programs that know nothing of mersola. Times are milliseconds of the local clock
-- since 1970, and NULL where a text is no time. docs/grafana.md shows how the views are asked.
CREATE OR REPLACE VIEW ReportView AS
SELECT Instrument, Measurement, ReportId, MeasValueId, StartMs / CAST(1000 AS double precision) AS StartEpoch,
    to_char(to_timestamp(StartMs / 1000.0) AT TIME ZONE 'UTC', 'YYYY-MM-DD"T"HH24:MI:SS.MS') AS StartTime,
    StartMs, PeriodMs
FROM (
    SELECT g.GroupName AS Instrument, m.MeasName AS Measurement, r.ReportId, k.MeasValueId,
        mersola_milliseconds(m.StartAt) AS StartMs,
        CASE
            WHEN r.PeriodLen COLLATE ucs_basic ~ '^[0-9]{2,6}(,[0-9]{2}){3},[0-9]{3}$'
            THEN (((CAST(split_part(r.PeriodLen COLLATE ucs_basic, ',', 1) AS bigint) * 24
                + CAST(split_part(r.PeriodLen COLLATE ucs_basic, ',', 2) AS integer)) * 60
                + CAST(split_part(r.PeriodLen COLLATE ucs_basic, ',', 3) AS integer)) * 60
                + CAST(split_part(r.PeriodLen COLLATE ucs_basic, ',', 4) AS integer)) * 1000
                + CAST(split_part(r.PeriodLen COLLATE ucs_basic, ',', 5) AS integer)
            WHEN r.PeriodLen COLLATE ucs_basic ~ '^[0-9]{1,15}$'
            THEN CAST(r.PeriodLen AS bigint)
        END AS PeriodMs
    FROM Reports r
    JOIN MeasValueMap k ON k.GroupId = r.GroupId AND k.MeasId = r.MeasId AND k.ReportId = r.ReportId
    JOIN Measurements m ON m.GroupId = r.GroupId AND m.MeasId = r.MeasId
    JOIN Groups g ON g.GroupId = r.GroupId
) AS report;
