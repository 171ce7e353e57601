-- One row for each report of a measurement: a series of periods of one length.
CREATE TABLE Reports (
    GroupId       integer NOT NULL,
    MeasId        integer NOT NULL,
    ReportId      integer NOT NULL,           -- identifier within the measurement
    PeriodLen     text COLLATE mersola_text,  -- nominal length: dd,hh,mm,ss,ms, or milliseconds
    RealPeriodLen text COLLATE mersola_text,  -- measured length, or NOT_SET
    noOfPeriods   integer,                    -- periods stored so far, empty ones included
    MinPeriod     integer,                    -- first period still stored
    ReportType    integer,                    -- reports are listed by it
    PRIMARY KEY (GroupId, MeasId, ReportId)
);
