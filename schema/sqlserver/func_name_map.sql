-- Names of functions.
CREATE TABLE FuncNameMap (
    FuncId   int NOT NULL PRIMARY KEY,
    FuncName nvarchar(255) COLLATE Latin1_General_CI_AS
);
