-- An option, for a database whose numbers of channels and functions stay below 32,768: a value then
-- takes a third less room. docs/storage.md tells why. Run it with psql as the administrator, best when
-- `mersola init` has made the tables: values that are there are written anew, and nobody can read or
-- record meanwhile. A number that is too large is refused.
\set ON_ERROR_STOP on
ALTER TABLE MeasuredValues ALTER Channel TYPE smallint, ALTER FuncId TYPE smallint;
