-- Which function is measured on which channel of a report.
CREATE TABLE MeasuredFunctions (
    GroupId  integer NOT NULL,
    MeasId   integer NOT NULL,
    ReportId integer NOT NULL,
    FuncId   integer NOT NULL,  -- named in FuncNameMap
    Channel  integer NOT NULL,
    PRIMARY KEY (GroupId, MeasId, ReportId, FuncId, Channel)
);
