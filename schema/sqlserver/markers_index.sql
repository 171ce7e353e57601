-- Markers are read by measurement. The rows themselves are kept in this order, and those of one
-- measurement as they came: the server numbers equal keys in a column that nobody sees.
CREATE CLUSTERED INDEX MarkersOfMeasurement ON Markers (GroupId, MeasId);
