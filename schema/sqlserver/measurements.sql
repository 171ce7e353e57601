-- One row for each measurement of an instrument.
CREATE TABLE Measurements (
    GroupId     int NOT NULL,                                 -- the instrument
    MeasId      int NOT NULL,                                 -- identifier within the instrument
    MeasName    nvarchar(255) COLLATE Latin1_General_CI_AS,   -- measurements are looked up by it
    Info        nvarchar(1000) COLLATE Latin1_General_CI_AS,  -- description
    BandWidth   int,                                          -- code of the frequency resolution
    Fullscale   float,                                        -- full scale, in the unit of the signal (Pa, m/s2)
    Sensitivity float,                                        -- of the sensor, in V per unit of the signal
    FrqLower    float,                                        -- Hz
    FrqUpper    float,                                        -- Hz
    StartAt     varchar(64) COLLATE Latin1_General_CI_AS,     -- local time: yyyy,mm,dd,hh,mm,ss,ms
    Percentiles nvarchar(1000) COLLATE Latin1_General_CI_AS,  -- list of per cents
    PRIMARY KEY (GroupId, MeasId),
    UNIQUE (GroupId, MeasName)
);
