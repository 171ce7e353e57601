-- Names of functions.
CREATE TABLE FuncNameMap (
    FuncId   INTEGER NOT NULL PRIMARY KEY,
    FuncName TEXT COLLATE NOCASE
) STRICT;
