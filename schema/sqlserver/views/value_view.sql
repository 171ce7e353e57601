-- Values by name, each at the beginning of its period; NULL where a value is missing or invalid.
-- MeasValueId, Channel, FuncId, PeriodNo and FrqId are the key, by which a span is found at once;
-- StartMs and PeriodMs tell which periods lie in it.
CREATE OR ALTER VIEW ValueView AS
SELECT r.Instrument, r.Measurement, r.ReportId, v.MeasValueId, v.PeriodNo, v.Channel, v.FuncId,
    f.FuncName, v.FrqId, b.FrqName AS Band,
    CASE
        WHEN b.FrqName LIKE '[0-9]% kHz'
        THEN TRY_CONVERT(float, LEFT(b.FrqName, LEN(b.FrqName) - 4)) * 1000
        WHEN b.FrqName LIKE '[0-9]% Hz'
        THEN TRY_CONVERT(float, LEFT(b.FrqName, LEN(b.FrqName) - 3))
    END AS BandHz,
    (r.StartMs + v.PeriodNo * r.PeriodMs) / 1000e0 AS Epoch,
    CONVERT(varchar(23), DATEADD(ms, (r.StartMs + v.PeriodNo * r.PeriodMs) % 1000, DATEADD(s, (r.StartMs + v.PeriodNo * r.PeriodMs) % 86400000 / 1000, DATEADD(d, (r.StartMs + v.PeriodNo * r.PeriodMs) / 86400000, CONVERT(datetime2(3), '1970-01-01')))), 126) AS Time,
    CASE WHEN LEFT(v.Status, 1) = 'A' COLLATE Latin1_General_BIN2 THEN NULL ELSE v.Value END AS Value,
    v.Status, r.StartMs, r.PeriodMs
FROM ReportView r
JOIN MeasuredValues v ON v.MeasValueId = r.MeasValueId
LEFT JOIN FuncNameMap f ON f.FuncId = v.FuncId
LEFT JOIN FrqNameMap b ON b.FrqId = v.FrqId;
