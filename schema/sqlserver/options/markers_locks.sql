-- An event that is marked locks its own row, whatever happens to the others.
ALTER TABLE Markers SET (LOCK_ESCALATION = DISABLE);
