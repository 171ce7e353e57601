-- Which function is measured on which channel of a report.
CREATE TABLE MeasuredFunctions (
    GroupId  INTEGER NOT NULL,
    MeasId   INTEGER NOT NULL,
    ReportId INTEGER NOT NULL,
    FuncId   INTEGER NOT NULL,  -- named in FuncNameMap
    Channel  INTEGER NOT NULL,
    PRIMARY KEY (GroupId, MeasId, ReportId, FuncId, Channel)
) STRICT, WITHOUT ROWID;
