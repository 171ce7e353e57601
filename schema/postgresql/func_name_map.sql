-- Names of functions.
CREATE TABLE FuncNameMap (
    FuncId   integer NOT NULL PRIMARY KEY,
    FuncName text COLLATE mersola_text
);
