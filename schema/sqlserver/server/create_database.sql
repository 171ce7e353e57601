-- Run once by the server's administrator: an empty database, and the logins of those who record
-- into it, those who delete from it and those who read it. docs/sql-server.md shows how; sqlcmd takes the passwords from the
-- environment. Afterwards `mersola init` lays the database out and grant_access.sql opens it.
-- The texts of statements are read in the database's collation: in UTF-8, every character survives.
-- Servers before 2019 have no such collation; Latin1_General_CI_AS keeps Western European texts.
CREATE DATABASE mersola COLLATE Latin1_General_100_CI_AS_SC_UTF8;
GO
-- Readers see what was committed last and wait for no recorder.
ALTER DATABASE mersola SET READ_COMMITTED_SNAPSHOT ON;
GO
CREATE LOGIN mersola_recorder WITH PASSWORD = '$(RECORDER_PASSWORD)', DEFAULT_DATABASE = mersola;
CREATE LOGIN mersola_keeper WITH PASSWORD = '$(KEEPER_PASSWORD)', DEFAULT_DATABASE = mersola;
CREATE LOGIN mersola_reader WITH PASSWORD = '$(READER_PASSWORD)', DEFAULT_DATABASE = mersola;
GO
USE mersola;
CREATE USER mersola_recorder FOR LOGIN mersola_recorder;
CREATE USER mersola_keeper FOR LOGIN mersola_keeper;
CREATE USER mersola_reader FOR LOGIN mersola_reader;
CREATE ROLE mersola_recorders;
CREATE ROLE mersola_keepers;
CREATE ROLE mersola_readers;
ALTER ROLE mersola_recorders ADD MEMBER mersola_recorder;
ALTER ROLE mersola_keepers ADD MEMBER mersola_keeper;
ALTER ROLE mersola_readers ADD MEMBER mersola_reader;
GO
