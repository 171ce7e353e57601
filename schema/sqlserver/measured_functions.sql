-- Which function is measured on which channel of a report.
CREATE TABLE MeasuredFunctions (
    GroupId  int NOT NULL,
    MeasId   int NOT NULL,
    ReportId int NOT NULL,
    FuncId   int NOT NULL,  -- named in FuncNameMap
    Channel  int NOT NULL,
    PRIMARY KEY (GroupId, MeasId, ReportId, FuncId, Channel)
);
