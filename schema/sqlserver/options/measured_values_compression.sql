-- Neighbouring values share most of their key, so that their pages compress well.
ALTER INDEX ALL ON MeasuredValues REBUILD WITH (DATA_COMPRESSION = PAGE);
