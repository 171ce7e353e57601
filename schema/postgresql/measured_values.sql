-- The values: one row for each period, channel, function and frequency band. Readers take the
-- columns by position. docs/storage.md tells why the key has this order, and why this is one table.
-- Room of deleted rows is found when a fiftieth of the table is dead, and not a fifth, so that
-- retention takes little more than what it keeps; and values, which nobody changes, are frozen when
-- they are visited first.
CREATE TABLE MeasuredValues (
    MeasValueId integer NOT NULL,           -- the report, by its key in MeasValueMap
    PeriodNo    integer NOT NULL,           -- counted from the measurement's start
    Channel     integer NOT NULL,
    FuncId      integer NOT NULL,           -- named in FuncNameMap
    FrqId       integer NOT NULL,           -- frequency band, named in FrqNameMap
    Value       double precision,           -- in the unit of the function (dB for levels)
    Status      text COLLATE mersola_text,  -- A: invalid, reads as -100
    PRIMARY KEY (MeasValueId, Channel, FuncId, PeriodNo, FrqId)
) WITH (
    autovacuum_vacuum_scale_factor = 0.02,
    autovacuum_vacuum_insert_scale_factor = 0.02,
    autovacuum_analyze_scale_factor = 0.02,
    autovacuum_freeze_min_age = 0
);
