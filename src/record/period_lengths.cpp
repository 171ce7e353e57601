// Rewriting the stored period lengths of the current report.
#include <cstdlib>

#include <mersola/mersola.h>

#include "catalogue/columns.h"
#include "session/statement.h"

using namespace mersola;

namespace {

// The length as text, quoted.
CString LengthText(const CTimeSpanEx& length) {
    return quoteText(length.ToText());
}

}  // namespace

bool Mersola::PutPeriodLen(const _ConnectionPtr& connection, long length) {
    return updateReport(
        connection,
        formatted("UPDATE Reports  WITH (ROWLOCK) SET periodLen=%s WHERE GroupId=%d AND "
                  "MeasId=%d AND ReportId=%d",
                  LengthText(CTimeSpanEx(length)).GetString(), m_GroupId, m_MeasId, m_ReportId));
}

bool Mersola::PutRealPeriodLen(const _ConnectionPtr& connection, long length) {
    return updateReport(
        connection,
        formatted("UPDATE  Reports WITH (ROWLOCK) SET RealPeriodLen=%s WHERE GroupId=%d AND "
                  "MeasId=%d AND ReportId=%d",
                  LengthText(CTimeSpanEx(length)).GetString(), m_GroupId, m_MeasId, m_ReportId));
}

bool Mersola::PutPeriodLen(const _ConnectionPtr& connection, ReportInfo& info) {
    const CString real = quoteText(realLengthText(info));
    return updateReport(
        connection,
        formatted("UPDATE REPORTS  WITH (ROWLOCK) SET PeriodLen=%s, RealPeriodLen=%s WHERE "
                  "GroupId=%d AND MeasId=%d and ReportId=%d",
                  LengthText(info.PeriodLen).GetString(), real.GetString(), m_GroupId, m_MeasId,
                  m_ReportId));
}

bool Mersola::PutPeriodLen(const _ConnectionPtr& connection, const CString& length) {
    const auto number = identifier(std::atol(length));
    return number &&
           updateReport(
               connection,
               formatted("UPDATE REPORTS  WITH (ROWLOCK) SET PeriodLen=%d WHERE GroupId=%d "
                         "AND MeasId=%d and ReportId=%d",
                         *number, m_GroupId, m_MeasId, m_ReportId));
}

bool Mersola::PutRealPeriodLen(const _ConnectionPtr& connection, const CString& length) {
    const auto number = identifier(std::atol(length));
    return number &&
           updateReport(connection,
                        formatted("UPDATE REPORTS  WITH (ROWLOCK) SET RealPeriodLen=%d WHERE "
                                  "GroupId=%d AND MeasId=%d and ReportId=%d",
                                  *number, m_GroupId, m_MeasId, m_ReportId));
}

bool Mersola::updateReport(const _ConnectionPtr& connection, const CString& update) {
    if (!resolved(connection) || !m_Valid) return false;
    try {
        dbExecute(connection, update);
        return true;
    } catch (const _com_error&) {
        return false;
    }
}
