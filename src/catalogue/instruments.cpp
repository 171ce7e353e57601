// The catalogue of instruments.
#include <mersola/mersola.h>

#include "columns.h"
#include "session/statement.h"

using namespace mersola;

namespace {

constexpr const char* kAllInstruments = "SELECT * FROM Groups";
constexpr const char* kStation = "station";

// Appends the instruments that `wanted` accepts; their type is in lower case.
template <class Predicate>
int ListInstruments(const _RecordsetPtr& rows, CArray<InstrumentInfo, InstrumentInfo&>& out,
                    Predicate wanted) {
    if (!rows) return 0;
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        InstrumentInfo rec;
        readInstrument(*rows, rec);
        rec.Type.MakeLower();
        if (wanted(rec)) out.Add(rec);
    }
    return 1;
}

}  // namespace

long Mersola::locateInstrumentId(CString name) {
    if (!m_connection) {
        Test("***Invalid connection in  locateNewInstrument\n");
        return kNone;
    }
    try {
        const auto rows = dbExecute(
            formatted("SELECT * FROM Groups where GroupName=%s", quoteText(name).GetString()));
        return atFirstRow(rows) ? rows->Fields("GroupId").Long() : kNone;
    } catch (const _com_error&) {
        Test("***Invalid eexecption  locateInstrument\n");
        return kNone;
    }
}

int Mersola::GetInstruments(CArray<InstrumentInfo, InstrumentInfo&>& out) {
    out.RemoveAll();
    if (!readable()) return 0;
    try {
        return ListInstruments(dbExecute(kAllInstruments), out, [](const InstrumentInfo& rec) {
            return ListText(rec.Type).First() != kStation;
        });
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::GetInstrumentsAndAlarms(CArray<InstrumentInfo, InstrumentInfo&>& out) {
    out.RemoveAll();
    if (!readable()) return 0;
    try {
        return ListInstruments(dbExecute(kAllInstruments), out,
                               [](const InstrumentInfo&) { return true; });
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::_GetAlarmInstruments(CArray<InstrumentInfo, InstrumentInfo&>& out, CString kind) {
    out.RemoveAll();
    if (!readable()) return 0;
    try {
        return ListInstruments(dbExecute(kAllInstruments), out, [&](const InstrumentInfo& rec) {
            const ListText type(rec.Type);
            return type.GetSize() == 2 && type.First() == kind &&
                   ListText(rec.State).First() == kStation;
        });
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::_GetInstrument(int groupId, InstrumentInfo& rec,
                            const _ConnectionPtr& /*connection*/) {
    if (!readable()) return 0;
    try {
        const auto rows = dbExecute(formatted("SELECT * FROM Groups WHERE GroupId=%d", groupId));
        if (!atFirstRow(rows)) return 0;
        readInstrument(*rows, rec);
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::_GetInstrument(InstrumentInfo& rec, const _ConnectionPtr& connection) {
    try {
        const auto rows =
            dbExecute(connection, formatted("SELECT * FROM Groups WHERE GroupId=%d", rec.GroupId));
        if (!atFirstRow(rows)) return 0;
        readInstrument(*rows, rec);
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::Get_InstrumentState(CString& state) {
    if (!readable()) return 0;
    try {
        const auto rows =
            dbExecute(formatted("SELECT State from Groups WHERE GroupId=%d", m_GroupId));
        if (!atFirstRow(rows)) return 0;
        state = rows->Fields("State").Text();
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}
