-- An option, which nobody has run: docs/postgresql.md says what it rests on. Run it with psql as
-- the administrator, when `mersola init` has made the tables and before anything is recorded. A
-- chunk has the periods of a day, where a period is a second long.
\set ON_ERROR_STOP on
SELECT create_hypertable('measuredvalues', 'periodno', chunk_time_interval => 86400);
