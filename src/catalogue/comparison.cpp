// Whether measurements are of one kind, so that they can be read as one.
#include <mersola/mersola.h>

bool Mersola::identicalMeasurements(MeasurementInfo& a, MeasurementInfo& b,
                                    const _ConnectionPtr& connection) {
    return a.identicalTo(b) && identicalReports(a, b, connection);
}

bool Mersola::identicalReports(MeasurementInfo& a, MeasurementInfo& b,
                               const _ConnectionPtr& connection) {
    for (MeasurementInfo* measurement : {&a, &b}) {
        if (measurement->hasReports) continue;
        CArray<ReportInfo, ReportInfo&> reports;
        if (!_GetReports(reports, measurement->MeasId, connection)) return false;
        measurement->setReports(reports);
    }
    if (a.reports.GetSize() != b.reports.GetSize()) return false;
    for (int index = 0; index < a.reports.GetSize(); ++index) {
        if (!a.reports[index].identicalTo(b.reports[index])) return false;
    }
    return true;
}
