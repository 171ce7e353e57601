-- The key under which a report's values are stored.
CREATE TABLE MeasValueMap (
    GroupId     INTEGER NOT NULL,
    MeasId      INTEGER NOT NULL,
    ReportId    INTEGER NOT NULL,
    MeasValueId INTEGER NOT NULL UNIQUE,
    PRIMARY KEY (GroupId, MeasId, ReportId)
) STRICT;
