-- An option, which nobody has run: docs/postgresql.md says what it rests on. Run it with psql as
-- the administrator, when `mersola init` has made the tables and before anything is recorded. The
-- values of a report lie on one node.
\set ON_ERROR_STOP on
SELECT create_distributed_table('measuredvalues', 'measvalueid');
SELECT create_reference_table(name) FROM unnest(ARRAY['groups', 'measurements', 'reports',
    'measvaluemap', 'measuredfunctions', 'markers', 'funcnamemap', 'frqnamemap',
    'versionhistory']::regclass[]) AS tables(name);
