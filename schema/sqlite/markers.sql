-- Events with a recording file. Equal markers may be stored twice, so there is no key.
CREATE TABLE Markers (
    GroupId          INTEGER NOT NULL,
    MeasId           INTEGER NOT NULL,
    Path             TEXT COLLATE NOCASE,  -- the recording file
    Start            TEXT COLLATE NOCASE,  -- local time: yyyy,mm,dd,hh,mm,ss,ms
    Stop             TEXT COLLATE NOCASE,  -- likewise; the same as Start while the event goes on
    MarkerId         INTEGER,
    MarkerType       INTEGER,
    TriggerCondition TEXT COLLATE NOCASE,  -- list of key="value"
    funcId           INTEGER,              -- function of the trigger
    frqId            INTEGER,              -- frequency band of the trigger
    inProgess        INTEGER,              -- not 0 while the event goes on; programs rely on the spelling
    ExtMarkerType    TEXT COLLATE NOCASE,
    Color            INTEGER               -- display colour
) STRICT;
