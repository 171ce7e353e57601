// Writing, closing and deleting markers.
#include <mersola/mersola.h>

#include "period_time.h"
#include "session/log.h"
#include "session/statement.h"

using namespace mersola;

namespace {

CString InsertText(const MarkerInfo& m, int inProgress) {
    return formatted(
        "INSERT INTO Markers WITH (ROWLOCK) "
        "(GroupId,MeasId,Path,Start,Stop,MarkerId,MarkerType,TriggerCondition,funcId,frqId,"
        "inProgess,ExtMarkerType,Color) "
        "VALUES (%d,%d,%s,%s,%s,%d,%d,%s,%d,%d,%d,%s,%d)",
        m.GroupId, m.MeasId, quoteText(m.Path).GetString(), quoteText(m.Start).GetString(),
        quoteText(m.Stop).GetString(), m.MarkerId, m.MarkerType,
        quoteText(m.TriggerCondition).GetString(), m.funcId, m.frqId, inProgress,
        quoteText(m.ExtMarkerType).GetString(), m.Color);
}

// Closes a marker. `blanks` stand before WHERE: the two statements that close a marker differ in
// them.
CString CloseText(const MarkerInfo& m, const char* blanks) {
    return formatted(
        "UPDATE Markers  WITH (ROWLOCK) SET Stop=%s, inProgess=0, TriggerCondition=%s%sWHERE "
        "GroupId=%d AND MeasId=%d  AND "
        "Path=%s AND Start=%s AND MarkerId=%d AND funcId=%d AND frqId=%d AND ExtMarkerType=%s",
        quoteText(m.Stop).GetString(), quoteText(m.TriggerCondition).GetString(), blanks, m.GroupId,
        m.MeasId, quoteText(m.Path).GetString(), quoteText(m.Start).GetString(), m.MarkerId,
        m.funcId, m.frqId, quoteText(m.ExtMarkerType).GetString());
}

}  // namespace

bool Mersola::PutMarker(const _ConnectionPtr& connection, MarkerInfo& m) {
    try {
        return dbExecute(connection, InsertText(m, m.inProgess)) != nullptr;
    } catch (const _com_error&) {
        return false;
    }
}

bool Mersola::PutMarkerRelative(const _ConnectionPtr& connection, MarkerInfo& m, long periods) {
    if (!resolved(connection)) return false;
    const CTimeEx time = recordedPeriodStart(periods);
    if (!m_Valid || !time.IsValid()) return false;
    m.Start = m.Stop = time.ToText();
    return dbExecute(connection, InsertText(m, 1)) != nullptr;
}

bool Mersola::UpdateMarkerStop(const _ConnectionPtr& connection, MarkerInfo& m) {
    if (!resolved(connection) || !m_Valid) return false;
    m.inProgess = 0;
    try {
        return dbExecute(connection, CloseText(m, "  ")) != nullptr;
    } catch (const _com_error&) {
        return false;
    }
}

bool Mersola::UpdateMarkerStopRelative(const _ConnectionPtr& connection, MarkerInfo& m,
                                       long periods) {
    if (!resolved(connection)) return false;
    const CTimeEx time = recordedPeriodStart(periods);
    if (!m_Valid || !time.IsValid()) return false;
    m.Stop = time.ToText();
    m.inProgess = 0;
    return dbExecute(connection, CloseText(m, " ")) != nullptr;
}

CTimeEx Mersola::recordedPeriodStart(long period) const {
    const CTimeEx& base = m_newEntry ? m_StartAt : m_lastMeasurement.StartAt;
    std::int64_t number = 0;
    if (__builtin_add_overflow(std::int64_t{period}, m_newEntry ? 0 : m_lastReportOffs, &number)) {
        CTimeEx none;
        none.SetStatus(COleDateTime::invalid);
        return none;
    }
    return timeOfPeriod(base, m_prdLength, number);
}

int Mersola::DeleteMarker(const _ConnectionPtr& connection, MarkerInfo& m) {
    if (!resolved(connection)) {
        Test("***Invalid connection in  DeleteMarker\n");
        WriteLogLine("***Invalid connection in  DeleteMarker");
        return 0;
    }
    try {
        dbExecute(
            connection,
            formatted(
                "DELETE FROM Markers WHERE GroupId=%d AND MeasId=%d AND Start=%s AND Stop=%s AND "
                "MarkerId=%d AND MarkerType=%d AND funcId=%d AND frqId=%d AND ExtMarkerType=%s",
                m.GroupId, m.MeasId, quoteText(m.Start).GetString(), quoteText(m.Stop).GetString(),
                m.MarkerId, m.MarkerType, m.funcId, m.frqId,
                quoteText(m.ExtMarkerType).GetString()));
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::DeleteMarkers(MarkerInfo& m) {
    if (!readable()) return 0;
    try {
        dbExecute(
            formatted("DELETE FROM Markers WHERE GroupId=%d AND MeasId=%d AND Start=%s AND Stop=%s "
                      "AND MarkerId=%d AND "
                      "MarkerType=%d",
                      m.GroupId, m.MeasId, quoteText(m.Start).GetString(),
                      quoteText(m.Stop).GetString(), m.MarkerId, m.MarkerType));
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}
