-- Milliseconds of the local clock since 1970, of a time as the tables have it; NULL for any other text.
CREATE OR REPLACE FUNCTION mersola_milliseconds(stored text) RETURNS bigint
LANGUAGE sql IMMUTABLE STRICT PARALLEL SAFE
RETURN (
    SELECT CASE WHEN day <= date_part('day', month + interval '1 month' - interval '1 day')
        THEN (CAST(date_part('epoch', month) AS bigint) + (day - 1) * 86400 + CAST(split_part(c, ',', 4) AS integer) * 3600
            + CAST(split_part(c, ',', 5) AS integer) * 60 + CAST(split_part(c, ',', 6) AS integer)) * 1000
            + CAST(split_part(c, ',', 7) AS integer) END
    FROM (SELECT c, CAST(split_part(c, ',', 3) AS integer) AS day,
            make_date(CAST(split_part(c, ',', 1) AS integer),
                CAST(split_part(c, ',', 2) AS integer), 1) AS month
        FROM (SELECT stored COLLATE ucs_basic AS c) AS text
        WHERE c ~ ('^[1-9][0-9]{3},(0[1-9]|1[0-2]),(0[1-9]|[12][0-9]|3[01]),'
            || '([01][0-9]|2[0-3]),[0-5][0-9],[0-5][0-9],[0-9]{3}$')) AS parts
);
