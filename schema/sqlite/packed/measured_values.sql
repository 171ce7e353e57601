-- The values as rows, with the columns and the rules of the table that they are in the other layout.
-- What they are made from lies in the three tables behind this one. docs/format.md describes it.
CREATE VIRTUAL TABLE MeasuredValues USING mersola_values;
