-- What was written lately: one row for each report and period, with all its values.
CREATE TABLE PendingValues (
    MeasValueId INTEGER NOT NULL,
    PeriodNo    INTEGER NOT NULL,
    Data        BLOB NOT NULL,
    PRIMARY KEY (MeasValueId, PeriodNo)
) STRICT, WITHOUT ROWID;
