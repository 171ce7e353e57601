-- What was done to the database, in the order in which it was done: rows are only ever added.
CREATE TABLE VersionHistory (
    Date    text COLLATE mersola_text,
    Version text COLLATE mersola_text,
    Info    text COLLATE mersola_text
);
