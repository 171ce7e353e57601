-- What was done to the database, in the order in which it was done.
CREATE TABLE VersionHistory (
    VersionKey int IDENTITY NOT NULL PRIMARY KEY,
    Date       nvarchar(64) COLLATE Latin1_General_CI_AS,
    Version    nvarchar(255) COLLATE Latin1_General_CI_AS,
    Info       nvarchar(1000) COLLATE Latin1_General_CI_AS
);
