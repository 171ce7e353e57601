-- One row for each measurement of an instrument.
CREATE TABLE Measurements (
    GroupId     integer NOT NULL,           -- the instrument
    MeasId      integer NOT NULL,           -- identifier within the instrument
    MeasName    text COLLATE mersola_text,  -- measurements are looked up by it
    Info        text COLLATE mersola_text,  -- description
    BandWidth   integer,                    -- code of the frequency resolution
    Fullscale   double precision,           -- full scale, in the unit of the signal (Pa, m/s2)
    Sensitivity double precision,           -- of the sensor, in V per unit of the signal
    FrqLower    double precision,           -- Hz
    FrqUpper    double precision,           -- Hz
    StartAt     text COLLATE mersola_text,  -- local time: yyyy,mm,dd,hh,mm,ss,ms
    Percentiles text COLLATE mersola_text,  -- list of per cents
    PRIMARY KEY (GroupId, MeasId),
    UNIQUE (GroupId, MeasName)
);
