-- Reports by name, for programs that know nothing of mersola. Times are milliseconds of the local clock
-- since 1970, and NULL where a text is no time. docs/grafana.md shows how the views are asked.
CREATE VIEW ReportView AS
SELECT Instrument, Measurement, ReportId, MeasValueId, StartMs / 1000.0 AS StartEpoch,
    strftime('%Y-%m-%dT%H:%M:%f', StartMs / 1000.0, 'unixepoch') AS StartTime,
    StartMs, PeriodMs
FROM (
    SELECT g.GroupName AS Instrument, m.MeasName AS Measurement, r.ReportId, k.MeasValueId,
        CASE
            WHEN m.StartAt GLOB
                    '[0-9][0-9][0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9][0-9]'
                AND date(replace(substr(m.StartAt, 1, 10), ',', '-'), '0 days') = replace(substr(m.StartAt, 1, 10), ',', '-')
            THEN strftime('%s', replace(substr(m.StartAt, 1, 10), ',', '-') || ' ' || replace(substr(m.StartAt, 12, 8), ',', ':'))
                * 1000 + substr(m.StartAt, 21)
        END AS StartMs,
        CASE
            WHEN r.PeriodLen GLOB
                    '*[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9],[0-9][0-9][0-9]'
                AND substr(r.PeriodLen, 1, length(r.PeriodLen) - 13) NOT GLOB '*[^0-9]*'
            THEN (((substr(r.PeriodLen, 1, length(r.PeriodLen) - 13) * 24
                + substr(r.PeriodLen, -12, 2)) * 60 + substr(r.PeriodLen, -9, 2)) * 60
                + substr(r.PeriodLen, -6, 2)) * 1000 + substr(r.PeriodLen, -3)
            WHEN r.PeriodLen <> '' AND r.PeriodLen NOT GLOB '*[^0-9]*'
            THEN CAST(r.PeriodLen AS INTEGER)
        END AS PeriodMs
    FROM Reports r
    JOIN MeasValueMap k ON k.GroupId = r.GroupId AND k.MeasId = r.MeasId AND k.ReportId = r.ReportId
    JOIN Measurements m ON m.GroupId = r.GroupId AND m.MeasId = r.MeasId
    JOIN Groups g ON g.GroupId = r.GroupId
) AS report;
