-- Run once with psql, when `mersola init` has made the tables, by who ran it. Nobody who records can
-- change a value that is stored, or take away more than a marker; nobody who reads can change
-- anything; who keeps the database small can delete what is old and write nothing but where the
-- periods of a report begin.
\set ON_ERROR_STOP on
GRANT SELECT ON ALL TABLES IN SCHEMA public TO mersola_readers, mersola_recorders, mersola_keepers;
GRANT INSERT, UPDATE ON Groups, Measurements, Reports TO mersola_recorders;
GRANT INSERT ON MeasValueMap, MeasuredFunctions, MeasuredValues TO mersola_recorders;
GRANT INSERT ON FuncNameMap, FrqNameMap, VersionHistory TO mersola_recorders;
GRANT INSERT, UPDATE, DELETE ON Markers TO mersola_recorders;
GRANT DELETE ON Groups, Measurements, Reports, MeasValueMap, MeasuredFunctions, MeasuredValues,
    Markers TO mersola_keepers;
GRANT UPDATE (MinPeriod) ON Reports TO mersola_keepers;
