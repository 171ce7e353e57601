-- The key under which a report's values are stored.
CREATE TABLE MeasValueMap (
    GroupId     integer NOT NULL,
    MeasId      integer NOT NULL,
    ReportId    integer NOT NULL,
    MeasValueId integer NOT NULL UNIQUE,
    PRIMARY KEY (GroupId, MeasId, ReportId)
);
