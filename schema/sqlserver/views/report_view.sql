-- Reports by name, for programs that know nothing of mersola. Times are milliseconds of the local clock
-- since 1970, and NULL where a text is no time. docs/grafana.md shows how the views are asked.
CREATE OR ALTER VIEW ReportView AS
SELECT Instrument, Measurement, ReportId, MeasValueId, StartMs / 1000e0 AS StartEpoch,
    CONVERT(varchar(23), DATEADD(ms, StartMs % 1000, DATEADD(s, StartMs % 86400000 / 1000, DATEADD(d, StartMs / 86400000, CONVERT(datetime2(3), '1970-01-01')))), 126) AS StartTime,
    StartMs, PeriodMs
FROM (
    SELECT g.GroupName AS Instrument, m.MeasName AS Measurement, r.ReportId, k.MeasValueId,
        DATEDIFF_BIG(ms, '1970-01-01',
            TRY_CONVERT(datetime2(3), REPLACE(LEFT(m.StartAt, 10), ',', '-') + 'T' + REPLACE(SUBSTRING(m.StartAt, 12, 8), ',', ':')
                + '.' + SUBSTRING(m.StartAt, 21, 3), 126)) AS StartMs,
        CASE
            WHEN r.PeriodLen LIKE '%[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9][0-9]'
                AND LEFT(r.PeriodLen, LEN(r.PeriodLen) - 13) NOT LIKE '%[^0-9]%'
            THEN (((TRY_CONVERT(bigint, LEFT(r.PeriodLen, LEN(r.PeriodLen) - 13)) * 24
                + LEFT(RIGHT(r.PeriodLen, 12), 2)) * 60 + LEFT(RIGHT(r.PeriodLen, 9), 2)) * 60
                + LEFT(RIGHT(r.PeriodLen, 6), 2)) * 1000 + RIGHT(r.PeriodLen, 3)
            WHEN r.PeriodLen <> '' AND r.PeriodLen NOT LIKE '%[^0-9]%'
            THEN TRY_CONVERT(bigint, r.PeriodLen)
        END AS PeriodMs
    FROM Reports r
    JOIN MeasValueMap k ON k.GroupId = r.GroupId AND k.MeasId = r.MeasId AND k.ReportId = r.ReportId
    JOIN Measurements m ON m.GroupId = r.GroupId AND m.MeasId = r.MeasId
    JOIN Groups g ON g.GroupId = r.GroupId
) AS report;
