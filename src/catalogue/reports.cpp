// The catalogue of reports and the selection of one.
#include <mersola/mersola.h>

#include "columns.h"
#include "session/statement.h"
#include "session/trace.h"

using namespace mersola;

namespace {

template <class Wanted>
int readReports(Mersola& store, CArray<ReportInfo, ReportInfo&>& out,
                const _ConnectionPtr& connection, int groupId, int measId, Wanted wanted) try {
    const auto rows = store.dbExecute(
        connection,
        formatted("SELECT * FROM Reports where MeasId=%d and GroupId=%d ORDER BY ReportType ASC",
                  measId, groupId));
    if (!rows) return 0;
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        ReportInfo rec;
        rec.ReportId = rows->Fields("ReportId").Long();
        if (!wanted(rec.ReportId)) continue;
        readReport(*rows, rec);
        out.Add(rec);
    }
    return 1;
} catch (const _com_error&) {
    return 0;
}

}  // namespace

int Mersola::SetReport(long reportId) {
    const auto id = identifier(reportId);
    if (!id) return 0;
    try {
        return selectReport(*id) ? 1 : 0;
    } catch (const _com_error&) {
        return 0;
    }
}

bool Mersola::selectReport(int reportId) {
    ReportInfo rec;
    int storedReport = reportId;
    int storedMeasurement = m_MeasId;
    std::int32_t lowest = 0;
    if (continuous()) {
        if (reportId != m_ReportId) {
            m_ReportId = reportId;
            m_contReportIndex = kNone;
            for (int index = 0; index < m_contReports.GetSize() && m_contReportIndex < 0; ++index) {
                if (m_contReports[index].ReportType == reportId) m_contReportIndex = index;
            }
        }
        if (m_contReportIndex == kNone) return false;
        rec = m_contReports[m_contReportIndex];
        rec.ReportType = reportId;
        storedMeasurement = m_contMeasId;
        for (const MeasurementInfo& member : m_contMeasurements) {
            // The view is selected by report type, but values have the key of the member's own
            // report.
            if (member.MeasId == m_contMeasId)
                storedReport = member.reports[m_contReportIndex].ReportId;
        }
    } else {
        if (reportId == m_ReportId) return true;
        m_ReportId = reportId;
        const auto rows = dbExecute(
            formatted("SELECT * FROM Reports where ReportId=%d and MeasId=%d and GroupId=%d",
                      m_ReportId, m_MeasId, m_GroupId));
        if (!atFirstRow(rows)) return false;
        readReport(*rows, rec);
        lowest = lowestPeriodIn(*rows);
    }
    m_reportType = rec.ReportType;
    m_prdLength = rec.PeriodLen;
    m_realPrdLength = rec.RealPeriodLen;
    m_realPrdLengthSet = rec.realPeriodLenSet;
    m_noOfPeriods = rec.noOfPeriods;
    if (continuous()) {
        if (m_contMeasId == kNone) return true;
        m_MeasValueId = kNone;
    }
    const auto rows = dbExecute(formatted(
        "SELECT MeasValueId FROM MeasValueMap where ReportId=%d and MeasId=%d and GroupId=%d",
        storedReport, storedMeasurement, m_GroupId));
    if (!atFirstRow(rows)) return false;
    m_MeasValueId = rows->Fields("MeasValueId").Long();
    noticeLowestPeriod(m_MeasValueId, lowest);
    return true;
}

int Mersola::GetReports(CArray<ReportInfo, ReportInfo&>& out) {
    return _GetReports(out, kSelected, m_connection);
}

int Mersola::_GetReports(CArray<ReportInfo, ReportInfo&>& out, int measId,
                         const _ConnectionPtr& connection) {
    out.RemoveAll();
    if (measId == kSelected) measId = m_MeasId;
    if (m_contMode == kContinuousView) {
        out.Append(m_contReports);
        return 1;
    }
    return readReports(*this, out, connection, m_GroupId, measId, [&](int reportId) {
        const auto functions =
            dbExecute(connection, formatted("SELECT count(*) FROM MeasuredFunctions where "
                                            "MeasId=%d and GroupId=%d and ReportId=%d",
                                            measId, m_GroupId, reportId));
        return atFirstRow(functions) && functions->Fields(0).Long() != 0;
    });
}

int Mersola::_GetAllReports(CArray<ReportInfo, ReportInfo&>& out, int measId,
                            const _ConnectionPtr& connection) {
    out.RemoveAll();
    if (measId == kSelected) measId = m_MeasId;
    return readReports(*this, out, connection, m_GroupId, measId, [](int) { return true; });
}

int Mersola::_GetReport(int reportId, ReportInfo& rec, const _ConnectionPtr& connection) {
    try {
        const auto rows = dbExecute(
            connection,
            formatted("SELECT * FROM Reports where GroupId=%d AND MeasId=%d AND ReportId=%d",
                      m_GroupId, m_MeasId, reportId));
        if (!atFirstRow(rows)) return fault("Done Error");
        rec.ReportId = reportId;
        readReport(*rows, rec);
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}
