-- One row for each instrument.
CREATE TABLE Groups (
    GroupId   int NOT NULL PRIMARY KEY,                            -- identifier, numbered by the library
    GroupName nvarchar(255) COLLATE Latin1_General_CI_AS UNIQUE,   -- instruments are looked up by it
    Info      nvarchar(1000) COLLATE Latin1_General_CI_AS,         -- description
    Type      nvarchar(255) COLLATE Latin1_General_CI_AS,          -- list: what kind of instrument it is
    State     nvarchar(1000) COLLATE Latin1_General_CI_AS          -- list: its state, rewritten while it runs
);
