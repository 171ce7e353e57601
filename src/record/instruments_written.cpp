// Registering instruments.
#include <mersola/mersola.h>

#include "statement.h"

using namespace mersola;

bool Mersola::PutInstrument(const _ConnectionPtr& connection, InstrumentInfo& info) {
    if (!resolved(connection)) {
        Test("***Invalid connection in  PutInstrument\n");
        return false;
    }
    m_Valid = false;
    try {
        bool isNew = false;
        const auto id = identifier(locateNewInstrument(connection, info.GroupName, isNew));
        info.GroupId = m_GroupId = id.value_or(-1);
        if (m_GroupId < 0) {
            Test("***Invalid Id in  PutInstrument\n");
            return false;
        }
        if (isNew) {
            const CString insert = formatted(
                "INSERT INTO GROUPS  WITH (ROWLOCK) (GroupId,GroupName,Info,Type,State) VALUES "
                "(%d,%s,%s,%s,%s)",
                m_GroupId, quoteText(info.GroupName).GetString(), quoteText(info.Info).GetString(),
                quoteText(info.Type).GetString(), quoteText(info.State).GetString());
            if (!dbExecute(connection, insert)) {
                Test("***Invalid INSERT in  PutInstrument %s\n", insert.GetString());
                return false;
            }
        }
        m_instrument = info;
        return true;
    } catch (const _com_error&) {
        Test("***Invalid exception in  PutInstrument\n");
        return false;
    }
}

bool Mersola::PutInstrumentState(const _ConnectionPtr& connection, InstrumentInfo& info,
                                 CString state) {
    if (!resolved(connection)) {
        Test("***Invalid connection in  PutState\n");
        return false;
    }
    try {
        if (!PutInstrument(connection, info)) {
            Test("***Invalid instrument in  PutState\n");
            return false;
        }
        dbExecute(connection,
                  formatted("UPDATE Groups  WITH (ROWLOCK) SET State=%s WHERE GroupId=%d",
                            quoteText(state).GetString(), m_GroupId));
        m_Valid = true;
        return true;
    } catch (const _com_error&) {
        Test("***Invalid exception in  PutState\n");
        return false;
    }
}
