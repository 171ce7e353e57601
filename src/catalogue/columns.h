// Reads the columns of catalogue rows into members of records.
#pragma once

#include <mersola/mersola.h>

namespace mersola {

/// A time or a length, as the database holds it. One that cannot be read is an invalid time or a
/// length of zero.
CTimeEx timeIn(AdoField field);
CTimeSpanEx spanIn(AdoField field);

/// The measured length of a period, as the database holds it. While it is not known, the text says
/// so.
CString realLengthText(const ReportInfo& info);

/// The lower bound of a report's periods, 0 where none is kept with it.
std::int32_t lowestPeriodIn(_Recordset& row);

/// Fill a record from the current row.
void readInstrument(_Recordset& row, InstrumentInfo& rec);
void readMeasurement(_Recordset& row, MeasurementInfo& rec);
void readReport(_Recordset& row, ReportInfo& rec);

}  // namespace mersola
