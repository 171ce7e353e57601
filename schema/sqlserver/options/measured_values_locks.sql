-- A recorder that writes many values never locks readers, or another recorder, out of the table.
ALTER TABLE MeasuredValues SET (LOCK_ESCALATION = DISABLE);
