-- What was done to the database. Rows are only ever added, and the server keeps the rows of a table
-- without a key as they came.
CREATE TABLE VersionHistory (
    Date    nvarchar(64) COLLATE Latin1_General_CI_AS,
    Version nvarchar(255) COLLATE Latin1_General_CI_AS,
    Info    nvarchar(1000) COLLATE Latin1_General_CI_AS
);
