-- Run once with psql by the server's administrator: an empty database, and the logins of those who
-- lay it out, record into it, read it, and delete what is old. docs/postgresql.md shows how, and how
-- the logins get their passwords. Afterwards `mersola init` lays the database out and
-- grant_access.sql opens it.
\set ON_ERROR_STOP on
CREATE ROLE mersola_recorders NOLOGIN;
CREATE ROLE mersola_readers NOLOGIN;
CREATE ROLE mersola_keepers NOLOGIN;
CREATE ROLE mersola_administrator LOGIN;
CREATE ROLE mersola_recorder LOGIN IN ROLE mersola_recorders;
CREATE ROLE mersola_reader LOGIN IN ROLE mersola_readers;
CREATE ROLE mersola_keeper LOGIN IN ROLE mersola_keepers;
-- In UTF-8, every character survives.
CREATE DATABASE mersola OWNER mersola_administrator TEMPLATE template0 ENCODING 'UTF8';
REVOKE ALL ON DATABASE mersola FROM PUBLIC;
GRANT CONNECT ON DATABASE mersola TO mersola_recorders, mersola_readers, mersola_keepers;
\connect mersola
-- Servers before 15 let everybody make tables there.
REVOKE CREATE ON SCHEMA public FROM PUBLIC;
GRANT CREATE ON SCHEMA public TO mersola_administrator;
