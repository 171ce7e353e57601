// The columns of catalogue rows as members of records.
#pragma once

#include <mersola/mersola.h>

namespace mersola {

/// A time or a length as the database holds it; one that cannot be read is an invalid time or a
/// length of zero.
CTimeEx timeIn(AdoField field);
CTimeSpanEx spanIn(AdoField field);

/// The measured length of a period as the database holds it; another text while it is not known.
CString realLengthText(const ReportInfo& info);

/// Fill the record from the current row.
void readInstrument(_Recordset& row, InstrumentInfo& rec);
void readMeasurement(_Recordset& row, MeasurementInfo& rec);
void readReport(_Recordset& row, ReportInfo& rec);

}  // namespace mersola
