-- Names of frequency bands.
CREATE TABLE FrqNameMap (
    FrqId   integer NOT NULL PRIMARY KEY,
    FrqName text COLLATE mersola_text
);
