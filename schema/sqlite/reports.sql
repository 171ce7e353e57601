-- One row for each report of a measurement: a series of periods of one length.
CREATE TABLE Reports (
    GroupId       INTEGER NOT NULL,
    MeasId        INTEGER NOT NULL,
    ReportId      INTEGER NOT NULL,     -- identifier within the measurement
    PeriodLen     TEXT COLLATE NOCASE,  -- nominal length: dd,hh,mm,ss,ms; a bare number is milliseconds
    RealPeriodLen TEXT COLLATE NOCASE,  -- measured length, or NOT_SET while none is known
    noOfPeriods   INTEGER,              -- periods stored so far, those without values included
    MinPeriod     INTEGER,              -- first period still stored
    ReportType    INTEGER,              -- reports are listed by it
    PRIMARY KEY (GroupId, MeasId, ReportId)
) STRICT;
