-- The key under which a report's values are stored.
CREATE TABLE MeasValueMap (
    GroupId     int NOT NULL,
    MeasId      int NOT NULL,
    ReportId    int NOT NULL,
    MeasValueId int NOT NULL UNIQUE,
    PRIMARY KEY (GroupId, MeasId, ReportId)
);
