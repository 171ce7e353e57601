-- Values by name, each at the beginning of its period; NULL where a value is missing or invalid.
-- MeasValueId, Channel, FuncId, PeriodNo and FrqId are the key, by which a span is found at once;
-- StartMs and PeriodMs tell which periods lie in it.
CREATE VIEW ValueView AS
SELECT r.Instrument, r.Measurement, r.ReportId, v.MeasValueId, v.PeriodNo, v.Channel, v.FuncId,
    f.FuncName, v.FrqId, b.FrqName AS Band,
    CASE
        WHEN b.FrqName GLOB '[0-9]* kHz' AND rtrim(b.FrqName, ' kHz') NOT GLOB '*[^0-9.]*'
        THEN CAST(b.FrqName AS REAL) * 1000
        WHEN b.FrqName GLOB '[0-9]* Hz' AND rtrim(b.FrqName, ' Hz') NOT GLOB '*[^0-9.]*'
        THEN CAST(b.FrqName AS REAL)
    END AS BandHz,
    (r.StartMs + v.PeriodNo * r.PeriodMs) / 1000.0 AS Epoch,
    strftime('%Y-%m-%dT%H:%M:%f', (r.StartMs + v.PeriodNo * r.PeriodMs) / 1000.0, 'unixepoch') AS Time,
    CASE WHEN substr(v.Status, 1, 1) = 'A' COLLATE BINARY THEN NULL ELSE v.Value END AS Value,
    v.Status, r.StartMs, r.PeriodMs
FROM ReportView r
JOIN MeasuredValues v ON v.MeasValueId = r.MeasValueId
LEFT JOIN FuncNameMap f ON f.FuncId = v.FuncId
LEFT JOIN FrqNameMap b ON b.FrqId = v.FrqId;
