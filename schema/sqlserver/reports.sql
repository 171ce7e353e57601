-- One row for each report of a measurement: a series of periods of one length.
CREATE TABLE Reports (
    GroupId       int NOT NULL,
    MeasId        int NOT NULL,
    ReportId      int NOT NULL,                              -- identifier within the measurement
    PeriodLen     varchar(64) COLLATE Latin1_General_CI_AS,  -- nominal length: dd,hh,mm,ss,ms, or milliseconds
    RealPeriodLen varchar(64) COLLATE Latin1_General_CI_AS,  -- measured length, or NOT_SET
    noOfPeriods   int,                                       -- periods stored so far, empty ones included
    MinPeriod     int,                                       -- first period still stored
    ReportType    int,                                       -- reports are listed by it
    PRIMARY KEY (GroupId, MeasId, ReportId)
);
