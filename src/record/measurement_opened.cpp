// Opening a recording: a new measurement, or a stored one that is resumed.
#include <algorithm>

#include <mersola/mersola.h>

#include "attempt.h"
#include "session/probes.h"
#include "session/statement.h"
#include "session/trace.h"
#include "session/trace_time.h"

using namespace mersola;

bool Mersola::PutMeasurement(const _ConnectionPtr& connection, long groupId,
                             MeasurementInfo& info) {
    m_Valid = false;
    m_newEntry = false;
    m_missingReportId = kNone;
    m_missingIndex = 0;
    m_recordedGroupId = m_recordedMeasId = kNone;
    m_registeredReports.RemoveAll();
    if (!resolved(connection)) return fault("***No connection in PutMeasurement\n");
    try {
        const auto group = identifier(groupId);
        if (!group) return false;
        m_GroupId = *group;
        bool isNew = false;
        const auto id =
            identifier(locateNewMeasurement(connection, m_GroupId, info.MeasName, isNew));
        info.MeasId = id.value_or(kNone);
        if (info.MeasId < 0) return fault("***Invalid Id in PutMeasurement\n");
        m_Valid = true;
        m_newEntry = isNew;
        m_resumed = !isNew;
        m_MeasId = info.MeasId;
        if (!(isNew ? insertMeasurement(connection, info) : resumeMeasurement(connection, info))) {
            m_Valid = false;
            return false;
        }
        loadSettings(info);
        m_measurement = info;
        m_recordedGroupId = m_GroupId;
        m_recordedMeasId = m_MeasId;
        m_newEntry = isNew;
        m_lastReportOffs = 0;
        const CTimeEx& shown = isNew ? m_StartAt : m_lastMeasurement.StartAt;
        Test("m_Start put: %s\n", (CString(isNew ? "N >" : "!N >") + traceTime(shown)).GetString());
        return true;
    } catch (const _com_error&) {
        m_Valid = false;
        return fault("***Exception  in PutMeasurement\n");
    }
}

bool Mersola::insertMeasurement(const _ConnectionPtr& connection, MeasurementInfo& info) {
    const CString insert = formatted(
        "INSERT INTO MEASUREMENTS WITH (ROWLOCK) (MeasName,MeasId,Info,BandWidth, Fullscale, "
        "Sensitivity, FrqLower, "
        "FrqUpper, StartAt, GroupId) VALUES (%s,%d,%s,%d,%f,%f,%f,%f,%s,%d)",
        quoteText(info.MeasName).GetString(), info.MeasId, quoteText(info.Info).GetString(),
        info.BandWidth, info.Fullscale, info.Sensitivity, info.FrqLower, info.FrqUpper,
        quoteText(info.StartAt.ToText()).GetString(), m_GroupId);
    if (!dbExecute(connection, insert))
        return fault("***Invalid INSERT in PutMeasurement %s\n", insert.GetString());
    if (!PutStart(connection, info.StartAt))
        return fault("***Invalid PutStart in PutMeasurement\n");
    return true;
}

bool Mersola::resumeMeasurement(const _ConnectionPtr& connection, MeasurementInfo& info) {
    MeasurementInfo stored;
    if (!_GetMeasurement(info.MeasId, stored, connection))
        return fault("***Invalid _GetMeasurement in PutMeasurement\n");
    loadSettings(stored);  // the measurement is selected, whether it can be resumed or not
    if (!stored.identicalTo(info)) return fault("***Invalid measinfo in PutMeasurement\n");
    if (!settleStart(connection, info.StartAt, stored))
        return fault("***Invalid PutStart in PutMeasurement\n");
    if (info.FrqUpper > stored.FrqUpper || info.FrqLower < stored.FrqLower) {
        stored.FrqUpper = std::max(stored.FrqUpper, info.FrqUpper);
        stored.FrqLower = std::min(stored.FrqLower, info.FrqLower);
        dbExecute(connection, formatted("UPDATE MEASUREMENTS  WITH (ROWLOCK) SET "
                                        "FrqLower=%f,FrqUpper=%f WHERE GroupId=%d AND MeasId=%d",
                                        stored.FrqLower, stored.FrqUpper, m_GroupId, m_MeasId));
    }
    info.FrqLower = stored.FrqLower;
    info.FrqUpper = stored.FrqUpper;
    m_lastMeasurement = stored;
    const bool isStarted = PutStart(connection, info.StartAt);
    if (!isStarted) Test("***Invalid PutStart in PutMeasurement\n");
    if (isStarted && loadLastReports(connection)) return true;
    m_StartAt = stored.StartAt;
    return false;
}

// Replaces a stored start from which no recording can begin, as a registration with a bad start
// leaves it. While nothing is recorded under it, the next good start becomes the measurement's own.
// The start that was read is a part of the statement, so that only one of two recorders sets it.
bool Mersola::settleStart(const _ConnectionPtr& connection, const CTimeEx& start,
                          MeasurementInfo& stored) {
    if (validDate(stored.StartAt)) return true;
    if (validDate(start) && !hasRecordings(connection)) {
        dbExecute(connection,
                  formatted("UPDATE MEASUREMENTS  WITH (ROWLOCK) SET StartAt=%s WHERE GroupId=%d "
                            "AND MeasId=%d AND (StartAt IS NULL OR StartAt=%s)",
                            quoteText(start.ToText()).GetString(), m_GroupId, m_MeasId,
                            quoteText(stored.StartAt.ToText()).GetString()));
        if (!_GetMeasurement(stored.MeasId, stored, connection)) return false;
    }
    return stored.StartAt.IsValid();
}

bool Mersola::hasRecordings(const _ConnectionPtr& connection) {
    const auto counts = [&](const CString& sql) {
        const auto rows = dbExecute(connection, sql);
        return !atFirstRow(rows) || rows->Fields(0).Long() > 0;
    };
    return counts(formatted("SELECT count(*) FROM Reports where GroupId=%d and MeasId=%d and "
                            "noOfPeriods>0",
                            m_GroupId, m_MeasId)) ||
           counts(formatted("SELECT count(*) FROM MeasValueMap m where m.GroupId=%d and "
                            "m.MeasId=%d and exists (SELECT * FROM MeasuredValues v where "
                            "v.MeasValueId=m.MeasValueId)",
                            m_GroupId, m_MeasId));
}

bool Mersola::loadLastReports(const _ConnectionPtr& connection) {
    CArray<ReportInfo, ReportInfo&> reports;
    if (!_GetAllReports(reports, m_MeasId, connection)) return false;
    for (ReportInfo& report : reports) {
        // A key that cannot be stored now is not needed before the report is recorded.
        tryMeasMap(connection, report.ReportId, report.extra5);
        report.extraFlag = false;
        if (!_GetAllFunctions(report.functions, m_MeasId, report.ReportId, connection))
            return false;
        for (FuncInfo& function : report.functions) {
            long first = kNone;
            if (!GetFirstPeriod(first, m_GroupId, m_MeasId, report.ReportId, 0, connection)) {
                GetFirstPeriod(first, report.extra5, connection);
            }
            auto rows = attempt(*this, connection, kValuesProbe);
            rows = attempt(
                *this, connection,
                formatted("SELECT count(*) FROM MeasuredValues WHERE PeriodNo=%d AND FuncId=%d AND "
                          "MeasValueId=%d AND Channel=%d",
                          static_cast<int>(first), function.FuncId, report.extra5,
                          function.Channel));
            function.third = atFirstRow(rows) ? rows->Fields(0).Long() : 1;
        }
    }
    m_lastMeasurement.setReports(reports);
    return true;
}
