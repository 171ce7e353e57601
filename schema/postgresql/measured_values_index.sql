-- A report's first period, and all values of a period, are found without reading the report.
CREATE INDEX PeriodsOfReport ON MeasuredValues (MeasValueId, PeriodNo);
