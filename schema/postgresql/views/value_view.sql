-- Values by name, each at the beginning of its period; NULL where a value is missing or invalid.
-- MeasValueId, Channel, FuncId, PeriodNo and FrqId are the key, by which a span is found at once;
-- StartMs and PeriodMs tell which periods lie in it.
CREATE OR REPLACE VIEW ValueView AS
SELECT r.Instrument, r.Measurement, r.ReportId, v.MeasValueId, v.PeriodNo, v.Channel, v.FuncId,
    f.FuncName, v.FrqId, b.FrqName AS Band,
    CASE
        WHEN b.FrqName COLLATE ucs_basic ~ '^[0-9]+([.][0-9]+)? kHz$'
        THEN CAST(split_part(b.FrqName COLLATE ucs_basic, ' ', 1) AS double precision) * 1000
        WHEN b.FrqName COLLATE ucs_basic ~ '^[0-9]+([.][0-9]+)? Hz$'
        THEN CAST(split_part(b.FrqName COLLATE ucs_basic, ' ', 1) AS double precision)
    END AS BandHz,
    (r.StartMs + v.PeriodNo * r.PeriodMs) / CAST(1000 AS double precision) AS Epoch,
    to_char(to_timestamp((r.StartMs + v.PeriodNo * r.PeriodMs) / 1000.0) AT TIME ZONE 'UTC', 'YYYY-MM-DD"T"HH24:MI:SS.MS') AS Time,
    CASE WHEN left(v.Status, 1) COLLATE ucs_basic = 'A' THEN NULL ELSE v.Value END AS Value,
    v.Status, r.StartMs, r.PeriodMs
FROM ReportView r
JOIN MeasuredValues v ON v.MeasValueId = r.MeasValueId
LEFT JOIN FuncNameMap f ON f.FuncId = v.FuncId
LEFT JOIN FrqNameMap b ON b.FrqId = v.FrqId;
