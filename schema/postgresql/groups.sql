-- One row for each instrument.
CREATE TABLE Groups (
    GroupId   integer NOT NULL PRIMARY KEY,      -- identifier, numbered by the library
    GroupName text COLLATE mersola_text UNIQUE,  -- instruments are looked up by it
    Info      text COLLATE mersola_text,         -- description
    Type      text COLLATE mersola_text,         -- list: what kind of instrument it is
    State     text COLLATE mersola_text          -- list: its state, rewritten while it runs
);
