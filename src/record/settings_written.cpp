// Rewriting the settings of the measurement being recorded.
#include <mersola/mersola.h>

#include "attempt.h"
#include "session/statement.h"

using namespace mersola;

bool Mersola::PutResolution(const _ConnectionPtr& connection, MeasurementInfo& info) {
    if (!resolved(connection) || !m_Valid) return false;
    return attempt(*this, connection,
                   formatted("UPDATE MEASUREMENTS  WITH (ROWLOCK) SET "
                             "Sensitivity=%f,Fullscale=%f,Bandwidth=%d,FrqLower=%f,"
                             "FrqUpper=%f WHERE GroupId=%d AND MeasId=%d",
                             info.Sensitivity, info.Fullscale, info.BandWidth, info.FrqLower,
                             info.FrqUpper, m_GroupId, m_MeasId)) != nullptr;
}

bool Mersola::PutResolution(const _ConnectionPtr& connection, const CString& resolution) {
    if (!resolved(connection) || !m_Valid) return false;
    ListText items;
    if (!items.Parse(resolution) || items.GetSize() != 5) return false;
    constexpr const char* bandwidth = "2";  // stored whatever the text says: callers rely on it
    return attempt(*this, connection,
                   formatted("UPDATE MEASUREMENTS  WITH (ROWLOCK) SET "
                             "Sensitivity=%s,Fullscale=%s,Bandwidth=%s,FrqLower=%s,"
                             "FrqUpper=%s WHERE GroupId=%d AND MeasId=%d",
                             items[0].GetString(), items[1].GetString(), bandwidth,
                             items[3].GetString(), items[4].GetString(), m_GroupId, m_MeasId)) !=
           nullptr;
}

bool Mersola::PutPercentiles(const _ConnectionPtr& connection, MeasurementInfo& info) {
    if (!resolved(connection) || !m_Valid) return false;
    attempt(
        *this, connection,
        formatted(
            "UPDATE MEASUREMENTS  WITH (ROWLOCK) SET Percentiles=%s WHERE GroupId=%d AND MeasId=%d",
            quoteText(info.textItems.ToText()).GetString(), m_GroupId, m_MeasId));
    return true;
}
