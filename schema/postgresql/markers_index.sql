-- Markers are read by measurement.
CREATE INDEX MarkersOfMeasurement ON Markers (GroupId, MeasId);
