-- Names of frequency bands.
CREATE TABLE FrqNameMap (
    FrqId   INTEGER NOT NULL PRIMARY KEY,
    FrqName TEXT COLLATE NOCASE
) STRICT;
