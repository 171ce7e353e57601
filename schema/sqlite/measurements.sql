-- One row for each measurement of an instrument.
CREATE TABLE Measurements (
    GroupId     INTEGER NOT NULL,     -- the instrument
    MeasId      INTEGER NOT NULL,     -- identifier within the instrument
    MeasName    TEXT COLLATE NOCASE,  -- measurements of an instrument are looked up by it
    Info        TEXT COLLATE NOCASE,  -- description
    BandWidth   INTEGER,              -- code of the frequency resolution
    Fullscale   REAL,                 -- full scale, in the unit of the signal (Pa, m/s2)
    Sensitivity REAL,                 -- of the sensor, in V per unit of the signal
    FrqLower    REAL,                 -- Hz
    FrqUpper    REAL,                 -- Hz
    StartAt     TEXT COLLATE NOCASE,  -- local time of the first period: yyyy,mm,dd,hh,mm,ss,ms
    Percentiles TEXT COLLATE NOCASE,  -- list of per cents
    PRIMARY KEY (GroupId, MeasId),
    UNIQUE (GroupId, MeasName)
) STRICT;
