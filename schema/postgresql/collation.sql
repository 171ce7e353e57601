-- How texts compare: without regard to case, as on the other engines, and whatever the locale of the
-- database is.
CREATE COLLATION mersola_text (provider = icu, locale = 'und-u-ks-level2', deterministic = false);
