// Registering instruments.
#include <mersola/mersola.h>

#include "session/statement.h"
#include "session/trace.h"

using namespace mersola;

bool Mersola::PutInstrument(const _ConnectionPtr& connection, InstrumentInfo& info) {
    if (!resolved(connection)) return fault("***Invalid connection in  PutInstrument\n");
    m_Valid = false;
    try {
        bool isNew = false;
        const auto id = identifier(locateNewInstrument(connection, info.GroupName, isNew));
        info.GroupId = m_GroupId = id.value_or(kNone);
        if (m_GroupId < 0) return fault("***Invalid Id in  PutInstrument\n");
        if (isNew) {
            const CString insert = formatted(
                "INSERT INTO GROUPS  WITH (ROWLOCK) (GroupId,GroupName,Info,Type,State) VALUES "
                "(%d,%s,%s,%s,%s)",
                m_GroupId, quoteText(info.GroupName).GetString(), quoteText(info.Info).GetString(),
                quoteText(info.Type).GetString(), quoteText(info.State).GetString());
            if (!dbExecute(connection, insert))
                return fault("***Invalid INSERT in  PutInstrument %s\n", insert.GetString());
        }
        m_instrument = info;
        return true;
    } catch (const _com_error&) {
        return fault("***Invalid exception in  PutInstrument\n");
    }
}

bool Mersola::PutInstrumentState(const _ConnectionPtr& connection, InstrumentInfo& info,
                                 CString state) {
    if (!resolved(connection)) return fault("***Invalid connection in  PutState\n");
    try {
        if (!PutInstrument(connection, info)) return fault("***Invalid instrument in  PutState\n");
        dbExecute(connection,
                  formatted("UPDATE Groups  WITH (ROWLOCK) SET State=%s WHERE GroupId=%d",
                            quoteText(state).GetString(), m_GroupId));
        m_Valid = true;
        return true;
    } catch (const _com_error&) {
        return fault("***Invalid exception in  PutState\n");
    }
}
