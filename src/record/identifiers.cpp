// Finding the identifiers of names, or free ones for new names.
#include <mersola/mersola.h>

#include "new_identifier.h"
#include "session/statement.h"

using namespace mersola;

long Mersola::locateNewInstrument(const _ConnectionPtr& connection, const CString& name,
                                  bool& isNew) {
    isNew = true;
    long candidate = kNone;
    if (!resolved(connection)) {
        Test("***Invalid connection in  locateNewInstrument\n");
        return kNone;
    }
    try {
        const auto rows = dbExecute(connection, formatted("SELECT * FROM Groups where GroupName=%s",
                                                          quoteText(name).GetString()));
        if (atFirstRow(rows)) {
            m_GroupId = rows->Fields("GroupId").Long();
            isNew = false;
            return m_GroupId;
        }
        findFree(*this, connection, "SELECT count(*) FROM Groups", candidate, [](int id) {
            return formatted("SELECT GroupId FROM Groups where GroupId=%d", id);
        });
    } catch (const _com_error&) {
        Test("***Invalid eexecption  locateNewInstrument\n");
    }
    return candidate;
}

long Mersola::locateNewMeasurement(const _ConnectionPtr& connection, long groupId,
                                   const CString& name, bool& isNew) {
    isNew = true;
    long candidate = kNone;
    const auto group = identifier(groupId);
    if (!resolved(connection) || !group) return kNone;
    try {
        const auto rows = dbExecute(
            connection, formatted("SELECT * FROM Measurements where MeasName=%s and GroupId=%d",
                                  quoteText(name).GetString(), *group));
        if (atFirstRow(rows)) {
            m_MeasId = rows->Fields("MeasId").Long();
            isNew = false;
            return m_MeasId;
        }
        findFree(*this, connection,
                 formatted("SELECT count(*) FROM Measurements WHERE GroupId=%d", *group), candidate,
                 [&](int id) {
                     return formatted(
                         "SELECT MeasId FROM Measurements where MeasId=%d and GroupId=%d", id,
                         *group);
                 });
    } catch (const _com_error&) {
        // The candidate reached so far is the result.
    }
    return candidate;
}

long Mersola::locateNewMeasMap(const _ConnectionPtr& connection, long groupId, long measId,
                               long reportId) {
    bool isNew = true;
    return locateMeasMap(connection, groupId, measId, reportId, isNew);
}

long Mersola::locateMeasMap(const _ConnectionPtr& connection, long groupId, long measId,
                            long reportId, bool& isNew) {
    isNew = true;
    long candidate = kNone;
    const auto group = identifier(groupId);
    const auto measurement = identifier(measId);
    const auto report = identifier(reportId);
    if (!resolved(connection) || !group || !measurement || !report) {
        Test("***Invalid connection in  locateNewMeasMap\n");
        return kNone;
    }
    try {
        const auto rows =
            dbExecute(connection, formatted("SELECT MeasValueId FROM MeasValueMap where GroupId=%d "
                                            "and MeasId=%d and ReportId=%d",
                                            *group, *measurement, *report));
        if (atFirstRow(rows)) {
            isNew = false;
            return rows->Fields("MeasValueId").Long();
        }
        findFree(*this, connection, "SELECT count(*) FROM MeasValueMap", candidate, [](int id) {
            return formatted("SELECT MeasValueId FROM MeasValueMap where MeasValueId=%d", id);
        });
    } catch (const _com_error&) {
        Test("***Invalid exception in  locateNewMeasMap\n");
    }
    return candidate;
}
