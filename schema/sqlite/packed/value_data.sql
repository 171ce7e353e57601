-- The values of sealed blocks. They lie apart, so that the blocks can be listed without them.
CREATE TABLE ValueData (
    DataId INTEGER NOT NULL PRIMARY KEY,
    Data   BLOB NOT NULL
) STRICT;
