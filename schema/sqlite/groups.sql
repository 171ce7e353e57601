-- One row for each instrument.
CREATE TABLE Groups (
    GroupId   INTEGER NOT NULL PRIMARY KEY,  -- identifier, numbered by the library
    GroupName TEXT COLLATE NOCASE UNIQUE,    -- instruments are looked up by it
    Info      TEXT COLLATE NOCASE,           -- description
    Type      TEXT COLLATE NOCASE,           -- list: what kind of instrument it is
    State     TEXT COLLATE NOCASE            -- list: its state, rewritten while it runs
) STRICT;
