-- The values: one row for each period, channel, function and frequency band. Readers take the
-- columns by position. docs/storage.md tells why the key has this order.
CREATE TABLE MeasuredValues (
    MeasValueId int NOT NULL,                             -- the report, by its key in MeasValueMap
    PeriodNo    int NOT NULL,                             -- counted from the measurement's start
    Channel     int NOT NULL,
    FuncId      int NOT NULL,                             -- named in FuncNameMap
    FrqId       int NOT NULL,                             -- frequency band, named in FrqNameMap
    Value       float,                                    -- in the unit of the function (dB for levels)
    Status      varchar(64) COLLATE Latin1_General_CI_AS, -- A: invalid, reads as -100
    PRIMARY KEY (MeasValueId, Channel, FuncId, PeriodNo, FrqId)
);
