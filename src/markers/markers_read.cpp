// Finding markers by measurement, time, period and type.
#include <mersola/mersola.h>

#include "period_time.h"
#include "session/statement.h"

using namespace mersola;

namespace {

using Markers = CArray<MarkerInfo, MarkerInfo&>;

// Compares to the millisecond, which a comparison of the dates leaves out.
bool IsBefore(const CTimeEx& a, const CTimeEx& b) {
    return a < b || (!(b < a) && a.GetMilliseconds() < b.GetMilliseconds());
}

// The window is half-open: a marker that starts at `to` belongs to the next one.
struct Window {
    CTimeEx from;
    CTimeEx to;

    bool Holds(const CString& start) const {
        CTimeEx time;
        return CTimeEx::FromText(start, time) && time.IsValid() && !IsBefore(time, from) &&
               IsBefore(time, to);
    }
};

void ReadText(AdoField field, CString& member) {
    if (!field.IsNull()) member = field.Text();
}

void ReadNumber(AdoField field, std::int32_t& member) {
    if (!field.IsNull()) member = field.Long();
}

void ReadMarker(_Recordset& row, MarkerInfo& m) {
    ReadText(row.Fields("Path"), m.Path);
    ReadText(row.Fields("Start"), m.Start);
    ReadText(row.Fields("Stop"), m.Stop);
    ReadNumber(row.Fields("MarkerId"), m.MarkerId);
    ReadNumber(row.Fields("MarkerType"), m.MarkerType);
    ReadText(row.Fields("TriggerCondition"), m.TriggerCondition);
    ReadNumber(row.Fields("frqId"), m.frqId);
    ReadNumber(row.Fields("funcId"), m.funcId);
    ReadNumber(row.Fields("inProgess"), m.inProgess);
    ReadNumber(row.Fields("Color"), m.Color);
    ReadText(row.Fields("ExtMarkerType"), m.ExtMarkerType);
}

bool HasType(const MarkerInfo& m, const CString& type) {
    if (type.IsEmpty()) return true;
    ListText condition;
    CString value;
    return condition.Parse(m.TriggerCondition) && condition.Find("type", value) && value == type;
}

bool IsOpen(const MarkerInfo& m) {
    return m.inProgess != 0;
}

// Whether an instrument has alarm instruments of its own.
bool HasAlarmInstruments(const InstrumentInfo& instrument) {
    const CString flag = ListText(instrument.State).First();
    return (flag.IsEmpty() || flag == "0") && ListText(instrument.Type).First() == "2";
}

// Appends the markers among the rows that `wanted` accepts.
template <class Predicate>
void AppendMarkers(const _RecordsetPtr& rows, int groupId, int measId, Markers& out,
                   Predicate wanted) {
    for (; !rows->EndOfFile(); rows->MoveNext()) {
        MarkerInfo m;
        m.GroupId = groupId;
        m.MeasId = measId;
        ReadMarker(*rows, m);
        if (wanted(m)) out.Add(m);
    }
}

}  // namespace

int Mersola::GetMarkers(Markers& out) {
    return GetMarkers(out, CString());
}

int Mersola::GetMarkers(Markers& out, CString type) {
    return forEachMeasurement([&](long measId) { return _GetMarkers(out, measId, type); });
}

int Mersola::GetMarkers(CTimeEx from, CTimeEx to, Markers& out) {
    return GetMarkers(from, to, out, CString());
}

int Mersola::GetMarkers(CTimeEx from, CTimeEx to, Markers& out, CString type) {
    return forEachMeasurement(
        [&](long measId) { return _GetMarkers(from, to, out, measId, type); });
}

int Mersola::GetMarkers(long fromPeriod, long toPeriod, Markers& out) {
    if (!readable()) return 0;
    SetMeasurement(m_MeasId);
    const bool recorded =
        m_recordedGroupId == m_GroupId && m_recordedMeasId == m_MeasId && m_MeasId != kNone;
    const auto timeOf = [&](long period) {
        return recorded ? recordedPeriodStart(period)
                        : timeOfPeriod(m_StartAt, m_prdLength, period);
    };
    const Window window{timeOf(fromPeriod), timeOf(toPeriod)};
    if (!window.from.IsValid() || !window.to.IsValid()) return 0;
    try {
        const auto rows = dbExecute(
            formatted("SELECT * FROM Markers WHERE GroupId=%d and MeasId=%d", m_GroupId, m_MeasId));
        AppendMarkers(rows, m_GroupId, m_MeasId, out,
                      [&](const MarkerInfo& m) { return !IsOpen(m) && window.Holds(m.Start); });
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::GetOpenMarkers(Markers& out) {
    if (!readable()) return 0;
    return forEachMeasurement([&](long measId) {
        const int measurement = static_cast<int>(measId);  // a selected one fits
        try {
            const auto rows = dbExecute(
                formatted("SELECT * FROM Markers WHERE GroupId=%d and MeasId=%d and inProgess<>0",
                          m_GroupId, measurement));
            AppendMarkers(rows, m_GroupId, measurement, out, IsOpen);
            return 1;
        } catch (const _com_error&) {
            return 0;
        }
    });
}

template <class Read>
int Mersola::forEachMeasurement(Read read) {
    if (!continuous()) return read(m_MeasId);
    if (!readable()) return 0;
    for (const MeasurementInfo& member : m_contMeasurements) {
        if (!read(member.MeasId)) return 0;
    }
    return 1;
}

int Mersola::_GetMarkers(Markers& out, long measId, CString type) {
    return withAlarmInstruments(out, measId, [&](Markers& found, long group, long measurement) {
        return _GetMarkersForInstrumentOnly(found, group, measurement, type);
    });
}

int Mersola::_GetMarkers(CTimeEx from, CTimeEx to, Markers& out, long measId, CString& type) {
    return withAlarmInstruments(out, measId, [&](Markers& found, long group, long measurement) {
        return _GetMarkersForInstrumentOnly(from, to, found, group, measurement, type);
    });
}

template <class Read>
int Mersola::withAlarmInstruments(Markers& out, long measId, Read read) {
    if (!read(out, kSelected, measId == kSelected ? m_MeasId : measId)) return 0;
    InstrumentInfo instrument;
    if (!_GetInstrument(m_GroupId, instrument, nullptr) || !HasAlarmInstruments(instrument))
        return 1;
    CArray<InstrumentInfo, InstrumentInfo&> alarms;
    _GetAlarmInstruments(alarms, "alarm");
    for (const InstrumentInfo& alarm : alarms) {
        Markers found;
        if (read(found, alarm.GroupId, kAllMeasurements)) out.Append(found);
    }
    return 1;
}

int Mersola::_GetMarkersForInstrumentOnly(Markers& out, long groupId, long measId, CString type) {
    return readMarkers(out, groupId, measId, type, [](const MarkerInfo&) { return true; });
}

int Mersola::_GetMarkersForInstrumentOnly(CTimeEx from, CTimeEx to, Markers& out, long groupId,
                                          long measId, CString& type) {
    const Window window{from, to};
    return readMarkers(out, groupId, measId, type,
                       [&](const MarkerInfo& m) { return window.Holds(m.Start); });
}

template <class Predicate>
int Mersola::readMarkers(Markers& out, long groupId, long measId, CString type, Predicate wanted) {
    const auto group = identifier(groupId == kSelected ? m_GroupId : groupId);
    const auto measurement = identifier(measId == kSelected ? m_MeasId : measId);
    if (!readable() || !group || !measurement) return 0;
    type.MakeLower();
    try {
        const auto rows =
            dbExecute(*measurement == kAllMeasurements
                          ? formatted("SELECT * FROM Markers WHERE GroupId=%d", *group)
                          : formatted("SELECT * FROM Markers WHERE GroupId=%d and MeasId=%d",
                                      *group, *measurement));
        // Markers of alarm instruments are handed out under the instrument that was asked for.
        AppendMarkers(rows, m_GroupId, *measurement, out, [&](const MarkerInfo& m) {
            return !IsOpen(m) && wanted(m) && HasType(m, type);
        });
        return 1;
    } catch (const _com_error&) {
        return 0;
    }
}
