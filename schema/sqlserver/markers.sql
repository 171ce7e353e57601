-- Events with a recording file. Equal markers may be stored twice, so there is no key.
CREATE TABLE Markers (
    GroupId          int NOT NULL,
    MeasId           int NOT NULL,
    Path             nvarchar(1000) COLLATE Latin1_General_CI_AS,  -- the recording file
    Start            varchar(64) COLLATE Latin1_General_CI_AS,     -- local time: yyyy,mm,dd,hh,mm,ss,ms
    Stop             varchar(64) COLLATE Latin1_General_CI_AS,     -- likewise
    MarkerId         int,
    MarkerType       int,
    TriggerCondition nvarchar(4000) COLLATE Latin1_General_CI_AS,  -- list of key="value"
    funcId           int,                                          -- function of the trigger
    frqId            int,                                          -- frequency band of the trigger
    inProgess        int,                                          -- not 0 while the event goes on
    ExtMarkerType    nvarchar(255) COLLATE Latin1_General_CI_AS,
    Color            int                                           -- display colour
);
