-- Sealed blocks: one row for each report, channel, function and up to 128 periods, which lie between
-- two multiples of 128. What is in PendingValues as well counts there.
CREATE TABLE ValueBlocks (
    MeasValueId INTEGER NOT NULL,  -- the report, by its key in MeasValueMap
    Channel     INTEGER NOT NULL,
    FuncId      INTEGER NOT NULL,
    FirstPeriod INTEGER NOT NULL,  -- the first period that has a value in the block
    LastPeriod  INTEGER NOT NULL,  -- the last one
    DataId      INTEGER NOT NULL,  -- the values, in ValueData
    Summary     BLOB NOT NULL,     -- of each band, for overviews
    PRIMARY KEY (MeasValueId, Channel, FuncId, FirstPeriod)
) STRICT, WITHOUT ROWID;
