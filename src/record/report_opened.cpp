// Registering reports, their value keys and their functions.
#include <algorithm>

#include <mersola/mersola.h>

#include "attempt.h"
#include "catalogue/columns.h"
#include "session/db_error.h"
#include "session/probes.h"
#include "session/statement.h"
#include "session/trace.h"

using namespace mersola;

bool Mersola::PutReport(const _ConnectionPtr& connection, ReportInfo& info) {
    if (!resolved(connection)) return fault("***No connection in PutReport\n");
    if (!m_Valid) return fault("***Invalid m_Valid in PutReport\n");
    m_MeasValueId = kNone;  // until the key of this report is known
    m_lastReportOffs = 0;
    m_reportType = info.ReportType;
    m_ReportId = info.ReportId;
    m_noOfPeriods = info.noOfPeriods;
    m_prdLength = info.PeriodLen;
    m_realPrdLength = info.RealPeriodLen;
    m_realPrdLengthSet = info.realPeriodLenSet;
    m_newEntry = !m_resumed;
    try {
        auto rows = dbExecute(connection, kReportsProbe);
        rows = dbExecute(
            connection,
            formatted("SELECT count(*) FROM Reports where MeasId=%d and GroupId=%d and ReportId=%d",
                      m_MeasId, m_GroupId, m_ReportId));
        if (!atFirstRow(rows) || rows->Fields(0).Long() == 0) {
            m_newEntry = true;
            return insertReport(connection, info);
        }
        return resumeReport(connection, info);
    } catch (const _com_error&) {
        return fault("***Invalid Exception PutReport \n");
    }
}

bool Mersola::resumeReport(const _ConnectionPtr& connection, const ReportInfo& info) {
    ReportInfo stored;
    if (!_GetReport(m_ReportId, stored, connection)) {
        m_Valid = false;
        return fault("***Invalid _GetReport in PutMeasurement\n");
    }
    if (!stored.identicalTo(info)) {
        m_Valid = false;
        return fault("***Invalid reportinfo in PutReport\n");
    }
    if (std::ranges::find(m_registeredReports, m_ReportId) != m_registeredReports.end()) {
        // This recording registered the report itself: its periods count from this recording's
        // start.
        m_newEntry = true;
        m_noOfPeriods = stored.noOfPeriods;
        return ensureMeasMap(connection, m_ReportId, m_MeasValueId);
    }
    ReportInfo* last = m_resumed ? lastReport(m_ReportId) : nullptr;
    if (!last) {
        // Another recorder has registered the report since. Where its periods lie is not known
        // here.
        m_noOfPeriods = stored.noOfPeriods;
        m_Valid = false;
        Test("***PutMissingPeriods not found\n");
        return true;
    }
    if (last->extra5 < 0 && !tryMeasMap(connection, m_ReportId, last->extra5)) {
        m_Valid = false;  // nobody would find values without a key
        return true;
    }
    if (last->extraFlag) {
        m_MeasValueId = last->extra5;
        m_lastReportOffs = last->noOfPeriods;
        m_noOfPeriods = stored.noOfPeriods;
    }
    PutMissingPeriods(connection,
                      m_ReportId);  // a failure closes the recording, and the next write reports it
    return true;
}

ReportInfo* Mersola::lastReport(int reportId) {
    for (ReportInfo& report : m_lastMeasurement.reports) {
        if (report.ReportId == reportId) return &report;
    }
    return nullptr;
}

bool Mersola::insertReport(const _ConnectionPtr& connection, const ReportInfo& info) {
    const CString length = quoteText(info.PeriodLen.ToText());
    const CString realLength = quoteText(realLengthText(info));
    CString insert = formatted(
        "INSERT INTO REPORTS WITH (ROWLOCK) (GroupId,MeasId,ReportId,PeriodLen,RealPeriodLen, "
        "noOfPeriods, "
        "MinPeriod,ReportType) VALUES (%d,%d,%d,%s,%s,%d,%d,%d)",
        m_GroupId, m_MeasId, m_ReportId, length.GetString(), realLength.GetString(), m_noOfPeriods,
        0, m_reportType);
    if (!attempt(*this, connection, insert)) {  // an older database has no MinPeriod
        insert = formatted(
            "INSERT INTO REPORTS WITH (ROWLOCK) (GroupId,MeasId,ReportId,PeriodLen,RealPeriodLen, "
            "noOfPeriods, ReportType) "
            "VALUES (%d,%d,%d,%s,%s,%d,%d)",
            m_GroupId, m_MeasId, m_ReportId, length.GetString(), realLength.GetString(),
            m_noOfPeriods, m_reportType);
        if (!dbExecute(connection, insert))
            return fault("***Invalid INSERT in PutReport %s\n", insert.GetString());
    }
    m_registeredReports.Add(m_ReportId);
    return ensureMeasMap(connection, m_ReportId, m_MeasValueId);
}

bool Mersola::tryMeasMap(const _ConnectionPtr& connection, int reportId,
                         std::int32_t& measValueId) try {
    return ensureMeasMap(connection, reportId, measValueId);
} catch (const _com_error&) {
    return false;
}

bool Mersola::ensureMeasMap(const _ConnectionPtr& connection, int reportId,
                            std::int32_t& measValueId) {
    bool isNew = false;
    measValueId = kNone;  // values under a key that is not stored would belong to nobody
    const auto id = identifier(locateMeasMap(connection, m_GroupId, m_MeasId, reportId, isNew));
    if (!id || *id < 0) return false;
    if (isNew) {
        // This is needed for a stored report, too: a recorder that died before this statement left
        // the report without a key.
        const CString insert = formatted(
            "INSERT INTO MeasvalueMap WITH (ROWLOCK) (GroupId,MeasId,ReportId,MeasValueId) VALUES "
            "(%d,%d,%d,%d)",
            m_GroupId, m_MeasId, reportId, *id);
        if (!dbExecute(connection, insert))
            return fault("***Invalid INSERT 2 in PutReport %s\n", insert.GetString());
    }
    measValueId = *id;
    return true;
}

bool Mersola::PutFunction(const _ConnectionPtr& connection, int funcId, int channel) {
    return _PutFunction(connection, funcId, channel);
}

bool Mersola::_PutFunction(const _ConnectionPtr& connection, int funcId, int channel) {
    if (!resolved(connection)) return false;
    if (channel == kSelected) channel = m_channel;
    if (!m_Valid) return false;
    try {
        const CString values =
            formatted("%d,%d,%d,%d,%d", m_GroupId, m_MeasId, m_ReportId, funcId, channel);
        dbExecute(connection, formatted("INSERT INTO MEASUREDFUNCTIONS WITH (ROWLOCK) "
                                        "(GroupId,MeasId,ReportId,FuncId,Channel) VALUES (%s)",
                                        values.GetString()));
        return true;
    } catch (const _com_error& error) {
        if (error.IsDuplicate()) return true;
        formatDbError(error);
        return false;
    }
}
