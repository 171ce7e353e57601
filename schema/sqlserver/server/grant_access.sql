-- Run once, when `mersola init` has made the tables. Nobody who records can change a value that is
-- stored, or take away more than a marker; nobody who reads can change anything. Keepers delete what
-- is old or wrong, and can add or change nothing but the first period that a report still has.
USE mersola;
GRANT SELECT ON SCHEMA::dbo TO mersola_readers;
GRANT SELECT ON SCHEMA::dbo TO mersola_recorders;
GRANT INSERT, UPDATE ON Groups TO mersola_recorders;
GRANT INSERT, UPDATE ON Measurements TO mersola_recorders;
GRANT INSERT, UPDATE ON Reports TO mersola_recorders;
GRANT INSERT ON MeasValueMap TO mersola_recorders;
GRANT INSERT ON MeasuredFunctions TO mersola_recorders;
GRANT INSERT ON MeasuredValues TO mersola_recorders;
GRANT INSERT, UPDATE, DELETE ON Markers TO mersola_recorders;
GRANT INSERT ON FuncNameMap TO mersola_recorders;
GRANT INSERT ON FrqNameMap TO mersola_recorders;
GRANT INSERT ON VersionHistory TO mersola_recorders;
GRANT SELECT ON SCHEMA::dbo TO mersola_keepers;
GRANT DELETE ON Groups TO mersola_keepers;
GRANT DELETE ON Measurements TO mersola_keepers;
GRANT DELETE, UPDATE (MinPeriod) ON Reports TO mersola_keepers;
GRANT DELETE ON MeasValueMap TO mersola_keepers;
GRANT DELETE ON MeasuredFunctions TO mersola_keepers;
GRANT DELETE ON MeasuredValues TO mersola_keepers;
GRANT DELETE ON Markers TO mersola_keepers;
GO
