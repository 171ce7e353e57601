-- Run once, when `mersola init` has made the tables. Nobody who records can change a value that is
-- stored, or take away more than a marker; nobody who reads can change anything.
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
GO
