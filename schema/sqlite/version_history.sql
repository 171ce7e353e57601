-- What was done to the database, in the order in which it was done.
CREATE TABLE VersionHistory (
    Date    TEXT COLLATE NOCASE,
    Version TEXT COLLATE NOCASE,
    Info    TEXT COLLATE NOCASE
) STRICT;
