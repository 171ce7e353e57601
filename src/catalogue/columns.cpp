// Reading catalogue rows by column name.
#include "columns.h"

namespace mersola {
namespace {

constexpr const char* kNotSet = "NOT_SET";

}  // namespace

CTimeEx timeIn(AdoField field) {
    CTimeEx time;
    if (!CTimeEx::FromText(field.Text(), time)) time.SetStatus(COleDateTime::invalid);
    return time;
}

CTimeSpanEx spanIn(AdoField field) {
    CTimeSpanEx span;
    CTimeSpanEx::FromText(field.Text(), span);
    return span;
}

CString realLengthText(const ReportInfo& info) {
    return info.realPeriodLenSet ? info.RealPeriodLen.ToText() : CString(kNotSet);
}

std::int32_t lowestPeriodIn(_Recordset& row) {
    for (int column = 0; column < row.FieldCount(); ++column) {
        if (row.FieldName(column).CompareNoCase("MinPeriod") == 0) return row.Fields(column).Long();
    }
    return 0;
}

void readInstrument(_Recordset& row, InstrumentInfo& rec) {
    rec.GroupId = row.Fields("GroupId").Long();
    rec.GroupName = row.Fields("GroupName").Text();
    rec.Info = row.Fields("Info").Text();
    rec.Type = row.Fields("Type").Text();
    rec.State = row.Fields("State").Text();
}

void readMeasurement(_Recordset& row, MeasurementInfo& rec) {
    rec.MeasId = row.Fields("MeasId").Long();
    rec.MeasName = row.Fields("MeasName").Text();
    rec.Info = row.Fields("Info").Text();
    rec.StartAt = timeIn(row.Fields("StartAt"));
    rec.Fullscale = row.Fields("Fullscale").Double();
    rec.Sensitivity = row.Fields("Sensitivity").Double();
    rec.FrqLower = row.Fields("FrqLower").Double();
    rec.FrqUpper = row.Fields("FrqUpper").Double();
    rec.BandWidth = row.Fields("Bandwidth").Long();
}

void readReport(_Recordset& row, ReportInfo& rec) {
    rec.ReportType = row.Fields("ReportType").Long();
    rec.noOfPeriods = row.Fields("noOfPeriods").Long();
    rec.PeriodLen = spanIn(row.Fields("PeriodLen"));
    const CString real = row.Fields("RealPeriodLen").Text();
    rec.realPeriodLenSet = !real.IsEmpty() && real != kNotSet;
    rec.RealPeriodLen = rec.realPeriodLenSet ? spanIn(row.Fields("RealPeriodLen")) : rec.PeriodLen;
}

}  // namespace mersola
