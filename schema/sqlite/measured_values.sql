-- The values: one row for each period, channel, function and frequency band. Readers take the
-- columns by position. docs/storage.md tells why the key has this order.
CREATE TABLE MeasuredValues (
    MeasValueId INTEGER NOT NULL,     -- the report, by its key in MeasValueMap
    PeriodNo    INTEGER NOT NULL,     -- counted from the measurement's start
    Channel     INTEGER NOT NULL,
    FuncId      INTEGER NOT NULL,     -- named in FuncNameMap
    FrqId       INTEGER NOT NULL,     -- frequency band, named in FrqNameMap
    Value       REAL,                 -- in the unit of the function (dB for levels)
    Status      TEXT COLLATE NOCASE,  -- A: invalid, reads as -100
    PRIMARY KEY (MeasValueId, Channel, FuncId, PeriodNo, FrqId)
) STRICT, WITHOUT ROWID;
