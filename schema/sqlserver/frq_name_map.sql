-- Names of frequency bands.
CREATE TABLE FrqNameMap (
    FrqId   int NOT NULL PRIMARY KEY,
    FrqName nvarchar(255) COLLATE Latin1_General_CI_AS
);
