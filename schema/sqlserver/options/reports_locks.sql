-- Recorders count their periods here all the time, each in a row of its own.
ALTER TABLE Reports SET (LOCK_ESCALATION = DISABLE);
